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

/// The server's list of an extension's events: the last listing and the calls since then. [any thread]
///
/// A reset asks the extension for its events. That call may block, so it runs without the lock. A call during that time
/// changes the old list at once. It is recorded and repeated on the new list. The listing may already contain the
/// effect of the call. An alarm has an id, so a repetition does no harm. A message of a call replaces the first equal
/// message that came only from the listing.
class EventList {
public:
    /// Fills a Value with a Vector of Events, as an alarm provider does.
    using Listing = std::function<void(ZoHmiSrv::Value&)>;

    /// The effect of a call on the list.
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

    /// Mode 0 adds the alarm or updates the row with its id. Mode 1 updates that row. Mode 2 updates it and keeps it as
    /// history. Modes 1 and 2 do nothing without a row: an extension forgets an event first and then sends the last
    /// change of it.
    Outcome notify_alarm(std::int32_t mode, const ZoHmiSrv::Alarm& alarm);

    /// Appends a message event. Does not add a message that the extension has just forgotten because its store is full.
    Outcome add_message(const ZoHmiSrv::Message& message);

    /// Removes the row of an event. An alarm is found by its id, any other event by time received and payload.
    Outcome forget(const ZoHmiSrv::Event& event);

    /// Replaces the list by the events of `listing`, which is called on this thread without the lock. Rows of equal
    /// events keep their numbers, others get new ones. If `listing` throws, the list is empty afterwards and the
    /// exception reaches the caller. Returns the number of rows.
    std::size_t reset(const Listing& listing);

    /// Returns copies of all rows: the listed ones in order, then the others in the order of their calls.
    [[nodiscard]] std::vector<EventRow> rows() const;
    /// Returns copies of the first `count` rows for display: active alarms, then the rest, each newest first.
    [[nodiscard]] std::vector<EventRow> top(std::size_t count) const;
    [[nodiscard]] Counts counts() const;
    /// Returns a number that grows with every change of the list.
    [[nodiscard]] std::uint64_t version() const;

private:
    struct Call {
        enum class Kind { alarm, message, forget };
        Kind kind;
        std::int32_t mode = 0;
        ZoHmiSrv::Event event;
        std::uint64_t row = 0; ///< number of its row at the time of the call
        bool absorbed = false; ///< a message whose row came from a listing
    };

    /// A listing in progress.
    struct Start {
        std::size_t first_call; ///< index of the first call after its start
        std::uint64_t next_row; ///< number of the first row after its start
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

    // Forgotten messages that were not in the list: with a full store an extension forgets a message before it sends
    // it.
    std::deque<ZoHmiSrv::Event> forgotten_;
    // Targets that have sent a message since the last reset. A target sends one at a time, so at most its first message
    // can be in the listing already.
    std::set<std::string, std::less<>> settled_;

    std::map<std::uint64_t, Start> listings_; // by ticket
    std::uint64_t last_ticket_ = 0;
    std::uint64_t shown_ticket_ = 0; // of the listing from which the rows came
    std::deque<Call> calls_;         // since the start of the oldest listing in progress
    std::size_t dropped_calls_ = 0;  // index of the first one in calls_
};

} // namespace server
