#pragma once

#include "device/runtime/lookup_flag.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

/// The nodes of lookup tables.
namespace ZoHmiFdx {

using LookupNodeId = std::uint32_t;
inline constexpr LookupNodeId no_lookup_node = 0xFFFFFFFF;
/// The maximum length of a chain of types.
inline constexpr unsigned max_lookup_chain = 64;

/// 32 bytes, so that a node with a usual name fits one cache line.
struct alignas(32) LookupNode {
    static constexpr std::uint8_t record = 0x80; ///< an additional bit beside those of LookupFlag

    LookupNodeId parent = no_lookup_node;
    LookupNodeId next = no_lookup_node; ///< a type in which the walk continues too
    std::uint32_t name_length = 0;
    std::uint8_t own = 0;     ///< the tables that contain the node; with `record` unless it only has children
    std::uint8_t chained = 0; ///< the tables of the node and its chain together
    bool has_children = false;
    char name[16] = {}; ///< the name, or the position of a longer name

    void set_name(std::string_view text, std::string& long_names) {
        name_length = static_cast<std::uint32_t>(text.size());
        if (text.size() <= sizeof name) {
            std::memcpy(name, text.data(), text.size());
        } else {
            const std::size_t position = long_names.size();
            std::memcpy(name, &position, sizeof position);
            long_names += text;
        }
    }
    [[nodiscard]] std::string_view name_in(std::string_view long_names) const noexcept {
        if (name_length <= sizeof name) return {name, name_length};
        std::size_t position;
        std::memcpy(&position, name, sizeof position);
        return {long_names.data() + position, name_length};
    }
};
static_assert(sizeof(LookupNode) == 32);

/// Combines the values of several records. In the table `NotShown` all values must be true, in the others one.
constexpr std::uint8_t combine_lookup_values(std::uint8_t left, std::uint8_t right) noexcept {
    constexpr auto all_of = std::uint8_t(LookupFlag::NotShown);
    if ((right & LookupNode::record) == 0) return left;
    if ((left & LookupNode::record) == 0) return right;
    return std::uint8_t(((left | right) & ~all_of) | (left & right & all_of));
}

/// Upper and lower case have the same hash.
[[nodiscard]] inline std::uint64_t hash_lookup_name(LookupNodeId parent, std::string_view name) noexcept {
    constexpr std::uint64_t lower = 0x2020'2020'2020'2020;
    constexpr std::uint64_t factor = 0x9E37'79B9'7F4A'7C15;
    const auto load = [](const char* at, auto value) -> std::uint64_t {
        std::memcpy(&value, at, sizeof value);
        return value;
    };
    std::uint64_t result = (std::uint64_t{parent} + 1) * factor + name.size();
    const auto mix = [&result](std::uint64_t bytes) {
        result = (result ^ (bytes | lower)) * factor;
        result ^= result >> 29;
    };
    // Reads eight bytes at a time. The last eight may overlap those before them.
    const char* const start = name.data();
    const std::size_t size = name.size();
    if (size >= 8) {
        for (std::size_t at = 0; at + 8 < size; at += 8)
            mix(load(start + at, std::uint64_t{}));
        mix(load(start + size - 8, std::uint64_t{}));
    } else if (size >= 4) {
        mix(load(start, std::uint32_t{}) | load(start + size - 4, std::uint32_t{}) << 32);
    } else if (size > 0) {
        mix(load(start, std::uint8_t{}) | load(start + size / 2, std::uint8_t{}) << 8 |
            load(start + size - 1, std::uint8_t{}) << 16);
    }
    return result * factor;
}

/// Maps a hash to a position below `size`.
[[nodiscard]] constexpr std::size_t lookup_position(std::uint64_t hash, std::size_t size) noexcept {
    return static_cast<std::size_t>((hash >> 32) * size >> 32);
}

} // namespace ZoHmiFdx
