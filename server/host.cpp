#include "server/host.h"

#include "server/describe.h"
#include "server/event_rows.h"
#include "server/text.h"

#include <algorithm>
#include <cstdio>
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

std::string result_text(const ResultPair& result) {
    char number[16];
    std::snprintf(number, sizeof number, "0x%x", static_cast<unsigned>(result.result()));
    return *result.text() == '\0' ? number : std::string(number) + " " + printable(result.text());
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

} // namespace

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

Host::Host(const Configuration& configuration, EventList& events, Trace& trace, Say say)
    : configuration_(configuration), events_(events), trace_(trace), say_(std::move(say)) {
    context_.set_domain(domain);
}

void Host::say(const std::string& line) {
    const std::lock_guard lock(order_mutex_);
    say_(line);
}

bool Host::guarded(const char* what, const std::function<void()>& call) {
    try {
        call();
        return true;
    } catch (const std::exception& error) {
        say(std::string("error: ") + what + " threw: " + printable(error.what()));
    } catch (...) {
        say(std::string("error: ") + what + " threw something that is no exception");
    }
    return false;
}

std::string Host::tell(const std::vector<ConfigChange>& changes) {
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
        if (done) say(std::string(what) + " " + printable(change.path) + " answered " + result_text(result));
        if (failure.empty() && !done) failure = std::string(what) + " threw";
        if (failure.empty() && result.result() != HMI_SUCCESS) failure = result_text(result);
    }
    return failure;
}

ErrorValue Host::confirm(Alarm alarm) {
    auto* provider = listener<IZoHmiSrvAlarmProviderListener>(ListenerType::AlarmProvider);
    if (provider == nullptr) return HMI_E_NOT_REGISTERED;
    ErrorValue result = HMI_E_EXTENSION_HANDLER;
    guarded("on_confirm_alarm", [&] { result = provider->on_confirm_alarm(context_, alarm); });
    return result;
}

ErrorValue Host::localize(const char* language, EventPayload& event, String& text) {
    auto* localization = listener<IZoHmiSrvEventLocalizationListener>(ListenerType::EventLocalization);
    if (localization == nullptr) return HMI_E_NOT_REGISTERED;
    ErrorValue result = HMI_E_EXTENSION_HANDLER;
    guarded("on_localize_event", [&] { result = localization->on_localize_event(context_, language, event, text); });
    return result;
}

Command Host::request(const char* mapping, Value input) {
    CommandGroup group;
    Command& command = group.add(Command(mapping));
    command.set_mapper(domain);
    command.write_value() = std::move(input);
    auto* request = listener<IZoHmiSrvRequestListener>(ListenerType::Request);
    if (request == nullptr) {
        command.set_result(HMI_E_NOT_REGISTERED);
    } else if (!guarded("on_request", [&] { request->on_request(context_, group); })) {
        command.set_result(HMI_E_EXTENSION_HANDLER);
    }
    return command;
}

bool Host::list_events(Value& events) {
    auto* provider = listener<IZoHmiSrvAlarmProviderListener>(ListenerType::AlarmProvider);
    if (provider == nullptr) return false;
    int result = 0;
    if (!guarded("on_get_events", [&] { result = provider->on_get_events(context_, events); })) return false;
    if (result == 0) return true;
    say("error: on_get_events answered " + std::to_string(result));
    return false;
}

void Host::shut_down() {
    auto* shutdown = listener<IZoHmiSrvShutdownListener>(ListenerType::Shutdown);
    if (shutdown == nullptr) return;
    int result = 0;
    guarded("on_shutdown", [&] { result = shutdown->on_shutdown(context_); });
    if (result != 0) say("error: on_shutdown answered " + std::to_string(result));
}

void Host::send_message(const Context&, Message message, bool is_event) {
    const std::lock_guard lock(order_mutex_);
    trace_.message(message, is_event);
    if (is_event) {
        const EventList::Outcome outcome = events_.add_message(message);
        say_("message " + row_line({outcome.row, event_of(message)}));
    } else {
        say_("log " + message_line(message));
    }
    heard_.count(message.name());
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
    say_(std::string(alarm_verb(mode)) + " " +
         row_line({outcome.row, event_of(alarm), mode == AlarmNotification::Removed}));
    heard_.count("notify_alarm");
}

void Host::forget_event(const Context&, const Event& event) {
    const std::lock_guard lock(order_mutex_);
    trace_.forgotten(event);
    const EventList::Outcome outcome = events_.forget(event);
    say_("forgotten " + row_line({outcome.row, event}));
    heard_.count("forget_event");
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
    list_anew("reset");
    heard_.count("reset_temporary_events");
}

void Host::list_anew(const char* why) {
    const std::size_t rows = events_.reset([this](Value& events) {
        if (!list_events(events)) events = Value();
    });
    say(std::string(why) + ", " + std::to_string(rows) + " rows");
}

void Host::set_display_name(const Context&, const char* name) {
    const std::lock_guard lock(order_mutex_);
    trace_.call("set_display_name", name);
    say_("display name " + printable(name == nullptr ? "" : name));
}

} // namespace server
