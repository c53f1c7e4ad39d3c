// The reading operations of a Value.
#include "extension/host/event.h"
#include "extension/host/event_payload.h"
#include "platform/server_api/number_text.h"
#include "platform/server_api/value_access.h"

#include <cstddef>
#include <limits>
#include <new>
#include <string_view>

namespace ZoHmiSrv {

namespace {

std::string_view text_of(const Value& value) noexcept {
    return {ValueAccess::bytes(value), ValueAccess::bytes_size(value)};
}

template <class T>
const T& read_box(const Value& value, ValueType type) noexcept {
    // Constructed in place without an allocation, and never destroyed. A thread of the server may read it after the
    // destruction of the library's static objects.
    alignas(T) static std::byte place[sizeof(T)];
    static const T& empty = *new (place) T();
    return value.type() == type ? ValueAccess::boxed<T>(value) : empty;
}

template <class T>
T& write_box(Value& value, ValueType type) {
    value.set_type(type);
    return ValueAccess::boxed<T>(value);
}

} // namespace

bool Value::get_bool() const noexcept {
    switch (type_) {
    case ValueType::Bool:
        return payload_.boolean;
    case ValueType::Double:
        return payload_.real != 0;
    case ValueType::String: {
        const std::string_view text = text_of(*this);
        return text == "true" || Numbers::parse_double(text).value_or(0) != 0;
    }
    default:
        return get_int64() != 0;
    }
}

std::int32_t Value::get_int32() const noexcept {
    return type_ == ValueType::Int ? payload_.int32 : Numbers::saturate_int32(get_int64());
}

std::int64_t Value::get_int64() const noexcept {
    switch (type_) {
    case ValueType::Bool:
        return payload_.boolean ? 1 : 0;
    case ValueType::Int:
        return payload_.int32;
    case ValueType::Int64:
    case ValueType::DateTime:
    case ValueType::TimeSpan:
        return payload_.int64;
    case ValueType::UInt64: {
        constexpr std::uint64_t high = std::numeric_limits<std::int64_t>::max();
        return static_cast<std::int64_t>(payload_.uint64 < high ? payload_.uint64 : high);
    }
    case ValueType::Double:
        return Numbers::saturate_int64(payload_.real);
    case ValueType::String:
        if (const auto number = Numbers::parse_int64(text_of(*this))) return *number;
        return Numbers::saturate_int64(Numbers::parse_double(text_of(*this)).value_or(0));
    default:
        return 0;
    }
}

std::uint64_t Value::get_uint64() const noexcept {
    switch (type_) {
    case ValueType::UInt64:
        return payload_.uint64;
    case ValueType::Double:
        return Numbers::saturate_uint64(payload_.real);
    case ValueType::String:
        if (const auto number = Numbers::parse_uint64(text_of(*this))) return *number;
        return Numbers::saturate_uint64(Numbers::parse_double(text_of(*this)).value_or(0));
    default: {
        const std::int64_t number = get_int64();
        return number < 0 ? 0 : static_cast<std::uint64_t>(number);
    }
    }
}

double Value::get_double() const noexcept {
    switch (type_) {
    case ValueType::Double:
        return payload_.real;
    case ValueType::UInt64:
        return static_cast<double>(payload_.uint64);
    case ValueType::String:
        return Numbers::parse_double(text_of(*this)).value_or(0);
    default:
        return static_cast<double>(get_int64());
    }
}

const char* Value::get_string() const noexcept {
    return type_ == ValueType::String ? ValueAccess::bytes(*this) : "";
}

Timespan Value::get_timespan() const noexcept {
    return Timespan(get_int64());
}

Value::operator Timestamp() const noexcept {
    return Timestamp(get_int64());
}

Value::operator Binary() const noexcept {
    return type_ == ValueType::Binary || type_ == ValueType::String
               ? Binary(ValueAccess::bytes(*this), ValueAccess::bytes_size(*this))
               : Binary();
}

Event& Value::get_event() {
    return write_box<Event>(*this, ValueType::Event);
}
const Event& Value::get_event() const noexcept {
    return read_box<Event>(*this, ValueType::Event);
}
Message& Value::get_message() {
    return write_box<Message>(*this, ValueType::Message);
}
const Message& Value::get_message() const noexcept {
    return read_box<Message>(*this, ValueType::Message);
}
Alarm& Value::get_alarm() {
    return write_box<Alarm>(*this, ValueType::Alarm);
}
const Alarm& Value::get_alarm() const noexcept {
    return read_box<Alarm>(*this, ValueType::Alarm);
}

} // namespace ZoHmiSrv
