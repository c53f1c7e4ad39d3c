#pragma once

#include "support/export.h"

#include <cstdint>

namespace ZoHmiFdx {

class Attributes;

/// The lookup tables of a runtime, one bit each.
enum class LookupFlag : std::uint32_t {
    None = 0,
    Known = 1, ///< not a table: set in every word made from attributes
    ReadOnly = 2,
    ShownRecursively = 4,
    NotShown = 8, ///< refused if the runtime serves only a whitelist
    Hidden = 0x10,
};

[[nodiscard]] constexpr LookupFlag operator|(LookupFlag left, LookupFlag right) noexcept {
    return LookupFlag(std::uint32_t(left) | std::uint32_t(right));
}
[[nodiscard]] constexpr LookupFlag operator&(LookupFlag left, LookupFlag right) noexcept {
    return LookupFlag(std::uint32_t(left) & std::uint32_t(right));
}
/// Returns whether `word` has any of `flags`.
[[nodiscard]] constexpr bool has(LookupFlag word, LookupFlag flags) noexcept {
    return (word & flags) != LookupFlag::None;
}

/// Returns `Known`, and `ReadOnly`, `Hidden` and `ShownRecursively` according to the attributes. [any thread]
[[nodiscard]] ZO_EXPORT LookupFlag lookup_flags_from_attributes(const Attributes& attributes) noexcept;
/// Returns the tables that contain a record with these attributes. `NotShown` needs no attribute. [any thread]
[[nodiscard]] ZO_EXPORT LookupFlag table_values_from_attributes(const Attributes& attributes) noexcept;

} // namespace ZoHmiFdx
