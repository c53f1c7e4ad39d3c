#pragma once

#include "platform/link/event_record.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

namespace zo_sim {

/// File time: 100 ns since 1601.
using FileTime = std::int64_t;

FileTime file_time_now();

/// Confirmation states on the link.
enum class Confirmation : std::int32_t { none = 0, waits = 2, confirmed = 3, left_without = 4 };

/// One event of the log. `record.active` says whether the alarm is raised now. Its number is in `record.uid` and, for
/// alarms, in `record.handle`.
struct Occurrence {
    std::uint64_t number = 0;
    zo_link::EventRecord record;
    bool listed = false; // among the active alarms
};

enum class ChangeKind : std::uint8_t { message, raised, cleared, confirmed, database };

/// One change. The state file stores changes in their order; then the clients are notified.
struct Change {
    ChangeKind kind = ChangeKind::message;
    Occurrence occurrence;             // not for database
    std::int32_t reason = 0;           // database
    std::vector<std::uint64_t> erased; // database: numbers of the erased events
};

enum class Outcome : std::uint8_t {
    done,
    unknown_alarm,
    already_raised,
    not_raised,
    no_confirmation_needed,
    already_confirmed,
};

/// The logger's log and its active alarms, without files, links or clocks. [one thread at a time]
class EventLog {
public:
    /// If the log has more than `max_size` finished events, the oldest quarter is erased. Requires at least 1.
    explicit EventLog(std::size_t max_size);

    /// Restores the content of a state file. The number of the next occurrence is at least `next_number`.
    void restore(std::vector<Occurrence> occurrences, std::uint64_t next_number);

    /// Sets the record's times, states, number and handle. Times increase strictly: a raised time is `now`, or just
    /// after the latest time of the log.
    Outcome raise(zo_link::EventRecord alarm, FileTime now);
    Outcome clear(std::uint64_t handle, FileTime now);
    Outcome confirm(std::uint64_t handle, FileTime now);
    /// Removes the alarm from the list in any state. Clients see it as cleared.
    Outcome reset(std::uint64_t handle, FileTime now);
    void send(zo_link::EventRecord message, FileTime now);
    /// Erases all events except active alarms.
    void clear_log(std::int32_t reason);

    /// Returns the handle of the active alarm with the class, event id and source of `like`; 0 if there is none.
    std::uint64_t find_active(const zo_link::EventRecord& like) const;

    /// Returns the newest `count` events, oldest first. `active` says whether the alarm is in the list.
    std::vector<zo_link::EventRecord> logged(std::size_t count) const;
    /// Returns the list, lowest handle first. `active` says whether the alarm is raised now.
    std::vector<zo_link::EventRecord> active_alarms() const;

    /// Returns the changes since the last call.
    std::vector<Change> take_changes();

    std::uint64_t next_number() const { return next_number_; }
    std::size_t size() const { return log_.size(); }
    /// Returns every occurrence in the order of the log.
    std::vector<Occurrence> occurrences() const;

private:
    // The raised time comes first, so the log is in order of time.
    using Key = std::pair<FileTime, std::uint64_t>;

    FileTime stamp(FileTime now);
    Occurrence* find(std::uint64_t handle);
    void leave_list(Occurrence& alarm);
    void insert(Occurrence occurrence);
    void note(ChangeKind kind, const Occurrence& occurrence);
    void keep_size();
    void erase_finished(std::size_t count, std::int32_t reason);

    std::size_t max_size_;
    std::uint64_t next_number_ = 1;
    FileTime latest_ = 0;
    std::map<Key, Occurrence> log_;
    std::map<std::uint64_t, Key> active_;
    std::vector<Change> changes_;
};

} // namespace zo_sim
