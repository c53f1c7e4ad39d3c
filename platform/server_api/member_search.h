#pragma once

#include "platform/server_api/value_access.h"

#include <cstddef>
#include <cstdint>

namespace ZoHmiSrv {

/// The place of the last run that begins at or before the key, else of the first.
std::size_t run_for(const MemberIndex& index, const NameKey& key) noexcept;

/// The member of that name in a run, or null: compares the tags of eight members at a time, and the names where the
/// tags are the same.
inline MapMember* find_in_run(Block* run, const NameKey& key) noexcept {
    constexpr std::uint64_t ones = 0x0101010101010101U;
    const std::uint64_t pattern = ones * key.tag();
    const char* tags = reinterpret_cast<const char*>(tags_of(run));
    for (std::size_t first = 0; first < run->size; first += 8) {
        const std::uint64_t difference = Layout::little_endian(tags + first) ^ pattern;
        // The high bit of each byte without a difference. A borrow may set that of a byte above it too, and the bytes
        // behind the last member are no tags: the name decides.
        std::uint64_t same = (difference - ones) & ~difference & (ones << 7);
        for (; same != 0; same &= same - 1) {
            const std::size_t at = first + static_cast<std::size_t>(__builtin_ctzll(same)) / 8;
            if (at < run->size && Layout::MemberNames::equal(members_of(run)[at].name, key)) {
                return members_of(run) + at;
            }
        }
    }
    return nullptr;
}

/// The Value of that name in a Map or Struct, or null.
inline Value* find_member(const Value& map, const NameKey& key) noexcept {
    if (!ValueAccess::is_map(map) || !ValueAccess::on_heap(map)) {
        return nullptr;
    }
    const MemberIndex* index = ValueAccess::index(map);
    Block* run = index == nullptr ? ValueAccess::block(map) : index->runs[run_for(*index, key)];
    MapMember* member = find_in_run(run, key);
    return member == nullptr ? nullptr : &member->value;
}

} // namespace ZoHmiSrv
