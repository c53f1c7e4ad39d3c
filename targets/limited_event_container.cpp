#include "targets/limited_event_container.h"

#include "extension/host/event_payload.h"
#include "extension/host/value.h"

#include <iterator>
#include <limits>
#include <utility>

namespace ZoHmiSrv {

using ZoEventLoggerFdxProxyLib::IZoAlarm;

namespace {

using Store = ZoHmiEventLogger::EventStore;

constexpr AlarmState invalid_alarm{4};

bool is_message(const Event& event) {
    return event.payload().type() == ValueType::Message;
}

bool is_alarm(const Event& event) {
    return event.payload().type() == ValueType::Alarm;
}

bool is_invalid_alarm(const Event& event) {
    return is_alarm(event) && event.payload().get_alarm().alarm_state() == invalid_alarm;
}

} // namespace

Store::LimitedEventContainer() : boundary_(entries_.end()), removal_callback_([](long, const Event&) {}) {
}

void Store::add(Event& event, IZoAlarm* pointer, bool has_pointer, unsigned limit, long key, bool use_key) {
    if (!use_key) key = event.time_received().nanoseconds();
    const Iterator added = insert(event, has_pointer ? Pointer(pointer) : Pointer(), key);
    evict_behind(limit, added);
}

void Store::replace_alarm(Position position, Event& event, IZoAlarm* pointer, unsigned limit) {
    // In this order a failure loses nothing. Meanwhile the store has one entry too many; no caller sees it.
    const Iterator added = insert(event, Pointer(pointer), event.time_received().nanoseconds());
    erase_alarm(position);
    evict_behind(limit, added);
}

Store::Iterator Store::insert(Event& event, Pointer held, std::int64_t key) {
    const auto entries_before = entries_.size();
    // Times usually ascend, and the newest entry is the first one.
    const Iterator entry =
        entries_.emplace_hint(entries_.begin(), Rank{key, next_sequence_}, Entry{std::move(held), Event()});
    ++next_sequence_;
    entry->second.event.swap(event);
    const bool live = static_cast<bool>(entry->second.pointer);
    if (live) {
        try {
            index(entry);
        } catch (...) {
            entry->second.event.swap(event);
            entries_.erase(entry);
            throw;
        }
    }

    ++counters_.imported_events;
    ++(live ? counters_.active_alarms : counters_.not_live);
    if (is_message(entry->second.event)) {
        ++counters_.cached_messages;
        ++counters_.imported_messages;
    } else if (is_alarm(entry->second.event)) {
        ++counters_.cached_alarms;
        if (is_invalid_alarm(entry->second.event)) {
            ++counters_.cached_invalid_alarms;
            ++counters_.imported_invalid_alarms;
        }
    }
    note_added(entry, entries_before);
    return entry;
}

void Store::add_message(const Message& message, unsigned limit, long key, bool use_key) {
    Event event;
    event.payload().set(message);
    event.set_domain(message.domain());
    event.set_name(message.name());
    event.set_time_received(message.time_raised());
    add(event, nullptr, false, limit, key, use_key);
}

Store::Position Store::find_alarm(const ZoHmiEventLogger::AlarmKey& key) {
    const auto answers = [&key](const Entry& entry) {
        return entry.pointer && entry.pointer.key().id() == key.id &&
               ZoHmiEventLogger::AlarmKey::of(*entry.pointer.get()) == key;
    };
    const Iterator first = entries_.lower_bound(Rank{key.raised, 0});
    if (first == entries_.end() || first->first.key != key.raised) return {};
    if (answers(first->second)) return Position(first);
    for (auto found = by_identity_.lower_bound({key.raised, key.id, 0});
         found != by_identity_.end() && found->first.key == key.raised && found->first.id == key.id; ++found)
        if (found->second != first && answers(found->second->second)) return Position(found->second);
    return {};
}

Store::Position Store::find_pointer(IZoAlarm* pointer) {
    const auto found = by_pointer_.lower_bound({pointer, Listing{std::numeric_limits<std::int64_t>::min(), 0}});
    return found != by_pointer_.end() && found->first.first == pointer ? Position(found->second) : Position();
}

IZoAlarm* Store::find_alarm_by_id(int id) const {
    const auto found = by_id_.lower_bound({id, Listing{std::numeric_limits<std::int64_t>::min(), 0}});
    return found != by_id_.end() && found->first.first == id ? found->second->second.pointer.get() : nullptr;
}

void Store::erase_alarm(Position position) {
    if (!position || !position.pointer() || !is_alarm(position.event())) return;
    --counters_.active_alarms;
    --counters_.cached_alarms; // the number of invalid alarms is unchanged
    unindex(position.entry_);
    remove(position.entry_);
}

void Store::release_alarm(Position position, unsigned limit) {
    if (!position || !position.pointer()) return;
    unindex(position.entry_);
    position.entry_->second.pointer.reset();
    --counters_.active_alarms;
    ++counters_.not_live;
    evict_behind(limit, position.entry_);
}

void Store::prune(unsigned limit) {
    evict_behind(limit, entries_.end());
}

void Store::list(Value& out) {
    counters_.imported_events = counters_.active_alarms + counters_.not_live;
    counters_.imported_messages = counters_.cached_messages;
    counters_.imported_invalid_alarms = counters_.cached_invalid_alarms;
    out.set_type(ValueType::Vector);
    out.reserve(out.size() + entries_.size());
    for_each_in_order([&](const Entry& entry) { out << Value(entry.event); });
}

void Store::clear() {
    by_pointer_.clear();
    by_identity_.clear();
    by_id_.clear();
    entries_.clear();
    boundary_ = entries_.end();
    counters_ = Counters();
}

void Store::for_each_live(const std::function<void(const Event&, IZoAlarm*)>& visit) const {
    for_each_in_order([&](const Entry& entry) {
        if (entry.pointer) visit(entry.event, entry.pointer.get());
    });
}

template <class Visit>
void Store::for_each_in_order(Visit&& visit) const {
    // The ranking goes from the newest time to the oldest, the listing from the oldest to the newest. Within one time
    // both go forward.
    auto end = entries_.end();
    while (end != entries_.begin()) {
        auto first = std::prev(end);
        while (first != entries_.begin() && std::prev(first)->first.key == first->first.key)
            --first;
        for (auto entry = first; entry != end; ++entry)
            visit(entry->second);
        end = first;
    }
}

void Store::index(Iterator entry) {
    const auto& [rank, stored] = *entry;
    const Listing listing{rank.key, rank.sequence};
    const bool is_first = entry == entries_.begin() || std::prev(entry)->first.key != rank.key;
    try {
        by_pointer_.emplace(std::pair{stored.pointer.get(), listing}, entry);
        // Ids usually ascend.
        if (is_alarm(stored.event))
            by_id_.emplace_hint(by_id_.end(), std::pair{stored.event.payload().get_alarm().id(), listing}, entry);
        if (!is_first)
            by_identity_.emplace_hint(by_identity_.end(), Identity{rank.key, stored.pointer.key().id(), rank.sequence},
                                      entry);
    } catch (...) {
        unindex(entry);
        throw;
    }
}

void Store::unindex(Iterator entry) {
    const auto& [rank, stored] = *entry;
    const Listing listing{rank.key, rank.sequence};
    by_pointer_.erase({stored.pointer.get(), listing});
    by_identity_.erase({rank.key, stored.pointer.key().id(), rank.sequence});
    if (is_alarm(stored.event)) by_id_.erase({stored.event.payload().get_alarm().id(), listing});
}

// Removes an entry from the ranking; the entries behind it move up by one.
void Store::remove(Iterator entry) {
    if (limit_ && boundary_ != entries_.end() && !(boundary_->first < entry->first)) ++boundary_;
    entries_.erase(entry);
}

void Store::note_added(Iterator entry, std::uint64_t entries_before) {
    if (!limit_ || entries_before < *limit_) return; // nothing ranks behind the limit yet
    // Only an entry in front of the boundary moves the boundary: the last entry in front of it is now behind the limit.
    if (boundary_ == entries_.end() || entry->first < boundary_->first) --boundary_;
}

void Store::evict(Iterator entry) {
    Event evicted;
    --counters_.not_live;
    if (is_message(entry->second.event)) {
        --counters_.cached_messages;
    } else if (is_alarm(entry->second.event)) {
        --counters_.cached_alarms;
        if (is_invalid_alarm(entry->second.event)) --counters_.cached_invalid_alarms;
    }
    evicted.swap(entry->second.event);
    const auto key = entry->first.key;
    remove(entry);
    if (notify_on_removal_) removal_callback_(key, evicted);
}

// With an unchanged limit at most one entry is evicted: the one that was pushed behind the limit, or the suspect. The
// suspect was just added behind the limit, or released there. All other entries behind the limit are live.
void Store::evict_behind(unsigned limit, Iterator suspect) {
    if (limit_ != limit) {
        const auto behind_limit = [&] {
            return entries_.size() > limit ? std::next(entries_.begin(), limit) : entries_.end();
        };
        limit_.reset();
        for (Iterator entry = behind_limit(); entry != entries_.end();) {
            const Iterator current = entry++;
            if (!current->second.pointer) evict(current);
        }
        boundary_ = behind_limit();
        limit_ = limit;
        return;
    }
    if (boundary_ == entries_.end()) return;
    if (!boundary_->second.pointer) {
        evict(boundary_);
    } else if (suspect != entries_.end() && boundary_->first < suspect->first && !suspect->second.pointer) {
        evict(suspect);
    }
}

} // namespace ZoHmiSrv
