// The operations of a Value as a Vector.
#include "platform/server_api/value_access.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace ZoHmiSrv {

namespace {

constexpr std::size_t first_capacity = 4;

void move_elements(Value* to, const Value* from, std::size_t count) noexcept {
    std::memmove(static_cast<void*>(to), from, count * sizeof *to);
}

} // namespace

void ValueAccess::reserve_elements(Value& vector, std::size_t count) {
    Block* old = block(vector);
    if (count == 0 || (old != nullptr && old->capacity >= count)) return;
    Block* bigger = Layout::allocate(Layout::Elements, count, sizeof(Value));
    if (old != nullptr) {
        bigger->size = old->size;
        move_elements(elements_of(bigger), elements_of(old), old->size);
        Layout::deallocate(old);
    }
    attach(vector, vector.type_, bigger);
}

void* ValueAccess::open_gap(Value& vector, std::size_t at) {
    Block* elements = block(vector);
    if (elements == nullptr || elements->size == elements->capacity) {
        // The copy of an emptied Vector has a block of capacity 0.
        reserve_elements(vector,
                         elements == nullptr ? first_capacity : std::max(first_capacity, 2 * elements->capacity));
        elements = block(vector);
    }
    Value* gap = elements_of(elements) + at;
    move_elements(gap + 1, gap, elements->size - at);
    ++elements->size;
    return gap;
}

Value& Value::operator<<(const Value& value) {
    return *this << Value(value);
}

Value& Value::operator<<(Value&& value) {
    if (&value == this) return *this << Value(*this);
    Value taken = std::move(value); // `value` may be an element, which the insertion moves
    set_type(ValueType::Vector).make_unshared();
    new (ValueAccess::open_gap(*this, element_count())) Value(std::move(taken));
    return *this;
}

Value& Value::operator[](unsigned long index) {
    set_type(ValueType::Vector).make_unshared();
    if (index >= element_count()) {
        if (index + 1 == 0) throw std::bad_array_new_length();
        resize(index + 1, Value());
    }
    return elements_of(ValueAccess::block(*this))[index];
}

ConstVectorIterator<Value> Value::find(unsigned long index) const noexcept {
    return index < element_count() ? ConstVectorIterator<Value>(elements_of(ValueAccess::block(*this)) + index)
                                   : end_vector();
}

VectorIterator<Value> Value::find(unsigned long index) {
    make_unshared();
    return index < element_count() ? VectorIterator<Value>(elements_of(ValueAccess::block(*this)) + index)
                                   : end_vector();
}

VectorIterator<Value> Value::insert(VectorIterator<Value> position, const Value& value) {
    return insert(position, Value(value));
}

VectorIterator<Value> Value::insert(VectorIterator<Value> position, Value&& value) {
    if (&value == this) return insert(position, Value(*this));
    const std::size_t count = element_count();
    const std::ptrdiff_t offset = count == 0 ? 0 : position - begin_vector();
    const std::size_t at = offset < 0 ? 0 : std::min(static_cast<std::size_t>(offset), count);
    Value taken = std::move(value);
    set_type(ValueType::Vector);
    new (ValueAccess::open_gap(*this, at)) Value(std::move(taken));
    return begin_vector() + static_cast<std::ptrdiff_t>(at);
}

void Value::resize(std::size_t count, const Value& fill) {
    if (type_ != ValueType::Vector || count > element_count()) {
        const Value kept(fill); // `fill` may be an element, which moves when the block grows
        set_type(ValueType::Vector).make_unshared();
        const Block* before = ValueAccess::block(*this);
        if (before != nullptr && before->capacity < count)
            ValueAccess::reserve_elements(*this, std::max(count, 2 * before->capacity));
        else
            ValueAccess::reserve_elements(*this, count);
        Block* elements = ValueAccess::block(*this);
        while (elements != nullptr && elements->size < count) {
            new (elements_of(elements) + elements->size) Value(kept);
            ++elements->size;
        }
        return;
    }
    make_unshared();
    Block* elements = ValueAccess::block(*this);
    while (elements != nullptr && elements->size > count) {
        --elements->size;
        elements_of(elements)[elements->size].~Value();
    }
}

} // namespace ZoHmiSrv
