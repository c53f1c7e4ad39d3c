#pragma once

#include "extension/host/command.h"
#include "extension/host/context.h"
#include "extension/host/host.h"
#include "extension/host/listeners.h"
#include "extension/host/value.h"
#include "server/configuration.h"
#include "server/event_list.h"
#include "server/heard.h"
#include "server/trace.h"

#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace server {

/// The server as its extension sees it, and the extension's listeners as the server calls them. Nothing an extension
/// throws gets past a call into it: it is said and counts as a failure. [any thread]
class Host final : public ZoHmiSrv::IZoHmiSrvExtHost {
public:
    /// Takes one line about a call. Called with a lock held that all host calls take, so that lines come in the calls'
    /// order: it must not call back.
    using Say = std::function<void(const std::string& line)>;

    /// All three must outlive this object.
    Host(const Configuration& configuration, EventList& events, Trace& trace, Say say);

    /// On whose behalf the server's own calls run: its domain is the extension's.
    [[nodiscard]] const ZoHmiSrv::Context& context() const { return context_; }

    /// Tells the config listener of the changes that it asked for. The result is what the first one that failed
    /// answered, empty when none did.
    std::string tell(const std::vector<ConfigChange>& changes);
    /// Has the alarm provider confirm an alarm. HMI_E_NOT_REGISTERED without a provider, HMI_E_EXTENSION_HANDLER when
    /// it threw; so in the next two.
    ZoHmiSrv::ErrorValue confirm(ZoHmiSrv::Alarm alarm);
    /// Has the extension put an event into the language of a tag such as "de-DE".
    ZoHmiSrv::ErrorValue localize(const char* language, ZoHmiSrv::EventPayload& event, ZoHmiSrv::String& text);
    /// Has the extension run one command with an input; its outcome stands in the command.
    ZoHmiSrv::Command request(const char* mapping, ZoHmiSrv::Value input = {});
    /// Asks the alarm provider for its events; false when there is none or it failed.
    bool list_events(ZoHmiSrv::Value& events);
    /// Fills the list of events from the alarm provider, in place of what it held. A server does so when an extension
    /// has started (what it imported in its `init` was told to nobody) and when the extension asks for it.
    void list_anew(const char* why);
    /// Tells the shutdown listener.
    void shut_down();
    /// Runs a call into the extension and says what it throws; false when it threw.
    bool guarded(const char* what, const std::function<void()>& call);
    /// Says a line of the server's own.
    void say(const std::string& line);
    /// The extension's calls, once the list shows what they did.
    [[nodiscard]] Heard& heard() { return heard_; }

    void send_message(const ZoHmiSrv::Context& context, ZoHmiSrv::Message message, bool is_event) override;
    void execute_command(const ZoHmiSrv::Context& context, ZoHmiSrv::Command& command) override;
    void register_listener(const ZoHmiSrv::Context& context, ZoHmiSrv::IZoHmiSrvListener* listener) override;
    void register_config_listener(const ZoHmiSrv::Context& context, ZoHmiSrv::IZoHmiSrvConfigListener* listener,
                                  ZoHmiSrv::Value filter) override;
    void unregister_listener(const ZoHmiSrv::Context& context, ZoHmiSrv::IZoHmiSrvListener* listener) override;
    void notify_alarm(const ZoHmiSrv::Context& context, ZoHmiSrv::AlarmNotification mode,
                      const ZoHmiSrv::Alarm& alarm) override;
    void forget_event(const ZoHmiSrv::Context& context, const ZoHmiSrv::Event& event) override;
    ZoHmiSrv::Value get_config_value(const ZoHmiSrv::Context& context, const char* path) override;
    void reset_temporary_events(const ZoHmiSrv::Context& context) override;
    void set_display_name(const ZoHmiSrv::Context& context, const char* name) override;

private:
    struct Listener {
        ZoHmiSrv::ListenerType type;
        ZoHmiSrv::IZoHmiSrvListener* listener;
        ZoHmiSrv::Value filter; ///< of a config listener
    };

    /// The latest listener of a kind, null when there is none.
    template <class Interface>
    Interface* listener(ZoHmiSrv::ListenerType type) const {
        return static_cast<Interface*>(find_listener(type));
    }
    ZoHmiSrv::IZoHmiSrvListener* find_listener(ZoHmiSrv::ListenerType type) const;
    void add_listener(ZoHmiSrv::IZoHmiSrvListener* listener, ZoHmiSrv::Value filter);

    const Configuration& configuration_;
    EventList& events_;
    Trace& trace_;
    Heard heard_;
    const Say say_;
    ZoHmiSrv::Context context_;

    // Held while a host call is traced, entered in the list, and said; never while the extension is called.
    std::mutex order_mutex_;
    mutable std::mutex listeners_mutex_;
    std::vector<Listener> listeners_;
};

/// What a config listener's filter says of a path: it is a Vector of Structs with "flags", in which `flag` must be set,
/// and "paths", of which one must be the path, or end in "*" and begin as the path does.
[[nodiscard]] bool asks_for(const ZoHmiSrv::Value& filter, std::string_view path, int flag);

/// The flags of a filter.
inline constexpr int flag_change = 16;
inline constexpr int flag_delete = 32;

} // namespace server
