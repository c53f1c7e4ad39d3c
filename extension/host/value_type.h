#pragma once

#include "extension/host/export.h"

#include <cstdint>

namespace ZoHmiSrv {

/// What a `Value` holds. The numbers are those of the server's interface; a foreign number is carried as it is.
enum class ValueType : std::uint16_t {
    Null = 0,
    Bool = 1,
    Int = 2,
    Double = 3,
    String = 4,
    Vector = 5,
    Map = 6,
    Struct = 7,
    Binary = 8,
    Int64 = 9,
    DateTime = 10,
    TimeSpan = 11,
    UInt64 = 12,
    Event = 64,
    Message = 65,
    Alarm = 66,
    Any = 256,
};

/// The name of a type, "Null" for a number that has none. Never null. [any thread]
ZOHMISRV_API const char* value_type_to_string(ValueType type) noexcept;

} // namespace ZoHmiSrv
