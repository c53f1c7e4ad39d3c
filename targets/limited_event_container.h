#pragma once

#include "extension/host/event.h"
#include "targets/event_key.h"
#include "targets/scoped_event_pointer.h"

#include <compare>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <utility>

namespace ZoHmiSrv {

/// The bounded store of one target's events, ordered by the time they were received. Defined for alarms of the proxy
/// only.
///
/// An entry is live while it references an alarm of the proxy: as long as the alarm is active on the target. Entries
/// are ranked: newest time first, entries of one time in the order of adding. Entries that rank behind the limit are
/// evicted unless they are live. Live entries take places in the ranking and can exceed the limit.
///
/// It has no lock of its own [event mutex held]. Adding, finding and evicting take logarithmic time.
template <class Pointer, class Proxy, class RawPointer>
class LimitedEventContainer;

template <>
class LimitedEventContainer<ZoHmiEventLogger::ScopedEventPointer<ZoEventLoggerFdxProxyLib::IZoAlarm>,
                            ZoEventLoggerFdxProxyLib::IZoAlarm, ZoEventLoggerFdxProxyLib::IZoAlarm*> {
    using IZoAlarm = ZoEventLoggerFdxProxyLib::IZoAlarm;
    using Pointer = ZoHmiEventLogger::ScopedEventPointer<IZoAlarm>;

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
    using Iterator = Entries::iterator;

public:
    /// The cached numbers count the stored events. The imported ones count those of the last listing and all that were
    /// added since. Invalid alarms are those of alarm state 4.
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

    /// The place of an entry; valid until that entry is erased or evicted.
    class Position {
    public:
        Position() = default;
        explicit operator bool() const { return found_; }
        /// The stored event, which may be changed in place except for the time received.
        Event& event() const { return entry_->second.event; }
        IZoAlarm* pointer() const { return entry_->second.pointer.get(); }

    private:
        friend class LimitedEventContainer;
        explicit Position(Iterator entry) : entry_(entry), found_(true) {}
        Iterator entry_;
        bool found_ = false;
    };

    /// Called for each evicted event with its key. Must not use the container.
    using RemovalCallback = std::function<void(long key, const Event& event)>;

    LimitedEventContainer();
    LimitedEventContainer(const LimitedEventContainer&) = delete;
    LimitedEventContainer& operator=(const LimitedEventContainer&) = delete;

    void set_removal_callback(RemovalCallback callback) { removal_callback_ = std::move(callback); }
    /// If `notify` is false, evictions do not call the callback.
    void set_notify(bool notify) { notify_on_removal_ = notify; }

    /// Takes the event by swap. Evicts the entries that no longer fit. The key is `key` if `use_key` is set, else the
    /// event's time received. With `has_pointer` the entry references `pointer`, which may be null. Asks the proxy for
    /// the pointer's key. Throws CAtlException when that fails; nothing is added then.
    void add(Event& event, IZoAlarm* pointer, bool has_pointer, unsigned limit, long key, bool use_key);
    /// Adds a copy of a message as an event of its own.
    void add_message(const Message& message, unsigned limit, long key, bool use_key);

    /// The first live entry with an equal key. Asks the alarms of the entries that have the key's time and had its id
    /// when they were added. Asks in the order of adding; exceptions pass through. An alarm whose raised time or id has
    /// changed since is not found.
    Position find_alarm(const ZoHmiEventLogger::AlarmKey& key);
    /// The first live entry (oldest time first) that references this very object.
    Position find_pointer(IZoAlarm* pointer);
    /// The object of the first live entry whose alarm has this id, or null.
    IZoAlarm* find_alarm_by_id(int id) const;

    /// Removes a live alarm and adds the event in its place, with `pointer` as its alarm. Strong guarantee: if the
    /// proxy call fails or memory runs out, nothing changes.
    void replace_alarm(Position position, Event& event, IZoAlarm* pointer, unsigned limit);
    /// Removes a live alarm without calling back; does nothing for any other entry.
    void erase_alarm(Position position);
    /// Releases the object of a live alarm, which stays as history if it ranks within the limit.
    void release_alarm(Position position, unsigned limit);
    /// Evicts the entries that do not fit.
    void prune(unsigned limit);

    /// Makes `out` a Vector; a Vector keeps its elements. Appends a copy of each event, oldest time first. Sets the
    /// imported counters to the listed numbers.
    void list(Value& out);
    void clear();

    /// Visits the live entries, oldest time first.
    void for_each_live(const std::function<void(const Event& event, IZoAlarm* pointer)>& visit) const;

    const Counters& counters() const { return counters_; }

private:
    // Keys of the indexes of live entries. Of equal ones the first in the order of listing comes first.
    struct Listing {
        std::int64_t key;
        std::uint64_t sequence;
        auto operator<=>(const Listing&) const = default;
    };
    struct Identity {
        std::int64_t key;
        std::optional<std::uint32_t> id; // the logger's, as it was when the entry was added
        std::uint64_t sequence;
        auto operator<=>(const Identity&) const = default;
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
    std::map<std::pair<IZoAlarm*, Listing>, Iterator> by_pointer_;
    std::map<std::pair<int, Listing>, Iterator> by_id_;
    // This index omits an alarm that was the first entry of its time when it was added: the ranking finds it.
    std::map<Identity, Iterator> by_identity_;

    // The first entry that ranks behind the limit. All entries from there on are live. The limit is empty after an
    // exception ended an eviction, so that the next eviction sweeps again.
    std::optional<std::uint64_t> limit_;
    Iterator boundary_;

    Counters counters_;
    RemovalCallback removal_callback_;
    bool notify_on_removal_ = true;
};

} // namespace ZoHmiSrv

namespace ZoHmiEventLogger {

using EventStore =
    ZoHmiSrv::LimitedEventContainer<ScopedEventPointer<ZoEventLoggerFdxProxyLib::IZoAlarm>,
                                    ZoEventLoggerFdxProxyLib::IZoAlarm, ZoEventLoggerFdxProxyLib::IZoAlarm*>;

} // namespace ZoHmiEventLogger
