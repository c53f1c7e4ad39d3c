#pragma once

#include "extension/host/value_type.h"
#include "support/export.h"

#include <cstddef>
#include <cstdint>
#include <string>

/// All functions here are [any thread] and never fail; a number that is no data type has no name, the size 0 and the
/// value type Null.
namespace ZoHmiFdx {

/// What the bytes of a symbol mean. Up to `Composite` these are the device's own type codes; from 0x101 on stand types
/// that the device reports by name alone. A foreign number is carried as it is.
enum class FdxDataType : std::uint32_t {
    Void = 0,
    Int16 = 0x02,
    Int32 = 0x03,
    Real = 0x04,
    LReal = 0x05,
    Int8 = 0x10,
    UInt8 = 0x11,
    UInt16 = 0x12,
    UInt32 = 0x13,
    Int64 = 0x14,
    UInt64 = 0x15,
    String = 0x1E,  ///< one byte a character
    WString = 0x1F, ///< two bytes a character
    Real80 = 0x20,
    Bit = 0x21,
    Composite = 0x41, ///< structures, and whatever else has no code of its own
    Int24 = 0x101,
    UInt24 = 0x102,
    Int40 = 0x103,
    UInt40 = 0x104,
    Int48 = 0x105,
    UInt48 = 0x106,
    Int56 = 0x107,
    UInt56 = 0x108,
    Time = 0x109,
    DateAndTime = 0x10A,
    LTime = 0x10B,
    LDateAndTime = 0x10C,
};

/// Bytes, 0 when the type has no fixed size.
[[nodiscard]] ZO_EXPORT std::size_t calculate_size(FdxDataType type);
/// It has a fixed size.
[[nodiscard]] ZO_EXPORT bool is_fundamental_type(FdxDataType type);
/// The server's type that takes its values.
[[nodiscard]] ZO_EXPORT ZoHmiSrv::ValueType equivalent_hmi_datatype(FdxDataType type);
/// The name that a type gets where the device gives none; empty for strings and composites.
[[nodiscard]] ZO_EXPORT std::string default_itemname(FdxDataType type);
/// The integers, except the signed one of seven bytes.
[[nodiscard]] ZO_EXPORT bool fdx_type_can_have_subrange(FdxDataType type);
/// An unsigned integer of 2, 4 or 8 bytes whose given size is its own.
[[nodiscard]] ZO_EXPORT bool is_potential_memory_address(FdxDataType type, std::size_t size);

/// A double holds it exactly, and no other integer becomes the same double.
[[nodiscard]] ZO_EXPORT bool is_safe_integer(long value);
/// The size of an entry in bytes. `flags` is the flag word of the device's entry, not that of a type description: its
/// bit 5 says that `size` counts bits, which are rounded up to bytes.
[[nodiscard]] ZO_EXPORT unsigned size_in_full_bytes(unsigned flags, unsigned size);

} // namespace ZoHmiFdx
