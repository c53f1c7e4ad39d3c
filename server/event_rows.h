#pragma once

#include "extension/host/event.h"
#include "extension/host/event_payload.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <unordered_map>

namespace server {

/// One event in the server's list.
struct EventRow {
    std::uint64_t number = 0; ///< the server's own; 0 while it has none
    ZoHmiSrv::Event event;
    bool removed = false;     ///< an alarm that its target has dropped: history
    bool listed_only = false; ///< it came from a listing and not from a call
};

/// Returns the event of an alarm or message; its time received is the time raised.
[[nodiscard]] ZoHmiSrv::Event event_of(const ZoHmiSrv::Alarm& alarm);
[[nodiscard]] ZoHmiSrv::Event event_of(const ZoHmiSrv::Message& message);
/// Returns the alarm or message inside an event, or null.
[[nodiscard]] const ZoHmiSrv::Alarm* alarm_of(const ZoHmiSrv::Event& event);
[[nodiscard]] const ZoHmiSrv::Message* message_of(const ZoHmiSrv::Event& event);
/// Returns the parameters of the alarm or message inside, or a Null.
[[nodiscard]] const ZoHmiSrv::Value& parameters_of(const ZoHmiSrv::Event& event);

/// Rows in order, with an index of alarms by id and of other events by time received. [one thread]
class EventRows {
public:
    using Rows = std::list<EventRow>;
    using Position = Rows::iterator;

    [[nodiscard]] Position find_alarm(int id);
    /// Returns the first row of an event other than an alarm that satisfies `condition`.
    template <class Condition>
    [[nodiscard]] Position find_other(const ZoHmiSrv::Event& event, Condition condition) {
        const auto [first, last] = by_time_.equal_range(event.time_received().nanoseconds());
        for (auto it = first; it != last; ++it) {
            if (it->second->event.payload() == event.payload() && condition(*it->second)) return it->second;
        }
        return end();
    }
    /// Returns the row of any event.
    [[nodiscard]] Position find(const ZoHmiSrv::Event& event);

    EventRow& append(EventRow row);
    void erase(Position position);

    [[nodiscard]] Position end() { return rows_.end(); }
    [[nodiscard]] const Rows& all() const { return rows_; }
    [[nodiscard]] Rows& all() { return rows_; }

private:
    Rows rows_;
    std::unordered_map<int, Position> by_id_;
    std::multimap<std::int64_t, Position> by_time_;
};

} // namespace server
