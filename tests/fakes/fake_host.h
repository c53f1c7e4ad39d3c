#pragma once

#include "extension/host/command.h"
#include "extension/host/context.h"
#include "extension/host/event.h"
#include "extension/host/event_payload.h"
#include "extension/host/host.h"
#include "extension/host/listeners.h"
#include "tests/fakes/call_plan.h"

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace fakes {

// The server, as an extension sees it. Every call is logged in the common log as "host." and, in this order, the call's
// name and what it is about:
//   send_message NAME ["0" of the parameters, where it is set]     a diagnostic message
//   send_message event NAME                                         an event of a target
//   notify_alarm MODE ID     forget_event NAME     reset_temporary_events     set_display_name TEXT
//   register_listener KIND     register_config_listener     unregister_listener KIND     (AlarmProvider, Config, ...)
//   get_config_value PATH     execute_command NAME
// `plan()` holds what calls do out of the ordinary, by "send_message", and also by "send_message NAME",
// "notify_alarm MODE", "get_config_value PATH", "register_listener KIND", "unregister_listener KIND". [any thread]
class FakeHost : public ZoHmiSrv::IZoHmiSrvExtHost {
public:
    struct SentMessage {
        ZoHmiSrv::Context context;
        ZoHmiSrv::Message message;
        bool is_event;
    };
    struct NotifiedAlarm {
        ZoHmiSrv::Context context;
        std::int32_t mode;
        ZoHmiSrv::Alarm alarm;
    };
    struct ForgottenEvent {
        ZoHmiSrv::Context context;
        ZoHmiSrv::Event event;
    };

    FakeHost() = default;
    virtual ~FakeHost() = default;
    FakeHost(const FakeHost&) = delete;
    FakeHost& operator=(const FakeHost&) = delete;

    // The whole configuration; Null at first.
    void set_config(const ZoHmiSrv::Value& config);
    // Runs inside every call, on its thread, before all else, with the call's name. Set it before the calls begin.
    void set_probe(std::function<void(std::string_view)> probe) { probe_ = std::move(probe); }
    [[nodiscard]] CallPlan& plan() { return plan_; }

    [[nodiscard]] std::vector<SentMessage> messages() const { return copy_of(messages_); }
    // The diagnostic messages of that name.
    [[nodiscard]] std::vector<ZoHmiSrv::Message> messages(std::string_view name) const;
    [[nodiscard]] std::vector<NotifiedAlarm> alarms() const { return copy_of(alarms_); }
    [[nodiscard]] std::vector<ForgottenEvent> forgotten() const { return copy_of(forgotten_); }
    // The context of the latest call of that name; a default one when there was none.
    [[nodiscard]] ZoHmiSrv::Context context_of(std::string_view call) const;
    // Drops what was kept of messages, alarms and forgotten events; listeners, configuration and plan stay.
    void clear();

    // What is registered now, each with its kind, so that a listener that died registered is never asked.
    using Listeners = std::vector<std::pair<ZoHmiSrv::ListenerType, ZoHmiSrv::IZoHmiSrvListener*>>;
    [[nodiscard]] Listeners listeners() const { return copy_of(listeners_); }
    // What the config listener asked for when it registered.
    [[nodiscard]] ZoHmiSrv::Value config_filter() const { return copy_of(config_filter_); }

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
    void enter(const ZoHmiSrv::Context& context, const std::string& call, const std::string& about,
               const std::string& plan_detail);
    template <class T>
    T copy_of(const T& member) const {
        const std::lock_guard lock(mutex_);
        return member;
    }

    CallPlan plan_;
    std::function<void(std::string_view)> probe_;
    mutable std::mutex mutex_;
    ZoHmiSrv::Value config_;
    ZoHmiSrv::Value config_filter_;
    std::vector<SentMessage> messages_;
    std::vector<NotifiedAlarm> alarms_;
    std::vector<ForgottenEvent> forgotten_;
    Listeners listeners_;
    std::map<std::string, ZoHmiSrv::Context, std::less<>> contexts_;
};

// A server that has the licence interface, too.
class FakeLicenseHost : public FakeHost, public ZoHmiSrv::ILicenseHost {};

} // namespace fakes
