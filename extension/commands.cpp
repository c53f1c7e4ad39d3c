#include "extension/zo_hmi_event_logger.h"

#include "extension/host/algorithm.h"
#include "extension/host/command.h"
#include "extension/host/value.h"
#include "support/numeric.h"
#include "targets/target_system.h"

namespace ZoHmiEventLogger {

using namespace ZoHmiSrv;

namespace {

constexpr char unknown_command[] =
    "Unkown command. Command handler missing. Please check the version of the extension.";

ErrorValue result_of(HRESULT code) {
    return failed(code) ? HMI_E_FAIL : HMI_SUCCESS;
}

/// Counters have 64 bits; clients get them as Int.
struct CounterMember {
    const char* name;
    std::uint64_t (*value)(const EventStore::Counters&);
};

constexpr CounterMember counter_members[] = {
    {"importedEventsCount", [](const EventStore::Counters& c) { return c.imported_events; }},
    {"importedAlarmsCount", [](const EventStore::Counters& c) { return c.imported_events - c.imported_messages; }},
    {"importedInvalidAlarmsCount", [](const EventStore::Counters& c) { return c.imported_invalid_alarms; }},
    {"importedMessagesCount", [](const EventStore::Counters& c) { return c.imported_messages; }},
    {"activeAlarmsCount", [](const EventStore::Counters& c) { return c.active_alarms; }},
    {"cachedAlarmsCount", [](const EventStore::Counters& c) { return c.cached_alarms; }},
    {"cachedInvalidAlarmsCount", [](const EventStore::Counters& c) { return c.cached_invalid_alarms; }},
    {"cachedMessagesCount", [](const EventStore::Counters& c) { return c.cached_messages; }},
};

} // namespace

const ZoHmiEventLogger::Handler ZoHmiEventLogger::handlers[] = {
    {"Diagnostics", &ZoHmiEventLogger::diagnostics},
    {"ForceReconnect", &ZoHmiEventLogger::force_reconnect},
    {"ListEnabledTargetSystems", &ZoHmiEventLogger::list_enabled_target_systems},
    {"ClearLoggedEvents", &ZoHmiEventLogger::clear_logged_events},
};

void ZoHmiEventLogger::on_request(const Context&, CommandGroup& commands) {
    for (auto command = commands.begin_vector(); command != commands.end_vector(); ++command)
        run(*command);
}

void ZoHmiEventLogger::run(Command& command) {
    for (const Handler& handler : handlers) {
        if (!Algorithm::equals(command.mapping(), handler.mapping)) continue;
        command.set_extension_result(static_cast<unsigned>((this->*handler.run)(command)));
        return;
    }
    command.set_extension_result(HMI_E_INVALID_SYMBOL);
    command.set_result_string(unknown_command);
}

ErrorValue ZoHmiEventLogger::diagnostics(Command& command) {
    Value record;
    record.set_type(ValueType::Struct);
    Value& entries = *record.insert("TARGET_SYSTEMS", Value().set_type(ValueType::Map));
    for (const std::string& name : targets_.names())
        if (const auto target = targets_.find(name)) entries.insert(name.c_str(), diagnose(*target));
    command.read_value() = std::move(record);
    return HMI_SUCCESS;
}

/// Queries the state of the connection. Throws when the query fails.
Value ZoHmiEventLogger::diagnose(TargetSystem& target) {
    Value entry;
    entry.set_type(ValueType::Struct);
    if (target.disabled()) {
        entry.insert("connectionState", "Disabled");
        return entry;
    }
    const ConnectionStatus status = target.connection_status();
    if (!status.connected) {
        entry.insert("connectionState", "Not Connected");
        if (status.has_error && failed(status.error)) {
            const std::string code =
                Algorithm::integer_to_hex<unsigned int>(static_cast<unsigned>(status.error), true, true, true);
            entry.insert("connectError", (error_text(status.error) + " (" + code + ")").c_str());
        }
        return entry;
    }
    entry.insert("connectionState", "Good");
    const EventStore::Counters counters = target.counters();
    for (const CounterMember& member : counter_members)
        entry.insert(member.name, static_cast<int>(member.value(counters)));
    return entry;
}

// The next tick reconnects.
ErrorValue ZoHmiEventLogger::force_reconnect(Command& command) {
    const auto target = targets_.find(std::as_const(command).write_value().get_string());
    return target ? result_of(target->force_disconnect()) : HMI_E_ENTRY_NOT_FOUND;
}

ErrorValue ZoHmiEventLogger::list_enabled_target_systems(Command& command) {
    Value names;
    names.set_type(ValueType::Vector);
    for (const std::string& name : targets_.names()) {
        const auto target = targets_.find(name);
        if (target && !target->disabled()) names << name.c_str();
    }
    command.read_value() = std::move(names);
    return HMI_SUCCESS;
}

// The input is a Struct. The input of the reconnect is the name itself.
ErrorValue ZoHmiEventLogger::clear_logged_events(Command& command) {
    const auto target = targets_.find(std::as_const(command).write_value()["targetName"].get_string());
    return target ? result_of(target->clear_logged_events()) : HMI_E_ENTRY_NOT_FOUND;
}

} // namespace ZoHmiEventLogger
