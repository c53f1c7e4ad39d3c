#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

namespace ZoHmiFdx {

/// The head of a device's record of one symbol, which has `entry_length` bytes. Name, type name and comment follow in
/// the device's code page, each with an end mark that its length does not count. The data that the flags indicate comes
/// last. The struct is packed because records follow each other at any address. No field is checked.
struct [[gnu::packed]] FdxSymbolEntry {
    std::uint32_t entry_length;
    std::uint32_t index_group;
    std::uint32_t index_offset;
    std::uint32_t size; ///< bytes
    std::uint32_t data_type;
    std::uint16_t flags;
    std::uint16_t upper_flags;
    std::uint16_t name_length;
    std::uint16_t type_length;
    std::uint16_t comment_length;
};
static_assert(sizeof(FdxSymbolEntry) == 30 && alignof(FdxSymbolEntry) == 1, "the name follows at byte 30");
static_assert(std::endian::native == std::endian::little, "the device's numbers are read where they lie");

/// Bits of `FdxSymbolEntry::flags`.
inline constexpr std::uint16_t symbol_entry_has_type_guid = 0x0008;
inline constexpr std::uint16_t symbol_entry_has_attributes = 0x1000;

} // namespace ZoHmiFdx
