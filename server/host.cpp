#include "server/host.h"

#include "console/text.h"
#include "server/describe.h"
#include "server/event_rows.h"

#include <algorithm>
#include <cstring>
#include <exception>

namespace server {

using namespace ZoHmiSrv;

namespace {

constexpr const char* domain = "ZoHmiEventLogger";

const char* kind_of(ListenerType type) {
    switch (type) {
    case ListenerType::Shutdown:
        return "Shutdown";
    case ListenerType::AlarmProvider:
        return "AlarmProvider";
    case ListenerType::EventLocalization:
        return "EventLocalization";
    case ListenerType::Request:
        return "Request";
    case ListenerType::Config:
        return "Config";
    }
    return "Unknown";
}

const char* alarm_verb(AlarmNotification mode) {
    switch (mode) {
    case AlarmNotification::Raised:
        return "raised";
    case AlarmNotification::Changed:
        return "changed";
    case AlarmNotification::Removed:
        return "removed";
    }
    return "alarm with an unknown mode";
}

constexpr const char* error_message = "ZORVANE_EVENTLOGGER_ERROR";

/// The logger's text about this thread's current call into the extension; null outside of such a call. The extension
/// sends the text as a message during the call.
thread_local std::string* words_of_call = nullptr;

class Words {
public:
    Words() { words_of_call = &words_; }
    ~Words() { words_of_call = nullptr; }
    Words(const Words&) = delete;
    Words& operator=(const Words&) = delete;
    [[nodiscard]] const char* get() const { return words_.c_str(); }

private:
    std::string words_;
};

/// "One" of "TARGET_SYSTEMS::One".
std::string target_of(const ConfigChange& change) {
    const std::size_t end = change.path.find("::");
    return end == std::string::npos ? change.path : change.path.substr(end + 2);
}

} // namespace

ErrorValue result_of(const Command& command) {
    return command.result() != HMI_SUCCESS ? command.result() : static_cast<ErrorValue>(command.extension_result());
}

bool asks_for(const Value& filter, std::string_view path, int flag) {
    for (auto entry = filter.begin_vector(); entry != filter.end_vector(); ++entry) {
        if (((*entry)["flags"].get_int32() & flag) == 0) continue;
        const Value& paths = (*entry)["paths"];
        for (auto item = paths.begin_vector(); item != paths.end_vector(); ++item) {
            std::string_view asked = item->get_string();
            const bool open = asked.ends_with('*');
            if (open) asked.remove_suffix(1);
            if (open ? path.starts_with(asked) : path == asked) return true;
        }
    }
    return false;
}

Host::Host(const Configuration& configuration, EventList& events, Trace& trace, Print print,
           std::optional<RetryPauses> pauses)
    : configuration_(configuration), events_(events), trace_(trace), imports_(pauses), print_(std::move(print)) {
    context_.set_domain(domain);
}

void Host::print(const std::string& line) {
    const std::lock_guard lock(order_mutex_);
    print_(line);
}

bool Host::guarded(const char* what, const std::function<void()>& call) {
    try {
        call();
        return true;
    } catch (const std::exception& error) {
        print(std::string("error: ") + what + " threw: " + console::printable(error.what()));
    } catch (...) {
        print(std::string("error: ") + what + " threw an unknown object");
    }
    return false;
}

std::string Host::notify_config(const std::vector<ConfigChange>& changes) {
    auto* config = listener<IZoHmiSrvConfigListener>(ListenerType::Config);
    if (config == nullptr) return {};
    std::string failure;
    Value filter;
    {
        const std::lock_guard lock(listeners_mutex_);
        const auto found =
            std::find_if(listeners_.begin(), listeners_.end(), [&](const Listener& l) { return l.listener == config; });
        if (found != listeners_.end()) filter = found->filter;
    }
    for (const ConfigChange& change : changes) {
        if (!asks_for(filter, change.path, change.deleted ? flag_delete : flag_change)) continue;
        const char* what = change.deleted ? "on_config_delete" : "on_config_change";
        ResultPair result;
        const bool done = guarded(what, [&] {
            result = change.deleted ? config->on_config_delete(context_, change.path.c_str())
                                    : config->on_config_change(context_, change.path.c_str());
        });
        if (done)
            print(std::string(what) + " " + console::printable(change.path) + " answered " +
                  result_text(result.result(), result.text()));
        if (failure.empty() && !done) failure = std::string(what) + " threw";
        if (failure.empty() && result.result() != HMI_SUCCESS) failure = result_text(result.result(), result.text());
        // The remark of a changed target stays until its next import: the extension may not have replaced the target.
        if (change.deleted || !configuration_.get((change.path + "::ENABLED").c_str()).get_bool()) {
            imports_.forget(target_of(change));
        }
    }
    return failure;
}

ResultPair Host::confirm(Alarm alarm) {
    auto* provider = listener<IZoHmiSrvAlarmProviderListener>(ListenerType::AlarmProvider);
    if (provider == nullptr) return HMI_E_NOT_REGISTERED;
    ErrorValue result = HMI_E_EXTENSION_HANDLER;
    const Words words;
    guarded("on_confirm_alarm", [&] { result = provider->on_confirm_alarm(context_, alarm); });
    return {result, words.get()};
}

ErrorValue Host::localize(const char* language, EventPayload& event, String& text) {
    auto* localization = listener<IZoHmiSrvEventLocalizationListener>(ListenerType::EventLocalization);
    if (localization == nullptr) return HMI_E_NOT_REGISTERED;
    ErrorValue result = HMI_E_EXTENSION_HANDLER;
    const Words words;
    guarded("on_localize_event", [&] { result = localization->on_localize_event(context_, language, event, text); });
    return result;
}

Command Host::request(const char* mapping, Value input) {
    CommandGroup group;
    Command& command = group.add(Command(mapping));
    command.set_mapper(domain);
    command.write_value() = std::move(input);
    const Words words;
    auto* request = listener<IZoHmiSrvRequestListener>(ListenerType::Request);
    if (request == nullptr) {
        command.set_result(HMI_E_NOT_REGISTERED);
    } else if (!guarded("on_request", [&] { request->on_request(context_, group); })) {
        command.set_result(HMI_E_EXTENSION_HANDLER);
    }
    if (*command.result_string() == '\0') command.set_result_string(words.get());
    return command;
}

bool Host::list_events(Value& events) {
    auto* provider = listener<IZoHmiSrvAlarmProviderListener>(ListenerType::AlarmProvider);
    if (provider == nullptr) return false;
    int result = 0;
    if (!guarded("on_get_events", [&] { result = provider->on_get_events(context_, events); })) return false;
    if (result == 0) return true;
    print("error: on_get_events answered " + std::to_string(result));
    return false;
}

bool Host::shut_down() {
    auto* shutdown = listener<IZoHmiSrvShutdownListener>(ListenerType::Shutdown);
    if (shutdown == nullptr) return false;
    int result = 0;
    guarded("on_shutdown", [&] { result = shutdown->on_shutdown(context_); });
    if (result != 0) print("error: on_shutdown answered " + std::to_string(result));
    return true;
}

std::string Host::line_of(const EventRow& row) const {
    return row_line(row, imports_.is_incomplete(parameters_of(row.event)["targetName"].get_string()));
}

void Host::send_message(const Context&, Message message, bool is_event) {
    const std::lock_guard lock(order_mutex_);
    trace_.message(message, is_event);
    if (is_event) {
        const EventList::Outcome outcome = events_.add_message(message);
        print_("message " + line_of({outcome.row, event_of(message)}));
    } else {
        print_("log " + message_line(message));
        if (words_of_call != nullptr && std::strcmp(message.name(), error_message) == 0) {
            *words_of_call = message.parameters()["2"].get_string();
        } else if (const std::string line = imports_.follow(message); !line.empty()) {
            print_(line);
        }
    }
    history_.record(message.name());
}

void Host::execute_command(const Context&, Command& command) {
    {
        const std::lock_guard lock(order_mutex_);
        trace_.call("execute_command", command.name());
    }
    command.set_result(HMI_E_NOT_IMPLEMENTED);
}

void Host::register_listener(const Context&, IZoHmiSrvListener* listener) {
    if (listener == nullptr) return;
    {
        const std::lock_guard lock(order_mutex_);
        trace_.call("register_listener", kind_of(listener->type()));
    }
    add_listener(listener, Value());
}

void Host::register_config_listener(const Context&, IZoHmiSrvConfigListener* listener, Value filter) {
    if (listener == nullptr) return;
    {
        const std::lock_guard lock(order_mutex_);
        trace_.call("register_config_listener");
    }
    add_listener(listener, std::move(filter));
}

void Host::unregister_listener(const Context&, IZoHmiSrvListener* listener) {
    if (listener == nullptr) return;
    {
        const std::lock_guard lock(order_mutex_);
        trace_.call("unregister_listener", kind_of(listener->type()));
    }
    const std::lock_guard lock(listeners_mutex_);
    std::erase_if(listeners_, [listener](const Listener& entry) { return entry.listener == listener; });
}

void Host::add_listener(IZoHmiSrvListener* listener, Value filter) {
    const std::lock_guard lock(listeners_mutex_);
    listeners_.push_back({listener->type(), listener, std::move(filter)});
}

IZoHmiSrvListener* Host::find_listener(ListenerType type) const {
    const std::lock_guard lock(listeners_mutex_);
    const auto found =
        std::find_if(listeners_.rbegin(), listeners_.rend(), [type](const Listener& l) { return l.type == type; });
    return found == listeners_.rend() ? nullptr : found->listener;
}

void Host::notify_alarm(const Context&, AlarmNotification mode, const Alarm& alarm) {
    const std::lock_guard lock(order_mutex_);
    const auto number = static_cast<std::int32_t>(mode);
    trace_.alarm(number, alarm);
    const EventList::Outcome outcome = events_.notify_alarm(number, alarm);
    print_(std::string(alarm_verb(mode)) + " " +
           line_of({outcome.row, event_of(alarm), mode == AlarmNotification::Removed}));
    history_.record("notify_alarm");
}

void Host::forget_event(const Context&, const Event& event) {
    const std::lock_guard lock(order_mutex_);
    trace_.forgotten(event);
    const EventList::Outcome outcome = events_.forget(event);
    print_("forgotten " + line_of({outcome.row, event}));
    history_.record("forget_event");
}

Value Host::get_config_value(const Context&, const char* path) {
    {
        const std::lock_guard lock(order_mutex_);
        trace_.call("get_config_value", path);
    }
    return configuration_.get(path);
}

void Host::reset_temporary_events(const Context&) {
    {
        const std::lock_guard lock(order_mutex_);
        trace_.call("reset_temporary_events");
    }
    relist("reset");
    history_.record("reset_temporary_events");
}

void Host::relist(const char* why) {
    const std::size_t rows = events_.reset([this](Value& events) {
        if (!list_events(events)) events = Value();
    });
    const std::string incomplete = incomplete_line(imports_.incomplete());
    print(std::string(why) + ", " + std::to_string(rows) + " rows" + (incomplete.empty() ? "" : "; " + incomplete));
}

void Host::set_display_name(const Context&, const char* name) {
    const std::lock_guard lock(order_mutex_);
    trace_.call("set_display_name", name);
    print_("display name " + console::printable(name == nullptr ? "" : name));
}

} // namespace server
