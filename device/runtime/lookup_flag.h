#pragma once

#include "support/export.h"

#include <cstdint>

namespace ZoHmiFdx {

class Attributes;

/// The lookup tables of a runtime, one bit each.
enum class LookupFlag : std::uint32_t {
    None = 0,
    Known = 1, ///< no table: set in every word that was made of attributes
    ReadOnly = 2,
    ShownRecursively = 4,
    NotShown = 8, ///< refused where the runtime serves a whitelist alone
    Hidden = 0x10,
};

[[nodiscard]] constexpr LookupFlag operator|(LookupFlag left, LookupFlag right) noexcept {
    return LookupFlag(std::uint32_t(left) | std::uint32_t(right));
}
[[nodiscard]] constexpr LookupFlag operator&(LookupFlag left, LookupFlag right) noexcept {
    return LookupFlag(std::uint32_t(left) & std::uint32_t(right));
}
/// A flag of `word` is among `flags`.
[[nodiscard]] constexpr bool has(LookupFlag word, LookupFlag flags) noexcept {
    return (word & flags) != LookupFlag::None;
}

/// `Known`, and `ReadOnly`, `Hidden` and `ShownRecursively` where the attributes say so. [any thread]
[[nodiscard]] ZO_EXPORT LookupFlag lookup_flags_from_attributes(const Attributes& attributes) noexcept;
/// The tables that a record with these attributes is true in. `NotShown` needs no attribute. [any thread]
[[nodiscard]] ZO_EXPORT LookupFlag table_values_from_attributes(const Attributes& attributes) noexcept;

} // namespace ZoHmiFdx
