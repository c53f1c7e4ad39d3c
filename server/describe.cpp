#include "server/describe.h"

#include "server/text.h"

namespace server {

using ZoHmiSrv::Timestamp;
using ZoHmiSrv::Value;
using ZoHmiSrv::ValueType;

namespace {

/// A parameter in a few words: times as such, everything else as the library makes it a text.
std::string parameter_text(const Value& value) {
    if (value.type() == ValueType::DateTime) return time_text(static_cast<Timestamp>(value).nanoseconds());
    return printable(Value(value).convert(ValueType::String).get_string());
}

} // namespace

std::string state_text(const EventRow& row) {
    if (message_of(row.event) != nullptr) return "message";
    const ZoHmiSrv::Alarm* alarm = alarm_of(row.event);
    if (alarm == nullptr) return {};
    std::string text = "cleared";
    if (alarm->is_active()) text = row.removed ? "removed" : "active";
    if (alarm->alarm_state() == ZoHmiSrv::AlarmState::Invalid) text = "invalid";
    if (alarm->time_confirmed() != Timestamp()) text += " confirmed";
    return text;
}

RowText row_text(const EventRow& row) {
    const Value& parameters = parameters_of(row.event);
    const auto* alarm = alarm_of(row.event);
    const auto* message = message_of(row.event);
    RowText text;
    text.number = row.number == 0 ? "-" : "#" + std::to_string(row.number);
    text.target = printable(parameters["targetName"].get_string());
    text.time = time_text(row.event.time_received().nanoseconds());
    if (alarm != nullptr) text.severity = std::to_string(static_cast<int>(alarm->severity()));
    if (message != nullptr) text.severity = std::to_string(static_cast<int>(message->severity()));
    text.state = state_text(row);
    text.name = printable(row.event.name());
    text.event_class = parameter_text(parameters["eventClass"]);
    text.id = parameter_text(parameters["eventId"]);
    return text;
}

std::string row_line(const EventRow& row) {
    const RowText text = row_text(row);
    return text.number + " " + text.target + " " + text.time + " severity " + text.severity + " " + text.state + " " +
           text.name + " " + text.event_class + " " + text.id;
}

std::string message_line(const ZoHmiSrv::Message& message) {
    std::string line = printable(message.name());
    for (auto it = message.parameters().begin(); it != message.parameters().end(); ++it) {
        line += " " + parameter_text(*it);
    }
    return line;
}

} // namespace server
