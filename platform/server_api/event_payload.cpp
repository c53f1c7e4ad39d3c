#include "extension/host/event_payload.h"

#include <utility>

namespace ZoHmiSrv {

EventPayload::~EventPayload() = default;

Message::Message() {
    parameters_.set_type(ValueType::Map);
}
Message::Message(const Message& other) = default;
Message::Message(Message&& other) noexcept = default;
Message::~Message() = default;

Message& Message::operator=(const Message& other) {
    Message copied(other); // the other may be a part of these parameters
    swap(copied);
    return *this;
}

Message& Message::operator=(Message&& other) noexcept {
    Message taken(std::move(other));
    swap(taken);
    return *this;
}

void Message::swap(Message& other) noexcept {
    std::swap(name_, other.name_);
    std::swap(domain_, other.domain_);
    std::swap(severity_, other.severity_);
    std::swap(time_raised_, other.time_raised_);
    parameters_.swap(other.parameters_);
}

void Message::set_name(const char* name) {
    name_.set_name(name);
}
const char* Message::name() const noexcept {
    return name_.name();
}
const char* Message::domain() const noexcept {
    return domain_.name();
}
void Message::set_domain(const char* domain) {
    domain_.set_name(domain);
}
Value& Message::parameters() {
    return parameters_;
}
ValueType Message::type() const noexcept {
    return ValueType::Message;
}

Alarm::Alarm() {
    parameters_.set_type(ValueType::Map);
}
Alarm::Alarm(const Alarm& other) = default;
Alarm::Alarm(Alarm&& other) noexcept = default;
Alarm::~Alarm() = default;

Alarm& Alarm::operator=(const Alarm& other) {
    Alarm copied(other); // the other may be a part of these parameters
    swap(copied);
    return *this;
}

Alarm& Alarm::operator=(Alarm&& other) noexcept {
    Alarm taken(std::move(other));
    swap(taken);
    return *this;
}

void Alarm::swap(Alarm& other) noexcept {
    std::swap(name_, other.name_);
    std::swap(domain_, other.domain_);
    std::swap(id_, other.id_);
    std::swap(severity_, other.severity_);
    std::swap(alarm_state_, other.alarm_state_);
    std::swap(confirmation_state_, other.confirmation_state_);
    std::swap(time_raised_, other.time_raised_);
    std::swap(time_cleared_, other.time_cleared_);
    std::swap(time_confirmed_, other.time_confirmed_);
    parameters_.swap(other.parameters_);
}

void Alarm::set_name(const char* name) {
    name_.set_name(name);
}
const char* Alarm::name() const noexcept {
    return name_.name();
}
const char* Alarm::domain() const noexcept {
    return domain_.name();
}
void Alarm::set_domain(const char* domain) {
    domain_.set_name(domain);
}
Value& Alarm::parameters() {
    return parameters_;
}
ValueType Alarm::type() const noexcept {
    return ValueType::Alarm;
}

} // namespace ZoHmiSrv
