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
    bool removed = false;     ///< an alarm that its target no longer lists: history
    bool listed_only = false; ///< a listing brought it, no call has told of it
};

/// The event that an extension means when it tells of an alarm or message alone: the time received is its time raised.
[[nodiscard]] ZoHmiSrv::Event event_of(const ZoHmiSrv::Alarm& alarm);
[[nodiscard]] ZoHmiSrv::Event event_of(const ZoHmiSrv::Message& message);
/// The alarm or message inside an event, or null.
[[nodiscard]] const ZoHmiSrv::Alarm* alarm_of(const ZoHmiSrv::Event& event);
[[nodiscard]] const ZoHmiSrv::Message* message_of(const ZoHmiSrv::Event& event);
/// The parameters of the alarm or message inside, or a Null.
[[nodiscard]] const ZoHmiSrv::Value& parameters_of(const ZoHmiSrv::Event& event);

/// Rows in order, found by what identifies their events: an alarm by its id, anything else by time received, then
/// payload. No lock of its own.
class EventRows {
public:
    using Rows = std::list<EventRow>;
    using Position = Rows::iterator;

    [[nodiscard]] Position find_alarm(int id);
    /// The first row of an event that is no alarm and fulfils `condition`.
    template <class Condition>
    [[nodiscard]] Position find_other(const ZoHmiSrv::Event& event, Condition condition) {
        const auto [first, last] = by_time_.equal_range(event.time_received().nanoseconds());
        for (auto it = first; it != last; ++it) {
            if (it->second->event.payload() == event.payload() && condition(*it->second)) return it->second;
        }
        return end();
    }
    /// The row of an event, whatever it is.
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
