// The members of a Map or Struct: one sorted run, or a chain of runs with an index for more than `run_limit` members.
#include "platform/server_api/value_access.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

namespace ZoHmiSrv {

using Layout::MemberName;
using Layout::MemberNames;
using Layout::run_limit;

namespace {

constexpr std::size_t first_capacity = 4;

/// Grows by a half: most copies get few new members.
std::size_t grown(std::size_t capacity) noexcept {
    return std::min(run_limit, capacity + std::max(first_capacity, capacity / 2));
}

/// The place of a name in a run, or for a new name.
std::size_t lower_bound(Block* run, const NameKey& key) noexcept {
    const MapMember* members = members_of(run);
    const MapMember* at = std::partition_point(members, members + run->size, [&](const MapMember& member) {
        return MemberNames::compare(member.name, key) < 0;
    });
    return static_cast<std::size_t>(at - members);
}

/// The place of the last run that begins at or before the key, or of the first run.
std::size_t run_for(const MemberIndex& index, const NameKey& key) noexcept {
    const auto after = std::partition_point(index.runs.begin() + 1, index.runs.end(), [&](Block* run) {
        return MemberNames::compare(members_of(run)[0].name, key) <= 0;
    });
    return static_cast<std::size_t>(after - index.runs.begin()) - 1;
}

/// Sets the place of the member. Without such a member, sets the run for a new member of that name.
void search(ValueAccess::Place& place, Block* block, const MemberIndex* index, const NameKey& key) noexcept {
    if (block == nullptr) return;
    place.ordinal = index == nullptr ? 0 : run_for(*index, key);
    place.run = index == nullptr ? block : index->runs[place.ordinal];
    const MapMember* member = Layout::search_run<Value>(
        place.run, key.tag(), [&](const MemberName& name) { return MemberNames::equal(name, key); });
    place.found = member != nullptr;
    place.at = place.found ? static_cast<std::size_t>(member - members_of(place.run)) : 0;
}

void move_members(MapMember* to, const MapMember* from, std::size_t count) noexcept {
    std::memmove(static_cast<void*>(to), from, count * sizeof *to);
}

Block* last_run(const Value& map) noexcept {
    const MemberIndex* index = ValueAccess::index(map);
    return index == nullptr ? ValueAccess::block(map) : index->runs.back();
}

} // namespace

std::size_t ValueAccess::member_count(const Value& map) noexcept {
    if (!is_map(map) || !map.on_heap()) return 0;
    return index(map) == nullptr ? block(map)->size : index(map)->total;
}

Block* ValueAccess::allocate_run(std::size_t capacity) {
    Block* run = Layout::allocate(Layout::Members, capacity, sizeof(MapMember) + 1, Layout::tag_padding);
    std::memset(tags_of(run), 0, capacity + Layout::tag_padding);
    return run;
}

ValueAccess::Place ValueAccess::find(const Value& map, const NameKey& key) noexcept {
    Place place;
    if (is_map(map)) search(place, block(map), index(map), key);
    return place;
}

ValueAccess::Place ValueAccess::locate(const Value& map, const NameKey& key) noexcept {
    Place place;
    const MemberIndex* runs = index(map);
    if (Block* run = last_run(map); run != nullptr && run->size > 0) {
        const int order = MemberNames::compare(members_of(run)[run->size - 1].name, key);
        if (order <= 0) {
            place.run = run;
            place.found = order == 0;
            place.at = place.found ? run->size - 1 : run->size;
            place.ordinal = runs == nullptr ? 0 : runs->runs.size() - 1;
            return place;
        }
    }
    search(place, block(map), runs, key);
    if (!place.found && place.run != nullptr) place.at = lower_bound(place.run, key);
    return place;
}

/// Moves the run at `place` into a block with more room.
void ValueAccess::grow_run(Value& map, Place& place, std::size_t capacity) {
    Block* bigger = allocate_run(capacity);
    Block* old = place.run;
    bigger->next = old->next;
    bigger->size = old->size;
    move_members(members_of(bigger), members_of(old), old->size);
    std::memcpy(tags_of(bigger), tags_of(old), old->size);
    if (MemberIndex* runs = index(map); runs != nullptr) {
        runs->runs[place.ordinal] = bigger;
        if (place.ordinal > 0) runs->runs[place.ordinal - 1]->next = bigger;
    }
    if (place.ordinal == 0) replace_block(map, bigger);
    Layout::deallocate(old);
    place.run = bigger;
}

/// Makes room at `place` in a full run by a second run. A new member at the end of the Map gets an empty run, so that
/// insertions in order fill all runs. Any other place moves the upper half of the run.
void ValueAccess::split_run(Value& map, Place& place) {
    std::unique_ptr<MemberIndex> first_index;
    MemberIndex* runs = index(map);
    if (runs == nullptr) {
        first_index = std::make_unique<MemberIndex>();
        first_index->total = place.run->size;
        first_index->runs.reserve(8);
        first_index->runs.push_back(place.run);
        runs = first_index.get();
    }
    if (runs->runs.size() == runs->runs.capacity()) runs->runs.reserve(2 * runs->runs.size());
    Block* upper = allocate_run(run_limit);
    // No operation fails from here on.
    const bool at_end = place.run->next == nullptr && place.at == place.run->size;
    const std::size_t keep = at_end ? place.run->size : place.run->size / 2;
    upper->size = place.run->size - keep;
    move_members(members_of(upper), members_of(place.run) + keep, upper->size);
    std::memcpy(tags_of(upper), tags_of(place.run) + keep, upper->size);
    place.run->size = keep;
    upper->next = place.run->next;
    place.run->next = upper;
    runs->runs.insert(runs->runs.begin() + static_cast<std::ptrdiff_t>(place.ordinal) + 1, upper);
    if (first_index != nullptr) replace_index(map, first_index.release());
    if (place.at > keep || at_end) {
        place.run = upper;
        place.at -= keep;
        ++place.ordinal;
    }
}

Value& ValueAccess::emplace(Value& map, Place& place, const NameKey& key, Value& value) {
    const MemberName name = MemberNames::make(key);
    try {
        if (place.run == nullptr) {
            attach(map, map.type_, allocate_run(first_capacity));
            place.run = block(map);
        } else if (place.run->size == place.run->capacity) {
            if (place.run->capacity < run_limit)
                grow_run(map, place, grown(place.run->capacity));
            else
                split_run(map, place);
        }
    } catch (...) {
        MemberNames::release(name);
        throw;
    }
    MapMember* at = members_of(place.run) + place.at;
    unsigned char* tag = tags_of(place.run) + place.at;
    if (const std::size_t behind = place.run->size - place.at; behind > 0) {
        move_members(at + 1, at, behind);
        std::memmove(tag + 1, tag, behind);
    }
    *tag = key.tag();
    ++place.run->size;
    if (MemberIndex* runs = index(map); runs != nullptr) ++runs->total;
    at->name = name;
    return *new (&at->value) Value(std::move(value));
}

Iterator<Value> ValueAccess::erase(Value& map, Place place) noexcept {
    Block* run = place.run;
    MapMember* at = members_of(run) + place.at;
    // Destroyed last: at that time the Map is consistent.
    const Value dropped = std::move(at->value);
    MemberNames::release(at->name);
    move_members(at, at + 1, run->size - place.at - 1);
    std::memmove(tags_of(run) + place.at, tags_of(run) + place.at + 1, run->size - place.at - 1);
    --run->size;
    MemberIndex* runs = index(map);
    if (runs != nullptr) --runs->total;
    if (run->size > 0) return place.at == run->size ? first_of(run->next) : Iterator<Value>(run, at);
    if (runs == nullptr) {
        Layout::deallocate(run);
        detach(map);
        return {};
    }
    Block* next = run->next;
    runs->runs.erase(runs->runs.begin() + static_cast<std::ptrdiff_t>(place.ordinal));
    if (place.ordinal > 0) runs->runs[place.ordinal - 1]->next = next;
    Layout::deallocate(run);
    replace_block(map, runs->runs.front());
    if (runs->runs.size() == 1) {
        delete runs;
        replace_index(map, nullptr);
    }
    return first_of(next);
}

void ValueAccess::reserve_members(Value& map, std::size_t count) {
    const std::size_t capacity = std::min(count, run_limit);
    if (!map.on_heap()) {
        if (capacity > 0) attach(map, map.type_, allocate_run(capacity));
    } else if (index(map) == nullptr && block(map)->capacity < capacity) {
        Place place{.run = block(map)};
        grow_run(map, place, capacity);
    }
}

} // namespace ZoHmiSrv
