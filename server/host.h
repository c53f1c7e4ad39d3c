#pragma once

#include "extension/host/command.h"
#include "extension/host/context.h"
#include "extension/host/host.h"
#include "extension/host/listeners.h"
#include "extension/host/result.h"
#include "extension/host/value.h"
#include "server/call_history.h"
#include "server/configuration.h"
#include "server/event_list.h"
#include "server/imports.h"
#include "server/trace.h"

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace server {

/// The server as its extension sees it, and the extension's listeners as the server calls them. An exception of the
/// extension ends in the call; it is printed and counts as a failure. [any thread]
class Host final : public ZoHmiSrv::IZoHmiSrvExtHost {
public:
    /// Prints one line about a call. Runs under a lock of all host calls, so that lines come in the order of the calls.
    /// It must not call back.
    using Print = std::function<void(const std::string& line)>;

    /// The three objects must outlive this one. Without `pauses` a failed import is not retried.
    Host(const Configuration& configuration, EventList& events, Trace& trace, Print print,
         std::optional<RetryPauses> pauses = RetryPauses{});

    /// The context of the server's own calls; its domain is the extension's.
    [[nodiscard]] const ZoHmiSrv::Context& context() const { return context_; }

    /// Reports changes to the config listener as far as its filter asks for them. Returns the text of the first
    /// failure, else "".
    std::string notify_config(const std::vector<ConfigChange>& changes);
    /// Confirms an alarm through the alarm provider. Returns HMI_E_NOT_REGISTERED without a provider and
    /// HMI_E_EXTENSION_HANDLER after an exception, as `localize` and `request` do. A failure has the logger's text.
    ZoHmiSrv::ResultPair confirm(ZoHmiSrv::Alarm alarm);
    /// Localizes an event for a language tag such as "de-DE".
    ZoHmiSrv::ErrorValue localize(const char* language, ZoHmiSrv::EventPayload& event, ZoHmiSrv::String& text);
    /// Runs one command of the extension and returns it with its results.
    ZoHmiSrv::Command request(const char* mapping, ZoHmiSrv::Value input = {});
    /// Gets the events of the alarm provider. Returns false without a provider and after a failure.
    bool list_events(ZoHmiSrv::Value& events);
    /// Replaces the list of events by those of the alarm provider. A server calls this after `init`, which imports
    /// without a notification, and on request of the extension.
    void relist(const char* why);
    /// Calls the shutdown listener. Returns false when there is none.
    bool shut_down();
    /// Runs a call into the extension and prints its exception; false after an exception.
    bool guarded(const char* what, const std::function<void()>& call);
    /// Prints a line of the server itself.
    void print(const std::string& line);
    /// The extension's calls; each is recorded after the list has taken it.
    [[nodiscard]] CallHistory& history() { return history_; }
    [[nodiscard]] Imports& imports() { return imports_; }
    [[nodiscard]] const Imports& imports() const { return imports_; }

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

    /// Returns the latest listener of a kind, or null.
    template <class Interface>
    Interface* listener(ZoHmiSrv::ListenerType type) const {
        return static_cast<Interface*>(find_listener(type));
    }
    ZoHmiSrv::IZoHmiSrvListener* find_listener(ZoHmiSrv::ListenerType type) const;
    [[nodiscard]] std::string line_of(const EventRow& row) const;
    void add_listener(ZoHmiSrv::IZoHmiSrvListener* listener, ZoHmiSrv::Value filter);

    const Configuration& configuration_;
    EventList& events_;
    Trace& trace_;
    CallHistory history_;
    Imports imports_;
    const Print print_;
    ZoHmiSrv::Context context_;

    // Locked while a host call is traced, listed and printed; never during a call of the extension.
    std::mutex order_mutex_;
    mutable std::mutex listeners_mutex_;
    std::vector<Listener> listeners_;
};

/// Returns the result of a command: that of the server, else that of the extension.
[[nodiscard]] ZoHmiSrv::ErrorValue result_of(const ZoHmiSrv::Command& command);

/// Returns whether the filter of a config listener covers a path. The filter is a Vector of Structs with "flags" and
/// "paths". The flags must contain `flag`. One of the paths must be the path, or a start of it followed by "*".
[[nodiscard]] bool asks_for(const ZoHmiSrv::Value& filter, std::string_view path, int flag);

/// The flags of a filter.
inline constexpr int flag_change = 16;
inline constexpr int flag_delete = 32;

} // namespace server
