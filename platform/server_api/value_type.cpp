#include "extension/host/value_type.h"

#include <array>

namespace ZoHmiSrv {

namespace {

constexpr std::array<const char*, 13> low_names = {"Null",   "Bool",   "Int",   "Double",   "String",   "Vector", "Map",
                                                   "Struct", "Binary", "Int64", "DateTime", "TimeSpan", "UInt64"};

} // namespace

const char* value_type_to_string(ValueType type) noexcept {
    switch (type) {
    case ValueType::Event:
        return "Event";
    case ValueType::Message:
        return "Message";
    case ValueType::Alarm:
        return "Alarm";
    case ValueType::Any:
        return "Any";
    default:
        const auto number = static_cast<std::size_t>(type);
        return number < low_names.size() ? low_names[number] : low_names[0];
    }
}

} // namespace ZoHmiSrv
