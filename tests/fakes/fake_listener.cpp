#include "tests/fakes/fake_listener.h"

#include "binding/error.h"
#include "extension/host/value.h"
#include "support/numeric.h"

#include <cstdlib>

namespace fakes {

namespace {

std::string describe_time(const Timestamp& time) {
    constexpr long second = 1'000'000'000;
    const long ns = time.nanoseconds();
    if (ns == 0) return "@0";
    if (std::labs(ns / second - Timestamp::now().seconds()) < 60) return "@now";
    return ns % second == 0 ? "@" + std::to_string(ns / second) + "s" : "@" + std::to_string(ns) + "ns";
}

template <class Number>
std::string number(Number value) {
    return std::to_string(static_cast<long>(value));
}

/// The parameters of a diagnostic message, which are numbered from "0".
std::string describe_numbered(const Value& parameters) {
    std::string text;
    std::size_t index = 0;
    for (auto member = parameters.begin(); member != parameters.end(); ++member) {
        text += ' ';
        if (member.name() != std::to_string(index++)) text += std::string(member.name()) + "=";
        text += describe(*member);
    }
    return text;
}

} // namespace

std::string describe(const Value& value) {
    std::string text;
    switch (value.type()) {
    case ValueType::Null:
        return "null";
    case ValueType::Bool:
    case ValueType::Int:
    case ValueType::Double:
        text = Value(value).convert(ValueType::String).get_string();
        return value.type() == ValueType::Double && text.find('.') == std::string::npos ? text + ".0" : text;
    case ValueType::String:
        return std::string("\"") + value.get_string() + "\"";
    case ValueType::DateTime:
        return describe_time(static_cast<Timestamp>(value));
    case ValueType::Binary: {
        const Binary bytes = value;
        for (std::size_t i = 0; i < bytes.size(); ++i)
            text += Algorithm::unsigned_to_hex(bytes.data()[i], false, false, true);
        return "<" + text + ">";
    }
    case ValueType::Map:
    case ValueType::Struct:
        for (auto member = value.begin(); member != value.end(); ++member)
            text += std::string(text.empty() ? "" : " ") + member.name() + "=" + describe(*member);
        return "{" + text + "}";
    case ValueType::Alarm:
        return describe(value.get_alarm());
    case ValueType::Message:
        return describe(value.get_message());
    default:
        return value_type_to_string(value.type());
    }
}

std::string describe(const Alarm& alarm) {
    return std::string(alarm.name()) + "@" + alarm.domain() + " id=" + number(alarm.id()) +
           " severity=" + number(alarm.severity()) + " state=" + number(alarm.alarm_state()) +
           " confirmation=" + number(alarm.confirmation_state()) + " raised=" + describe_time(alarm.time_raised()) +
           " cleared=" + describe_time(alarm.time_cleared()) + " confirmed=" + describe_time(alarm.time_confirmed());
}

std::string describe(const Message& message) {
    return std::string(message.name()) + "@" + message.domain() + " severity=" + number(message.severity()) +
           " raised=" + describe_time(message.time_raised());
}

void FakeListener::enter(const char* call, const std::string& about, const char* plan_detail) {
    const std::string line = about.empty() ? call : call + (" " + about);
    call_log().add(line);
    if (probe_) probe_(line);
    plan_.enter(call, true); // as a read, which the plan does not log again
    if (plan_detail) plan_.enter(std::string(call) + " " + plan_detail, true);
}

void FakeListener::log_message(Message message) {
    std::string about = message.name();
    if (number(message.severity()) != "-1") about += " severity=" + number(message.severity());
    const std::string raised = describe_time(message.time_raised());
    if (raised != "@now") about += " raised=" + raised;
    enter("log_message", about + describe_numbered(std::as_const(message).parameters()), message.name());
}

void FakeListener::log_exception(const std::string& target_name, const std::exception& exception) {
    const auto* const failure = dynamic_cast<const ZoAtlCom::CAtlException*>(&exception);
    enter("log_exception",
          target_name + " " +
              (failure ? Algorithm::integer_to_hex(failure->code(), true, true, true) : exception.what()));
}

void FakeListener::log_unknown_exception(const std::string& target_name) {
    enter("log_unknown_exception", target_name);
}

void FakeListener::on_message(Message message) {
    enter("on_message", describe_time(message.time_raised()));
    keep(messages, std::move(message));
}

void FakeListener::on_alarm_raised(const Alarm& alarm) {
    enter("on_alarm_raised", number(alarm.id()) + " " + describe_time(alarm.time_raised()));
    keep(alarms, alarm);
}

void FakeListener::on_alarm_changed(const Alarm& alarm, bool removed) {
    enter("on_alarm_changed", number(alarm.id()) + (removed ? " removed" : " kept"));
    keep(alarms, alarm);
}

void FakeListener::forget_event(const Event& event) {
    enter("forget_event", describe_time(event.time_received()));
    keep(forgotten, event);
}

bool FakeListener::preload_translations() {
    enter("preload_translations");
    return preload;
}

} // namespace fakes
