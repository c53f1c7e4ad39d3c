#include "server/event_rows.h"

namespace server {

using ZoHmiSrv::Event;
using ZoHmiSrv::ValueType;

namespace {

template <class Payload>
Event envelope(const Payload& payload) {
    Event event;
    event.set_name(payload.name());
    event.set_domain(payload.domain());
    event.set_time_received(payload.time_raised());
    event.payload().set(payload);
    return event;
}

} // namespace

Event event_of(const ZoHmiSrv::Alarm& alarm) {
    return envelope(alarm);
}

Event event_of(const ZoHmiSrv::Message& message) {
    return envelope(message);
}

const ZoHmiSrv::Alarm* alarm_of(const Event& event) {
    return event.payload().type() == ValueType::Alarm ? &event.payload().get_alarm() : nullptr;
}

const ZoHmiSrv::Message* message_of(const Event& event) {
    return event.payload().type() == ValueType::Message ? &event.payload().get_message() : nullptr;
}

const ZoHmiSrv::Value& parameters_of(const Event& event) {
    static const ZoHmiSrv::Value none;
    if (const auto* alarm = alarm_of(event)) return alarm->parameters();
    if (const auto* message = message_of(event)) return message->parameters();
    return none;
}

EventRows::Position EventRows::find_alarm(int id) {
    const auto found = by_id_.find(id);
    return found == by_id_.end() ? rows_.end() : found->second;
}

EventRows::Position EventRows::find(const Event& event) {
    if (const auto* alarm = alarm_of(event)) return find_alarm(alarm->id());
    return find_other(event, [](const EventRow&) { return true; });
}

EventRow& EventRows::append(EventRow row) {
    const Position position = rows_.insert(rows_.end(), std::move(row));
    if (const auto* alarm = alarm_of(position->event)) {
        by_id_.emplace(alarm->id(), position);
    } else {
        by_time_.emplace(position->event.time_received().nanoseconds(), position);
    }
    return *position;
}

void EventRows::erase(Position position) {
    if (const auto* alarm = alarm_of(position->event)) {
        // If a listing has an id twice, the index has only the first row.
        const auto found = by_id_.find(alarm->id());
        if (found != by_id_.end() && found->second == position) by_id_.erase(found);
    } else {
        const auto [first, last] = by_time_.equal_range(position->event.time_received().nanoseconds());
        for (auto it = first; it != last; ++it) {
            if (it->second != position) continue;
            by_time_.erase(it);
            break;
        }
    }
    rows_.erase(position);
}

} // namespace server
