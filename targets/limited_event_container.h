#pragma once

#include "extension/host/event.h"
#include "targets/event_key.h"
#include "targets/scoped_event_pointer.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <utility>

namespace ZoHmiSrv {

/// The bounded store of one target's events, ordered by the time they were received.
///
/// An entry is live while it holds an alarm of the proxy, that is while the alarm is active on the target. Eviction
/// ranks the entries: newest time first, but entries of one time in the order in which they were added. What ranks
/// behind the limit goes, unless it is live: live entries are never evicted and can so exceed the limit, although they
/// take their places in the ranking.
///
/// It has no lock of its own [event mutex held]. Adding, finding by pointer or id and evicting take logarithmic time.
template <class Pointer, class Proxy, class RawPointer>
class LimitedEventContainer {
    struct Rank {
        std::int64_t key;       // nanoseconds since 1970
        std::uint64_t sequence; // order of adding

        friend bool operator<(const Rank& a, const Rank& b) {
            return a.key != b.key ? a.key > b.key : a.sequence < b.sequence;
        }
    };
    struct Entry {
        Pointer pointer; // empty unless the entry is live
        Event event;
    };
    using Entries = std::map<Rank, Entry>;
    using Iterator = typename Entries::iterator;

public:
    /// The cached numbers tell what is held, the imported ones what came in since the last listing on top of what that
    /// listing held. Invalid alarms are those of alarm state 4.
    struct Counters {
        std::uint64_t cached_messages = 0;
        std::uint64_t cached_alarms = 0;
        std::uint64_t cached_invalid_alarms = 0;
        std::uint64_t not_live = 0;
        std::uint64_t active_alarms = 0;
        std::uint64_t imported_events = 0;
        std::uint64_t imported_messages = 0;
        std::uint64_t imported_invalid_alarms = 0;

        friend bool operator==(const Counters&, const Counters&) = default;
    };

    /// Where an entry stands; valid until that entry is erased or evicted.
    class Position {
    public:
        Position() = default;
        explicit operator bool() const { return found_; }
        /// The stored event, to be changed in place; the time received must stay.
        Event& event() const { return entry_->second.event; }
        RawPointer pointer() const { return entry_->second.pointer.get(); }

    private:
        friend class LimitedEventContainer;
        explicit Position(Iterator entry) : entry_(entry), found_(true) {}
        Iterator entry_;
        bool found_ = false;
    };

    /// Called for each evicted event with its key; not to use the container.
    using RemovalCallback = std::function<void(long key, const Event& event)>;

    LimitedEventContainer();
    LimitedEventContainer(const LimitedEventContainer&) = delete;
    LimitedEventContainer& operator=(const LimitedEventContainer&) = delete;

    void set_removal_callback(RemovalCallback callback) { removal_callback_ = std::move(callback); }
    /// With false evictions call nothing.
    void set_notify(bool notify) { notify_on_removal_ = notify; }

    /// Takes the event by swap and evicts what no longer fits. The key is `key` if `use_key` is set, else the event's
    /// time received. With `has_pointer` the entry holds `pointer`, which may be null; the proxy is asked for its key
    /// then, and CAtlException thrown when that fails, with nothing added.
    void add(Event& event, Proxy* pointer, bool has_pointer, unsigned limit, long key, bool use_key);
    /// Adds a copy of a message as an event of its own.
    void add_message(const Message& message, unsigned limit, long key, bool use_key);

    /// The live entry with an equal key. Asks the proxy for each live entry of the key's time in turn and throws what
    /// that throws; so an alarm is found only while its raised time is unchanged.
    Position find_alarm(const ZoHmiEventLogger::AlarmKey& key);
    /// The first live entry (oldest time first) that holds this very object.
    Position find_pointer(RawPointer pointer);
    /// The object of the first live entry whose alarm has this id, or null.
    RawPointer find_alarm_by_id(int id) const;

    /// Removes a live alarm and adds the event in its place, which holds `pointer`. When the proxy fails or memory
    /// lacks, all is as it was.
    void replace_alarm(Position position, Event& event, Proxy* pointer, unsigned limit);
    /// Removes a live alarm without calling back; does nothing for any other entry.
    void erase_alarm(Position position);
    /// Lets go of the live alarm, which stays as history if it ranks within the limit.
    void release_alarm(Position position, unsigned limit);
    /// Evicts what does not fit.
    void prune(unsigned limit);

    /// Makes `out` a Vector (keeping what it holds if it is one), appends a copy of each event, oldest time first, and
    /// sets the imported counters to what was listed.
    void list(Value& out);
    void clear();

    /// Visits the live entries, oldest time first.
    void for_each_live(const std::function<void(const Event& event, RawPointer pointer)>& visit) const;

    const Counters& counters() const { return counters_; }

private:
    // Live entries by object and by alarm id. Of equal ones the first in the order of listing comes first.
    struct Listing {
        std::int64_t key;
        std::uint64_t sequence;
        auto operator<=>(const Listing&) const = default;
    };

    template <class Visit>
    void for_each_in_order(Visit&& visit) const;
    Iterator insert(Event& event, Pointer held, std::int64_t key); // evicts nothing yet
    void index(Iterator entry);
    void unindex(Iterator entry);
    void remove(Iterator entry);
    void note_added(Iterator entry, std::uint64_t entries_before);
    void evict(Iterator entry);
    void evict_behind(unsigned limit, Iterator suspect);

    Entries entries_;
    std::uint64_t next_sequence_ = 0;
    std::map<std::pair<RawPointer, Listing>, Iterator> by_pointer_;
    std::map<std::pair<int, Listing>, Iterator> by_id_;

    // The first entry that ranks behind the limit. Everything from there on is live; empty where the last eviction was
    // cut short by an exception, so that the next one sweeps again.
    std::optional<std::uint64_t> limit_;
    Iterator boundary_;

    Counters counters_;
    RemovalCallback removal_callback_;
    bool notify_on_removal_ = true;
};

extern template class LimitedEventContainer<ZoHmiEventLogger::ScopedEventPointer<ZoEventLoggerFdxProxyLib::IZoAlarm>,
                                            ZoEventLoggerFdxProxyLib::IZoAlarm, ZoEventLoggerFdxProxyLib::IZoAlarm*>;

} // namespace ZoHmiSrv

namespace ZoHmiEventLogger {

using EventStore =
    ZoHmiSrv::LimitedEventContainer<ScopedEventPointer<ZoEventLoggerFdxProxyLib::IZoAlarm>,
                                    ZoEventLoggerFdxProxyLib::IZoAlarm, ZoEventLoggerFdxProxyLib::IZoAlarm*>;

} // namespace ZoHmiEventLogger
