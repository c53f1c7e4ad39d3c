#pragma once

#include <cstdint>

namespace ZoHmiFdx {

/// The flags of a type description. With the deduced flags, they are those of a `Datatype`. The flags of the device's
/// entries have other bits.
enum class DatatypeFlags : std::uint32_t {
    PlainType = 1u << 0,
    Reference = 1u << 1,
    Pointer = 1u << 2,
    Initial = 1u << 3, ///< set in a fresh description
    EnumAlias = 1u << 4,
    ReferenceByAlias = 1u << 5,
    IndirectionByAlias = 1u << 6,
    StructAlias = 1u << 7,
    SizeZeroAllowed = 1u << 8,
    Union = 1u << 9,
    AliasOfAlias = 1u << 14,
    AliasIndirection = 1u << 15,
    BitArray = 1u << 16,
    BasicAlias = 1u << 17,

    // Deduced from the description. Each has an accessor of this name in `Datatype`.
    DeducedEnumInInt32 = 1u << 18,
    DeducedIndirection = 1u << 19,
    DeducedIndirectionStrict = 1u << 20,
    DeducedReference = 1u << 21,
    DeducedStructAlias = 1u << 22,
    DeducedEnumAlias = 1u << 23,
    DeducedDialects = 1u << 24,
    DeducedIncompleteWrite = 1u << 25,
    DeducedParsed = 1u << 26,
    DeducedAliasOfAlias = 1u << 27,
    DeducedAliasIndirection = 1u << 28,
    DeducedBasicAlias = 1u << 29,
    DeducedPackedBits = 1u << 30,
};

/// The flags that a `Datatype` deduces.
inline constexpr std::uint32_t deduced_datatype_flags = 0x7FFC'0000;

[[nodiscard]] constexpr std::uint32_t operator|(DatatypeFlags left, DatatypeFlags right) noexcept {
    return std::uint32_t(left) | std::uint32_t(right);
}
[[nodiscard]] constexpr std::uint32_t operator|(std::uint32_t word, DatatypeFlags flag) noexcept {
    return word | std::uint32_t(flag);
}
[[nodiscard]] constexpr std::uint32_t operator&(std::uint32_t word, DatatypeFlags flag) noexcept {
    return word & std::uint32_t(flag);
}
constexpr std::uint32_t& operator|=(std::uint32_t& word, DatatypeFlags flag) noexcept {
    return word |= std::uint32_t(flag);
}

} // namespace ZoHmiFdx
