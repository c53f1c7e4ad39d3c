#include "server/describe.h"

#include "console/text.h"
#include "support/error_text.h"
#include "support/numeric.h"

namespace server {

using ZoHmiSrv::Timestamp;
using ZoHmiSrv::Value;
using ZoHmiSrv::ValueType;

namespace {

/// A time as a readable time; any other value as the library converts it.
std::string parameter_text(const Value& value) {
    if (value.type() == ValueType::DateTime) return console::time_text(static_cast<Timestamp>(value).nanoseconds());
    return console::printable(Value(value).convert(ValueType::String).get_string());
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
        add_member(console::printable(it.name()), *it, indent, depth, lines);
}

} // namespace

std::string result_text(ZoHmiSrv::ErrorValue result, const char* text) {
    const std::string number =
        ZoHmiSrv::Algorithm::integer_to_hex<unsigned>(static_cast<unsigned>(result), true, false, false);
    const ZoHmiSrv::String name = ZoHmiSrv::get_error_string(result);
    const std::string named = *name.name() == '\0' ? number : std::string("HMI_E_") + name.name() + " (" + number + ")";
    return *text == '\0' ? named : named + ": " + console::printable(text);
}

std::string event_number(const EventRow& row) {
    if (const auto* alarm = alarm_of(row.event)) return std::to_string(alarm->id());
    return row.number == 0 ? "-" : "m" + std::to_string(row.number);
}

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
    text.number = event_number(row);
    text.target = console::printable(parameters["targetName"].get_string());
    text.time = console::time_text(row.event.time_received().nanoseconds());
    if (alarm != nullptr) text.severity = std::to_string(static_cast<int>(alarm->severity()));
    if (message != nullptr) text.severity = std::to_string(static_cast<int>(message->severity()));
    text.state = state_text(row);
    text.name = console::printable(row.event.name());
    text.event_class = parameter_text(parameters["eventClass"]);
    text.id = parameter_text(parameters["eventId"]);
    return text;
}

std::string row_line(const EventRow& row, bool incomplete) {
    const RowText text = row_text(row);
    return text.number + (incomplete ? " ! " : " ") + text.target + " " + text.time + " severity " + text.severity +
           " " + text.state + " " + text.name + " " + text.event_class + " " + text.id;
}

std::string message_line(const ZoHmiSrv::Message& message) {
    std::string line = console::printable(message.name());
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
    add("name", console::printable(event.name()));
    if (const auto* alarm = alarm_of(event)) {
        add("id", std::to_string(alarm->id()));
        add("alarm state", std::to_string(static_cast<int>(alarm->alarm_state())));
        add("confirmation state", std::to_string(static_cast<int>(alarm->confirmation_state())));
        add("raised", console::time_text(alarm->time_raised().nanoseconds()));
        add("cleared", console::time_text(alarm->time_cleared().nanoseconds()));
        add("confirmed", console::time_text(alarm->time_confirmed().nanoseconds()));
    }
    lines += "\n" + indent + "parameters:";
    const std::string parameters = value_lines(parameters_of(event), indent + "  ");
    if (!parameters.empty()) lines += "\n" + parameters;
    return lines;
}

} // namespace server
