#include "server/event_json.h"

#include "console/text.h"

#include <nlohmann/json.hpp>

namespace server {

using nlohmann::ordered_json;
using ZoHmiSrv::Value;
using ZoHmiSrv::ValueType;

namespace {

constexpr int max_depth = 64;

template <class Number>
std::int32_t number_of(Number number) {
    return static_cast<std::int32_t>(number);
}

ordered_json to_json(const ZoHmiSrv::Alarm& alarm, int depth);
ordered_json to_json(const ZoHmiSrv::Event& event, int depth);

ordered_json to_json(const Value& value, int depth) {
    if (depth > max_depth) return nullptr;
    switch (value.type()) {
    case ValueType::Bool:
        return value.get_bool();
    case ValueType::Int:
        return value.get_int32();
    case ValueType::Double:
        return value.get_double();
    case ValueType::String:
        return value.get_string();
    case ValueType::Int64:
    case ValueType::DateTime:
    case ValueType::TimeSpan:
        return value.get_int64();
    case ValueType::UInt64:
        return value.get_uint64();
    case ValueType::Binary: {
        Value text(value);
        return text.convert(ValueType::String).get_string();
    }
    case ValueType::Vector: {
        ordered_json list = ordered_json::array();
        for (auto it = value.begin_vector(); it != value.end_vector(); ++it)
            list.push_back(to_json(*it, depth + 1));
        return list;
    }
    case ValueType::Map:
    case ValueType::Struct: {
        ordered_json object = ordered_json::object();
        // Names come in order and once only, so no look-up is needed.
        auto& members = object.get_ref<ordered_json::object_t&>();
        for (auto it = value.begin(); it != value.end(); ++it) {
            members.emplace_back(it.name(), to_json(*it, depth + 1));
        }
        return object;
    }
    case ValueType::Event:
        return to_json(value.get_event(), depth + 1);
    case ValueType::Alarm:
        return to_json(value.get_alarm(), depth + 1);
    default:
        return nullptr;
    }
}

ordered_json to_json(const ZoHmiSrv::Alarm& alarm, int depth) {
    return {{"id", alarm.id()},
            {"severity", number_of(alarm.severity())},
            {"alarmState", number_of(alarm.alarm_state())},
            {"confirmationState", number_of(alarm.confirmation_state())},
            {"timeRaised", alarm.time_raised().nanoseconds()},
            {"timeCleared", alarm.time_cleared().nanoseconds()},
            {"timeConfirmed", alarm.time_confirmed().nanoseconds()},
            {"parameters", to_json(alarm.parameters(), depth + 1)}};
}

ordered_json to_json(const ZoHmiSrv::Event& event, int depth) {
    ordered_json json{
        {"name", event.name()}, {"domain", event.domain()}, {"timeReceived", event.time_received().nanoseconds()}};
    if (event.payload().type() == ValueType::Alarm) {
        json["alarm"] = to_json(event.payload().get_alarm(), depth + 1);
    } else if (event.payload().type() == ValueType::Message) {
        const ZoHmiSrv::Message& message = event.payload().get_message();
        json["message"] = {{"severity", number_of(message.severity())},
                           {"timeRaised", message.time_raised().nanoseconds()},
                           {"parameters", to_json(message.parameters(), depth + 1)}};
    }
    return json;
}

} // namespace

ordered_json value_json(const Value& value) {
    return to_json(value, 0);
}

ordered_json alarm_json(const ZoHmiSrv::Alarm& alarm) {
    return to_json(alarm, 0);
}

ordered_json event_json(const ZoHmiSrv::Event& event) {
    return to_json(event, 0);
}

std::string json_line(const ordered_json& json) {
    return console::json_escaped(json.dump(-1, ' ', false, ordered_json::error_handler_t::replace));
}

} // namespace server
