#pragma once

#include "extension/host/event.h"
#include "extension/host/event_payload.h"
#include "extension/host/value.h"
#include "targets/limited_event_container.h"
#include "tests/test_headers.h"

// The store as plain walks over buckets: what every operation of the product's store, however it is built, has to equal
// to the last callback.
class ReferenceContainer {
public:
    using IZoAlarm = ZoEventLoggerFdxProxyLib::IZoAlarm;
    using Event = ZoHmiSrv::Event;
    using ValueType = ZoHmiSrv::ValueType;
    struct Entry {
        ZoAtlCom::CComPtr<IZoAlarm> pointer;
        Event event;
        std::optional<std::uint32_t> id; // the logger's, when it was added
    };
    struct Position {
        long key;
        std::size_t index;
    };

    std::map<long, std::vector<Entry>> buckets;
    ZoHmiEventLogger::EventStore::Counters counters;
    std::function<void(long, const Event&)> removal_callback;
    bool notify = true;

    void add(Event& event, IZoAlarm* pointer, unsigned limit, long key, bool use_key) {
        if (!use_key) key = event.time_received().nanoseconds();
        const auto id = pointer ? ZoHmiEventLogger::unique_id_of(*pointer) : std::nullopt;
        auto& bucket = buckets[key];
        Entry& entry = bucket.emplace_back();
        entry.pointer = pointer;
        entry.id = id;
        entry.event.swap(event);
        ++counters.imported_events;
        ++(pointer ? counters.active_alarms : counters.not_live);
        if (is(entry, ValueType::Message)) {
            ++counters.cached_messages;
            ++counters.imported_messages;
        } else if (is(entry, ValueType::Alarm)) {
            ++counters.cached_alarms;
            if (invalid(entry)) {
                ++counters.cached_invalid_alarms;
                ++counters.imported_invalid_alarms;
            }
        }
        prune(limit);
    }

    void prune(unsigned limit) {
        if (buckets.empty()) return;
        std::uint64_t running = 0;
        auto bucket = std::prev(buckets.end());
        while (running + bucket->second.size() < limit) {
            running += bucket->second.size();
            if (bucket == buckets.begin()) return;
            --bucket;
        }
        for (std::size_t start = limit - running;; start = 0) {
            std::vector<Entry>& entries = bucket->second;
            for (std::size_t index = start; index < entries.size();) {
                if (entries[index].pointer) {
                    ++index;
                    continue;
                }
                --counters.not_live;
                if (is(entries[index], ValueType::Message)) --counters.cached_messages;
                if (is(entries[index], ValueType::Alarm)) {
                    --counters.cached_alarms;
                    if (invalid(entries[index])) --counters.cached_invalid_alarms;
                }
                Event evicted;
                evicted.swap(entries[index].event);
                erase(entries, index);
                if (notify) removal_callback(bucket->first, evicted);
            }
            const bool oldest = bucket == buckets.begin();
            const auto older = oldest ? bucket : std::prev(bucket);
            if (entries.empty()) buckets.erase(bucket);
            if (oldest) return;
            bucket = older;
        }
    }

    std::optional<Position> find_alarm(const ZoHmiEventLogger::AlarmKey& key) {
        const auto bucket = buckets.find(key.raised);
        if (bucket == buckets.end()) return {};
        for (std::size_t index = 0; index < bucket->second.size(); ++index) {
            const Entry& entry = bucket->second[index];
            if (!entry.pointer || entry.id != key.id) continue;
            if (ZoHmiEventLogger::AlarmKey::of(*entry.pointer) == key) return Position{bucket->first, index};
        }
        return {};
    }

    // The first entry, in order, of which the condition holds.
    std::optional<Position> find_if(const std::function<bool(const Entry&)>& condition) const {
        for (const auto& [key, entries] : buckets)
            for (std::size_t index = 0; index < entries.size(); ++index)
                if (condition(entries[index])) return Position{key, index};
        return {};
    }

    IZoAlarm* find_alarm_by_id(int id) const {
        const auto found = find_if([id](const Entry& entry) {
            return entry.pointer && is(entry, ValueType::Alarm) && entry.event.payload().get_alarm().id() == id;
        });
        return found ? buckets.at(found->key)[found->index].pointer.get() : nullptr;
    }

    Entry& at(const Position& position) { return buckets.at(position.key)[position.index]; }

    void erase_alarm(const Position& position) {
        if (!at(position).pointer || !is(at(position), ValueType::Alarm)) return;
        --counters.active_alarms;
        --counters.cached_alarms;
        erase(buckets.at(position.key), position.index);
        if (buckets.at(position.key).empty()) buckets.erase(position.key);
    }

    void release_alarm(const Position& position, unsigned limit) {
        at(position).pointer = nullptr;
        --counters.active_alarms;
        ++counters.not_live;
        prune(limit);
    }

    std::vector<const Event*> list() {
        counters.imported_events = counters.active_alarms + counters.not_live;
        counters.imported_messages = counters.cached_messages;
        counters.imported_invalid_alarms = counters.cached_invalid_alarms;
        std::vector<const Event*> events;
        for (const auto& [key, entries] : buckets)
            for (const Entry& entry : entries)
                events.push_back(&entry.event);
        return events;
    }

    void clear() {
        buckets.clear();
        counters = {};
    }

private:
    static bool is(const Entry& entry, ValueType type) { return entry.event.payload().type() == type; }
    static bool invalid(const Entry& entry) {
        return entry.event.payload().get_alarm().alarm_state() == ZoHmiSrv::AlarmState::Invalid;
    }
    static void erase(std::vector<Entry>& entries, std::size_t index) {
        entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(index));
    }
};
