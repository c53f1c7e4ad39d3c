#pragma once

#include "platform/server_api/value_access.h"

#include <cstddef>
#include <cstdint>

namespace ZoHmiSrv {

/// The member of a name in a run, or null: compares the tags of eight members at a time, and the names where the tags
/// are the same.
template <class Equal>
MapMember* search_run(Block* run, std::uint8_t tag, Equal equal) noexcept {
    constexpr std::uint64_t ones = 0x0101010101010101U;
    const std::uint64_t pattern = ones * tag;
    MapMember* members = members_of(run);
    const char* tags = reinterpret_cast<const char*>(tags_of(run));
    for (std::size_t first = 0; first < run->size; first += 8) {
        const std::uint64_t difference = Layout::little_endian(tags + first) ^ pattern;
        // The high bit of each byte without a difference. A borrow may set that of a byte above it too, and the bytes
        // behind the last member are no tags: the name decides.
        std::uint64_t same = (difference - ones) & ~difference & (ones << 7);
        for (; same != 0; same &= same - 1) {
            const std::size_t at = first + static_cast<std::size_t>(__builtin_ctzll(same)) / 8;
            if (at < run->size && equal(members[at].name)) {
                return members + at;
            }
        }
    }
    return nullptr;
}

/// A member and the run that it lies in, or two nulls.
struct FoundMember {
    Block* run = nullptr;
    MapMember* member = nullptr;
};

/// The member of that name in a Map or Struct. By far the most look-ups are those of a short name in a single run,
/// which this does with the name in registers.
inline FoundMember find_member(const Value& map, const char* name) noexcept {
    if (!ValueAccess::is_map(map) || !ValueAccess::on_heap(map)) {
        return {};
    }
    const NameKey key(name);
    if (ValueAccess::index(map) != nullptr || key.is_long()) [[unlikely]] {
        const ValueAccess::Place place = ValueAccess::find(map, name);
        return place.found ? FoundMember{place.run, members_of(place.run) + place.at} : FoundMember{};
    }
    Block* run = ValueAccess::block(map);
    return {run, search_run(run, key.tag(), [words = key.words](const Layout::MemberName& candidate) {
                return Layout::MemberNames::equal(candidate, words);
            })};
}

} // namespace ZoHmiSrv
