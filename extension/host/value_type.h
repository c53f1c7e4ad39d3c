#pragma once

#include "extension/host/export.h"

#include <cstdint>

namespace ZoHmiSrv {

/// The type of a `Value`. The server defines the numbers. All other numbers may occur too.
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

/// The name of a type, "Null" for a number without a name. Never null. [any thread]
ZOHMISRV_API const char* value_type_to_string(ValueType type) noexcept;

} // namespace ZoHmiSrv
