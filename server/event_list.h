#pragma once

#include "server/event_rows.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace server {

/// The server's list of an extension's events: what it was listed, kept up to date by what it is told since. Knows
/// nothing of the threads that call it nor of how it is shown. [any thread]
///
/// A reset asks the extension for its list, which may block, so the lock is not held meanwhile. What is told during
/// that time changes the old list at once, is noted down, and is done again on the new one. Each such call may have
/// reached the listing already or not: an alarm is known by its id, so doing it twice does no harm; a message that only
/// the listing brought takes the place of the first equal one that is told.
class EventList {
public:
    /// Fills a Value with a Vector of Events, as an alarm provider does.
    using Listing = std::function<void(ZoHmiSrv::Value&)>;

    /// What a call did to the list.
    struct Outcome {
        enum class Done { nothing, added, changed, removed };
        Done done = Done::nothing;
        std::uint64_t row = 0; ///< the row's number; 0 when there is none
    };

    struct Counts {
        std::size_t rows = 0;
        std::size_t alarms = 0;
        std::size_t active_alarms = 0;
        std::size_t messages = 0;
    };

    /// Mode 0 adds the alarm, or updates the row with its id; mode 1 updates that row; mode 2 updates it and keeps it
    /// as history. Modes 1 and 2 of an alarm without a row do nothing: an extension tells first that it forgot an
    /// event, then the last change that made it do so.
    Outcome notify_alarm(std::int32_t mode, const ZoHmiSrv::Alarm& alarm);

    /// Appends a message event. One that was forgotten just before it came, because it found no room, is not added.
    Outcome add_message(const ZoHmiSrv::Message& message);

    /// Removes the row of an event: an alarm is found by its id, anything else by time received, then payload.
    Outcome forget(const ZoHmiSrv::Event& event);

    /// Replaces the list by what `listing` gives; it is called inside, on this thread, without the lock. The row of an
    /// event that stays keeps its number, others get new ones. If `listing` throws, the list is empty afterwards and
    /// the exception goes on to the caller. Returns the number of rows.
    std::size_t reset(const Listing& listing);

    /// Copies of all rows: as they were listed, then as they were told.
    [[nodiscard]] std::vector<EventRow> rows() const;
    /// Copies of the first `count` rows in the order for showing: active alarms, then the rest, each newest first.
    [[nodiscard]] std::vector<EventRow> top(std::size_t count) const;
    [[nodiscard]] Counts counts() const;
    /// Moves with every change of the list.
    [[nodiscard]] std::uint64_t version() const;

private:
    struct Call {
        enum class Kind { alarm, message, forget };
        Kind kind;
        std::int32_t mode = 0;
        ZoHmiSrv::Event event;
        std::uint64_t row = 0; ///< number of the row that it concerned when it was told
        bool absorbed = false; ///< a message whose row a listing had brought before
    };

    /// A listing under way.
    struct Start {
        std::size_t first_call; ///< calls from here on came after its start
        std::uint64_t next_row; ///< rows from this number on, too
    };

    Outcome take(Call call);
    Outcome apply(EventRows& rows, Call& call);
    bool was_forgotten(const ZoHmiSrv::Event& event);
    std::uint64_t begin_listing();
    std::size_t finish_listing(std::uint64_t ticket, ZoHmiSrv::Value listed);
    EventRows adopt(ZoHmiSrv::Value listed, std::uint64_t next_row);
    void drop_old_calls();

    mutable std::mutex mutex_;
    EventRows rows_;
    std::uint64_t version_ = 0;
    std::uint64_t next_row_ = 1;

    // Events other than alarms that were forgotten without being there: a message that finds no room in the extension's
    // store is forgotten first and told after.
    std::deque<ZoHmiSrv::Event> forgotten_;
    // Targets that told of a message since the last reset. A target tells one by one, so at most its first message can
    // have been in the listing already.
    std::set<std::string, std::less<>> settled_;

    std::map<std::uint64_t, Start> listings_; // by ticket
    std::uint64_t last_ticket_ = 0;
    std::uint64_t shown_ticket_ = 0; // the listing that the rows come from
    std::deque<Call> calls_;         // told while a listing is under way
    std::size_t dropped_calls_ = 0;  // number of the first one in calls_
};

} // namespace server
