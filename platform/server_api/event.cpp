#include "extension/host/event.h"

#include <utility>

namespace ZoHmiSrv {

Event::Event() noexcept = default;
Event::Event(const Event& other) = default;
Event::Event(Event&& other) noexcept = default;
Event::~Event() = default;

Event& Event::operator=(const Event& other) {
    Event copied(other); // the other may be a part of this payload
    swap(copied);
    return *this;
}

Event& Event::operator=(Event&& other) noexcept {
    Event taken(std::move(other));
    swap(taken);
    return *this;
}

void Event::swap(Event& other) noexcept {
    std::swap(name_, other.name_);
    std::swap(domain_, other.domain_);
    std::swap(session_, other.session_);
    std::swap(time_received_, other.time_received_);
    payload_.swap(other.payload_);
}

void Event::set_name(const char* name) {
    name_.set_name(name);
}

void Event::set_domain(const char* domain) {
    domain_.set_name(domain);
}

void Event::set_session(const Session& session) {
    session_ = session;
}

} // namespace ZoHmiSrv
