#pragma once

#include "extension/host/value_type.h"
#include "support/export.h"

#include <cstddef>
#include <cstdint>
#include <string>

/// Data types of the device. No function fails: a number that is no data type has no name, the size 0 and the value
/// type Null. [any thread]
namespace ZoHmiFdx {

/// The type of a symbol's bytes. Numbers up to `Composite` are the device's own codes. The device reports the types
/// from 0x101 on by name alone. All other numbers may occur too.
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
    Composite = 0x41, ///< structures, and all types without a code of their own
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

/// The size in bytes, 0 for a type without a fixed size.
[[nodiscard]] ZO_EXPORT std::size_t calculate_size(FdxDataType type);
/// True for a type with a fixed size.
[[nodiscard]] ZO_EXPORT bool is_fundamental_type(FdxDataType type);
/// The server's type for its values.
[[nodiscard]] ZO_EXPORT ZoHmiSrv::ValueType equivalent_hmi_datatype(FdxDataType type);
/// The name for a type whose name the device does not send. Empty for strings and composites.
[[nodiscard]] ZO_EXPORT std::string default_itemname(FdxDataType type);
/// True for the integers, except the signed integer of seven bytes.
[[nodiscard]] ZO_EXPORT bool fdx_type_can_have_subrange(FdxDataType type);
/// True for an unsigned integer of 2, 4 or 8 bytes with the matching size.
[[nodiscard]] ZO_EXPORT bool is_potential_memory_address(FdxDataType type, std::size_t size);

/// True if a double represents the number, and no other integer rounds to that double.
[[nodiscard]] ZO_EXPORT bool is_safe_integer(long value);
/// The size of an entry in bytes. `flags` are the flags of the device's entry, not of a type description: with bit 5
/// set, `size` counts bits. Rounds up.
[[nodiscard]] ZO_EXPORT unsigned size_in_full_bytes(unsigned flags, unsigned size);

} // namespace ZoHmiFdx
