// Construction, assignment, types, sizes and setters of a Value.
#include "extension/host/value.h"

#include "extension/host/event.h"
#include "extension/host/event_payload.h"
#include "platform/server_api/value_access.h"

#include <cstring>
#include <new>
#include <utility>

namespace ZoHmiSrv {

namespace {

template <class T>
Value box(const T& object) {
    Value value;
    ValueAccess::make_box<T>(value) = object;
    return value;
}

} // namespace

Value& ValueAccess::null_value() noexcept {
    static Value null;
    return null;
}

Value ValueAccess::make_bytes(ValueType type, const void* data, std::size_t size) {
    Value value;
    if (size <= Layout::Payload::inline_limit) {
        value.payload_.uint64 = 0;
        if (size > 0) std::memcpy(value.payload_.bytes, data, size);
        value.payload_.bytes[size] = '\0';
        value.inline_size_ = static_cast<std::uint8_t>(size);
        value.type_ = type;
        return value;
    }
    Block* block = Layout::allocate(Layout::Bytes, size + 1, 1);
    block->size = size;
    std::memcpy(Layout::bytes_of(block), data, size);
    Layout::bytes_of(block)[size] = '\0';
    attach(value, type, block);
    return value;
}

const char* ValueAccess::bytes(const Value& value) noexcept {
    return value.on_heap() ? Layout::bytes_of(block(value)) : value.payload_.bytes;
}

std::size_t ValueAccess::bytes_size(const Value& value) noexcept {
    return value.on_heap() ? block(value)->size : value.inline_size_;
}

Value::Value(int number) noexcept {
    set(number);
}

Value::Value(double number) noexcept {
    set(number);
}

Value::Value(const char* text) {
    if (text == nullptr) text = "";
    Value made = ValueAccess::make_bytes(ValueType::String, text, std::strlen(text));
    take(made);
}

Value::Value(const Timestamp& time) noexcept {
    set(time);
}

Value::Value(const Event& event) : Value(box(event)) {
}

void Value::copy(const Value& other) {
    if (!ValueAccess::copy_plain(other, this)) ValueAccess::copy(other, *this);
}

Value& Value::operator=(const Event& event) {
    return *this = box(event);
}

void Value::release() noexcept {
    ValueAccess::release(*this);
}

Value& Value::set_type(ValueType type) {
    if (type == type_) return *this;
    const bool maps = ValueAccess::is_map(*this) && (type == ValueType::Map || type == ValueType::Struct);
    if (maps) {
        type_ = type;
        return *this;
    }
    Value empty;
    switch (type) {
    case ValueType::Event:
        ValueAccess::make_box<Event>(empty);
        break;
    case ValueType::Message:
        ValueAccess::make_box<Message>(empty);
        break;
    case ValueType::Alarm:
        ValueAccess::make_box<Alarm>(empty);
        break;
    default:
        empty.payload_.bytes[0] = '\0';
        empty.type_ = type;
        break;
    }
    swap(empty);
    return *this;
}

std::size_t Value::size() const noexcept {
    switch (type_) {
    case ValueType::Null:
        return 0;
    case ValueType::String:
    case ValueType::Binary:
        return ValueAccess::bytes_size(*this);
    case ValueType::Vector:
        return element_count();
    case ValueType::Map:
    case ValueType::Struct:
        return ValueAccess::member_count(*this);
    default:
        return 1;
    }
}

void Value::clear() noexcept {
    switch (type_) {
    case ValueType::Event:
        get_event() = Event();
        break;
    case ValueType::Message:
        get_message() = Message();
        break;
    case ValueType::Alarm:
        get_alarm() = Alarm();
        break;
    default:
        Value empty;
        empty.type_ = type_;
        swap(empty);
        break;
    }
}

void Value::reserve(std::size_t count) {
    make_unshared();
    if (type_ == ValueType::Vector)
        ValueAccess::reserve_elements(*this, count);
    else if (ValueAccess::is_map(*this))
        ValueAccess::reserve_members(*this, count);
}

void Value::set(bool boolean) noexcept {
    Value made(boolean);
    swap(made);
}

void Value::set(int number) noexcept {
    Value made;
    made.payload_.int64 = 0;
    made.payload_.int32 = number;
    made.type_ = ValueType::Int;
    swap(made);
}

void Value::set(long number) noexcept {
    Value made;
    made.payload_.int64 = number;
    made.type_ = ValueType::Int64;
    swap(made);
}

void Value::set(unsigned long number) noexcept {
    Value made;
    made.payload_.uint64 = number;
    made.type_ = ValueType::UInt64;
    swap(made);
}

void Value::set(double number) noexcept {
    Value made;
    made.payload_.real = number;
    made.type_ = ValueType::Double;
    swap(made);
}

void Value::set(const Timestamp& time) noexcept {
    Value made;
    made.payload_.int64 = time.nanoseconds();
    made.type_ = ValueType::DateTime;
    swap(made);
}

void Value::set(const Timespan& span) noexcept {
    Value made;
    made.payload_.int64 = span.nanoseconds();
    made.type_ = ValueType::TimeSpan;
    swap(made);
}

void Value::set(const char* text) {
    *this = Value(text);
}

void Value::set(const Binary& bytes) {
    *this = ValueAccess::make_bytes(ValueType::Binary, bytes.data(), bytes.data() == nullptr ? 0 : bytes.size());
}

void Value::set(const Message& message) {
    *this = box(message);
}

void Value::set(const Alarm& alarm) {
    *this = box(alarm);
}

} // namespace ZoHmiSrv
