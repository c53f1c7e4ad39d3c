#pragma once

#include "extension/host/command.h"
#include "extension/host/context.h"
#include "extension/host/event.h"
#include "extension/host/event_payload.h"
#include "extension/host/host.h"
#include "extension/host/listeners.h"
#include "extension/host/value.h"
#include "tests/fakes/call_plan.h"
#include "tests/test_headers.h"

namespace fakes {

using namespace ZoHmiSrv;

/// The server, as an extension sees it. Every call is logged in the common log as "host." with its name and subject:
///   send_message NAME [parameter "0", if set]     send_message event NAME (an event of a target)
///   notify_alarm MODE ID     forget_event NAME     reset_temporary_events     set_display_name TEXT
///   register_listener KIND     register_config_listener     unregister_listener KIND     (AlarmProvider, Config, ...)
///   get_config_value PATH     execute_command NAME
/// `plan()` changes calls by "send_message" or by "send_message NAME", "notify_alarm MODE", "get_config_value PATH",
/// "register_listener KIND", "unregister_listener KIND". [any thread]
class FakeHost : public IZoHmiSrvExtHost {
public:
    virtual ~FakeHost() = default;

    /// The whole configuration; Null at first.
    void set_config(const Value& config) {
        const std::lock_guard lock(mutex_);
        config_ = config;
    }
    /// Runs first in every call, on its thread, with the call's name. Set it before the calls begin.
    void set_probe(std::function<void(std::string_view)> probe) { probe_ = std::move(probe); }
    [[nodiscard]] CallPlan& plan() { return plan_; }

    /// Returns the messages of that name.
    [[nodiscard]] std::vector<Message> messages(std::string_view name) const {
        std::vector<Message> found = copy_of(messages_);
        std::erase_if(found, [name](const Message& sent) { return sent.name() != name; });
        return found;
    }
    /// Returns the number of notify_alarm calls.
    [[nodiscard]] std::size_t alarms() const { return copy_of(alarms_); }
    /// Returns the context of the latest call of that name, or name for the plan; a default one without such a call.
    [[nodiscard]] Context context_of(std::string_view call) const {
        const std::lock_guard lock(mutex_);
        const auto found = contexts_.find(call);
        return found == contexts_.end() ? Context() : found->second;
    }
    /// Drops messages and alarms; listeners, configuration and plan stay.
    void clear() {
        const std::lock_guard lock(mutex_);
        messages_.clear();
        alarms_ = 0;
    }

    /// Registered listeners. A destroyed listener may still be registered, so nothing calls it.
    [[nodiscard]] std::vector<IZoHmiSrvListener*> listeners() const { return copy_of(listeners_); }
    /// The filter of the config listener.
    [[nodiscard]] Value config_filter() const { return copy_of(config_filter_); }

    void send_message(const Context& context, Message message, bool is_event) override {
        const std::string name = message.name();
        const Value& target = std::as_const(message).parameters()["0"];
        enter(context, "send_message", is_event ? "event " + name : joined(name, target.get_string()), name);
        const std::lock_guard lock(mutex_);
        messages_.push_back(std::move(message));
    }
    void execute_command(const Context& context, Command& command) override {
        enter(context, "execute_command", command.name(), "");
    }
    void register_listener(const Context& context, IZoHmiSrvListener* listener) override {
        enter(context, "register_listener", kind_of(listener), kind_of(listener));
        const std::lock_guard lock(mutex_);
        listeners_.push_back(listener);
    }
    void register_config_listener(const Context& context, IZoHmiSrvConfigListener* listener, Value filter) override {
        enter(context, "register_config_listener", "", "");
        const std::lock_guard lock(mutex_);
        listeners_.push_back(listener);
        config_filter_ = std::move(filter);
    }
    void unregister_listener(const Context& context, IZoHmiSrvListener* listener) override {
        enter(context, "unregister_listener", kind_of(listener), kind_of(listener));
        const std::lock_guard lock(mutex_);
        std::erase(listeners_, listener);
    }
    void notify_alarm(const Context& context, AlarmNotification mode, const Alarm& alarm) override {
        const std::string number = std::to_string(static_cast<std::int32_t>(mode));
        enter(context, "notify_alarm", number + " " + std::to_string(alarm.id()), number);
        const std::lock_guard lock(mutex_);
        ++alarms_;
    }
    void forget_event(const Context& context, const Event& event) override {
        enter(context, "forget_event", event.name(), "");
    }
    Value get_config_value(const Context& context, const char* path) override {
        enter(context, "get_config_value", path, path);
        const std::lock_guard lock(mutex_);
        const Value* value = &config_;
        for (std::string_view rest = path; !rest.empty();) {
            const std::size_t end = rest.find("::");
            value = &(*value)[std::string(rest.substr(0, end)).c_str()];
            rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 2);
        }
        return *value;
    }
    void reset_temporary_events(const Context& context) override { enter(context, "reset_temporary_events", "", ""); }
    void set_display_name(const Context& context, const char* name) override {
        enter(context, "set_display_name", name, "");
    }

private:
    static const char* kind_of(const IZoHmiSrvListener* listener) {
        constexpr const char* kinds[] = {"Unknown",           "Shutdown", "AlarmProvider",
                                         "EventLocalization", "Request",  "Config"};
        return kinds[static_cast<std::size_t>(listener->type())];
    }
    static std::string joined(const std::string& first, const std::string& second) {
        return second.empty() ? first : first + " " + second;
    }
    void enter(const Context& context, const std::string& call, const std::string& about,
               const std::string& plan_detail) {
        if (probe_) probe_(call);
        call_log().add(joined("host." + call, about));
        {
            const std::lock_guard lock(mutex_);
            contexts_[call] = contexts_[joined(call, plan_detail)] = context;
        }
        plan_.enter(call, true); // as a read, which the plan does not log again
        if (!plan_detail.empty()) plan_.enter(joined(call, plan_detail), true);
    }
    template <class T>
    T copy_of(const T& member) const {
        const std::lock_guard lock(mutex_);
        return member;
    }

    CallPlan plan_;
    std::function<void(std::string_view)> probe_;
    mutable std::mutex mutex_;
    Value config_;
    Value config_filter_;
    std::vector<Message> messages_;
    std::size_t alarms_ = 0;
    std::vector<IZoHmiSrvListener*> listeners_;
    std::map<std::string, Context, std::less<>> contexts_;
};

} // namespace fakes
