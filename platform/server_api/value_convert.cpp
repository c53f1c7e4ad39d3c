// Conversion of a Value to another type.
#include "extension/host/time_text.h"
#include "platform/server_api/base64.h"
#include "platform/server_api/number_text.h"
#include "platform/server_api/value_access.h"

#include <string>

namespace ZoHmiSrv {

namespace {

std::string text_of(const Value& value) {
    switch (value.type()) {
    case ValueType::Bool:
        return value.get_bool() ? "true" : "false";
    case ValueType::Int:
    case ValueType::Int64:
    case ValueType::TimeSpan:
        return Numbers::to_text(value.get_int64());
    case ValueType::UInt64:
        return Numbers::to_text(value.get_uint64());
    case ValueType::Double:
        return Numbers::to_text(value.get_double());
    case ValueType::DateTime:
        return ns_to_iso(value.get_int64());
    case ValueType::Binary:
        return Base64::encode(ValueAccess::bytes(value), ValueAccess::bytes_size(value));
    default:
        return {};
    }
}

Timestamp time_of(const Value& value) {
    return value.type() == ValueType::String ? Timestamp(iso_to_ns(value.get_string())) : static_cast<Timestamp>(value);
}

Value bytes_of_text(const Value& value) {
    const std::string decoded = Base64::decode(value.get_string()).value_or("");
    return ValueAccess::make_bytes(ValueType::Binary, decoded.data(), decoded.size());
}

} // namespace

Value& Value::convert(ValueType type) {
    if (type == type_) return *this;
    switch (type) {
    case ValueType::Bool:
        set(get_bool());
        break;
    case ValueType::Int:
        set(get_int32());
        break;
    case ValueType::Int64:
        set(get_int64());
        break;
    case ValueType::UInt64:
        set(get_uint64());
        break;
    case ValueType::Double:
        set(get_double());
        break;
    case ValueType::String:
        set(text_of(*this).c_str());
        break;
    case ValueType::DateTime:
        set(time_of(*this));
        break;
    case ValueType::TimeSpan:
        set(get_timespan());
        break;
    case ValueType::Binary:
        if (type_ == ValueType::String) {
            *this = bytes_of_text(*this);
            break;
        }
        [[fallthrough]];
    default:
        set_type(type);
        break;
    }
    return *this;
}

} // namespace ZoHmiSrv
