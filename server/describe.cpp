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

constexpr int max_depth = 64;

void add_lines(const Value& value, const std::string& indent, int depth, std::string& lines);

void add_member(const std::string& name, const Value& value, const std::string& indent, int depth, std::string& lines) {
    if (!lines.empty()) lines += '\n';
    lines += indent + name + ":";
    const bool deeper =
        value.type() == ValueType::Map || value.type() == ValueType::Struct || value.type() == ValueType::Vector;
    if (!deeper) {
        lines += " " + parameter_text(value);
    } else if (depth < max_depth) {
        add_lines(value, indent + "  ", depth + 1, lines);
    }
}

void add_lines(const Value& value, const std::string& indent, int depth, std::string& lines) {
    std::size_t index = 0;
    for (auto it = value.begin_vector(); it != value.end_vector(); ++it)
        add_member(std::to_string(++index), *it, indent, depth, lines);
    for (auto it = value.begin(); it != value.end(); ++it)
        add_member(printable(it.name()), *it, indent, depth, lines);
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

std::string value_lines(const Value& value, const std::string& indent) {
    std::string lines;
    add_lines(value, indent, 0, lines);
    return lines;
}

std::string event_lines(const ZoHmiSrv::Event& event, const std::string& indent) {
    std::string lines;
    const auto add = [&](const char* name, const std::string& text) {
        if (!lines.empty()) lines += '\n';
        lines += indent + name + ": " + text;
    };
    add("name", printable(event.name()));
    if (const auto* alarm = alarm_of(event)) {
        add("id", std::to_string(alarm->id()));
        add("alarm state", std::to_string(static_cast<int>(alarm->alarm_state())));
        add("confirmation state", std::to_string(static_cast<int>(alarm->confirmation_state())));
        add("raised", time_text(alarm->time_raised().nanoseconds()));
        add("cleared", time_text(alarm->time_cleared().nanoseconds()));
        add("confirmed", time_text(alarm->time_confirmed().nanoseconds()));
    }
    lines += "\n" + indent + "parameters:";
    const std::string parameters = value_lines(parameters_of(event), indent + "  ");
    if (!parameters.empty()) lines += "\n" + parameters;
    return lines;
}

} // namespace server
