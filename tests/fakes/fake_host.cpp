#include "tests/fakes/fake_host.h"

#include "tests/fakes/call_log.h"

#include <utility>

namespace fakes {

using namespace ZoHmiSrv;

namespace {

const char* kind_of(const IZoHmiSrvListener* listener) {
    if (listener == nullptr) return "null";
    constexpr const char* kinds[] = {"Unknown", "Shutdown", "AlarmProvider", "EventLocalization", "Request", "Config"};
    const auto number = static_cast<std::size_t>(listener->type());
    return kinds[number < std::size(kinds) ? number : 0];
}

std::string joined(const std::string& first, const std::string& second) {
    return second.empty() ? first : first + " " + second;
}

} // namespace

void FakeHost::enter(const Context& context, const std::string& call, const std::string& about,
                     const std::string& plan_detail) {
    if (probe_) probe_(call);
    call_log().add(joined("host." + call, about));
    {
        const std::lock_guard lock(mutex_);
        contexts_[call] = context;
    }
    // The log has its line already: for the plan these count as reads, which it does not log.
    constexpr bool is_read = true;
    plan_.enter(call, is_read);
    if (!plan_detail.empty()) plan_.enter(joined(call, plan_detail), is_read);
}

void FakeHost::set_config(const Value& config) {
    const std::lock_guard lock(mutex_);
    config_ = config;
}

std::vector<Message> FakeHost::messages(std::string_view name) const {
    const std::lock_guard lock(mutex_);
    std::vector<Message> found;
    for (const SentMessage& sent : messages_) {
        if (!sent.is_event && name == sent.message.name()) found.push_back(sent.message);
    }
    return found;
}

Context FakeHost::context_of(std::string_view call) const {
    const std::lock_guard lock(mutex_);
    const auto found = contexts_.find(call);
    return found == contexts_.end() ? Context() : found->second;
}

void FakeHost::clear() {
    const std::lock_guard lock(mutex_);
    messages_.clear();
    alarms_.clear();
    forgotten_.clear();
}

void FakeHost::send_message(const Context& context, Message message, bool is_event) {
    const std::string name = message.name();
    const Value& target = std::as_const(message).parameters()["0"];
    enter(context, "send_message", is_event ? "event " + name : joined(name, target.get_string()), name);
    const std::lock_guard lock(mutex_);
    messages_.push_back({context, std::move(message), is_event});
}

void FakeHost::execute_command(const Context& context, Command& command) {
    enter(context, "execute_command", command.name(), "");
}

void FakeHost::register_listener(const Context& context, IZoHmiSrvListener* listener) {
    const char* kind = kind_of(listener);
    enter(context, "register_listener", kind, kind);
    const std::lock_guard lock(mutex_);
    if (listener != nullptr) listeners_.emplace_back(listener->type(), listener);
}

void FakeHost::register_config_listener(const Context& context, IZoHmiSrvConfigListener* listener, Value filter) {
    enter(context, "register_config_listener", "", "");
    const std::lock_guard lock(mutex_);
    if (listener != nullptr) listeners_.emplace_back(listener->type(), listener);
    config_filter_ = std::move(filter);
}

void FakeHost::unregister_listener(const Context& context, IZoHmiSrvListener* listener) {
    const char* kind = kind_of(listener);
    enter(context, "unregister_listener", kind, kind);
    const std::lock_guard lock(mutex_);
    std::erase_if(listeners_, [listener](const auto& entry) { return entry.second == listener; });
}

void FakeHost::notify_alarm(const Context& context, AlarmNotification mode, const Alarm& alarm) {
    const auto number = static_cast<std::int32_t>(mode);
    enter(context, "notify_alarm", std::to_string(number) + " " + std::to_string(alarm.id()), std::to_string(number));
    const std::lock_guard lock(mutex_);
    alarms_.push_back({context, number, alarm});
}

void FakeHost::forget_event(const Context& context, const Event& event) {
    enter(context, "forget_event", event.name(), "");
    const std::lock_guard lock(mutex_);
    forgotten_.push_back({context, event});
}

Value FakeHost::get_config_value(const Context& context, const char* path) {
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

void FakeHost::reset_temporary_events(const Context& context) {
    enter(context, "reset_temporary_events", "", "");
}

void FakeHost::set_display_name(const Context& context, const char* name) {
    enter(context, "set_display_name", name, "");
}

} // namespace fakes
