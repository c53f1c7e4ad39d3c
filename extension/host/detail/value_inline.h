#pragma once

#include "extension/host/value.h"

#include <cstring>
#include <utility>

// The operations of `Value` that are inlined into the extension. A look-up by a known name, a walk and a move cost no
// call.
namespace ZoHmiSrv {

inline Value::Value(bool boolean) noexcept {
    payload_.boolean = boolean;
    type_ = ValueType::Bool;
}
inline Value::Value(const Value& other) {
    if (other.on_heap())
        copy(other);
    else
        take_bytes(other);
}
inline Value::Value(Value&& other) noexcept {
    take(other);
}
inline Value::~Value() {
    if (on_heap()) release();
}
inline Value& Value::operator=(Value other) noexcept {
    swap(other);
    return *this;
}
inline void Value::swap(Value& other) noexcept {
    Value kept;
    kept.take_bytes(*this);
    take_bytes(other);
    other.take_bytes(kept);
    kept.storage_ = Storage::Inside;
}

[[gnu::always_inline]] inline const Value& Value::operator[](const char* name) const noexcept {
    const Found found = look_up(name);
    return found.member != nullptr ? found.member->value : shared_null();
}
inline Value& Value::operator[](const char* name) {
    return member(Layout::NameKey(name));
}
[[gnu::always_inline]] inline ConstIterator<Value> Value::find(const char* name) const noexcept {
    const Found found = look_up(name);
    return found.member != nullptr ? Iterator<Value>(found.run, found.member) : Iterator<Value>();
}
[[gnu::always_inline]] inline Iterator<Value> Value::find(const char* name) {
    if (storage_ == Storage::Shared) [[unlikely]]
        return unshare_and_find(name);
    const Found found = look_up(name);
    return found.member != nullptr ? Iterator<Value>(found.run, found.member) : Iterator<Value>();
}
inline Iterator<Value> Value::begin() {
    make_unshared();
    return first_member();
}
inline Iterator<Value> Value::insert(const char* name, const Value& value) {
    return insert(name, Value(value));
}
inline Iterator<Value> Value::insert(const char* name, Value&& value) {
    return insert_member(Layout::NameKey(name), std::move(value));
}
template <Layout::MemberScalar T>
Iterator<Value> Value::insert(const char* name, T scalar) {
    return insert(name, from_scalar(scalar));
}
inline Iterator<Value> Value::insert_or_update(const char* name, const Value& value) {
    return insert_or_update(name, Value(value));
}
inline Iterator<Value> Value::insert_or_update(const char* name, Value&& value) {
    return insert_or_update_member(Layout::NameKey(name), std::move(value));
}
template <Layout::UpdateScalar T>
Iterator<Value> Value::insert_or_update(const char* name, T scalar) {
    return insert_or_update(name, from_scalar(scalar));
}
inline Map<Value> Value::get_map() {
    if (type_ != ValueType::Map && type_ != ValueType::Struct) set_type(ValueType::Map);
    return Map<Value>(*this);
}

inline const Value& Value::operator[](unsigned long index) const noexcept {
    return index < element_count() ? elements()[index] : shared_null();
}
inline ConstVectorIterator<Value> Value::begin_vector() const noexcept {
    return ConstVectorIterator<Value>(elements());
}
inline ConstVectorIterator<Value> Value::end_vector() const noexcept {
    return ConstVectorIterator<Value>(elements() + element_count());
}
inline VectorIterator<Value> Value::begin_vector() {
    make_unshared();
    return VectorIterator<Value>(elements());
}
inline VectorIterator<Value> Value::end_vector() {
    make_unshared();
    return VectorIterator<Value>(elements() + element_count());
}
template <Layout::ElementScalar T>
VectorIterator<Value> Value::insert(VectorIterator<Value> position, T scalar) {
    return insert(position, from_scalar(scalar));
}
inline Vector<Value> Value::get_vector() {
    return Vector<Value>(set_type(ValueType::Vector));
}

#ifndef ZOHMISRV_WITHOUT_EXTRAS
template <Layout::Index T>
const Value& Value::operator[](T index) const noexcept {
    return (*this)[static_cast<unsigned long>(index)];
}
template <Layout::Index T>
Value& Value::operator[](T index) {
    return (*this)[static_cast<unsigned long>(index)];
}
template <Layout::Index T>
ConstVectorIterator<Value> Value::find(T index) const noexcept {
    return find(static_cast<unsigned long>(index));
}
template <Layout::Index T>
VectorIterator<Value> Value::find(T index) {
    return find(static_cast<unsigned long>(index));
}
template <Layout::AppendScalar T>
Value& Value::operator<<(T scalar) {
    return *this << Value(scalar);
}
inline Map<const Value> Value::get_map() const {
    return Map<const Value>(*this);
}
inline Vector<const Value> Value::get_vector() const {
    return Vector<const Value>(*this);
}
inline Value::operator const Message&() const noexcept {
    return get_message();
}
inline Value::operator const Alarm&() const noexcept {
    return get_alarm();
}
#endif

template <class T>
Value Value::from_scalar(const T& scalar) {
    Value value;
    value.set(scalar);
    return value;
}

inline bool Value::on_heap() const noexcept {
    return storage_ != Storage::Inside;
}
[[gnu::always_inline]] inline bool Value::has_members() const noexcept {
    return (type_ == ValueType::Map || type_ == ValueType::Struct) && on_heap();
}
inline std::size_t Value::element_count() const noexcept {
    return type_ == ValueType::Vector && on_heap() ? payload_.heap.block->size : 0;
}
/// Null for an empty Vector.
inline Value* Value::elements() const noexcept {
    return type_ == ValueType::Vector && on_heap() ? reinterpret_cast<Value*>(payload_.heap.block + 1) : nullptr;
}
inline Iterator<Value> Value::first_member() const noexcept {
    return has_members() ? Iterator<Value>::first_of(payload_.heap.block) : Iterator<Value>();
}
/// Compares a short name in a single run in place, with the words of the name in registers. All other look-ups call
/// `look_up_long`.
[[gnu::always_inline]] inline Value::Found Value::look_up(const char* name) const noexcept {
    if (!has_members()) return {};
    const Layout::NameKey key(name);
    return payload_.heap.index == nullptr && !key.is_long() ? look_up_short(key) : look_up_long(name);
}
[[gnu::always_inline]] inline Value::Found Value::look_up_short(const Layout::NameKey& key) const noexcept {
    Layout::Block* run = payload_.heap.block;
    const auto has_name = [&key](const Layout::MemberName& name) __attribute__((always_inline)) {
        return Layout::has_name(name, key.words);
    };
    return {run, Layout::search_run<Value>(run, key.tag(), has_name)};
}

/// Each operation calls this function before it gives access to content that can be changed.
inline void Value::make_unshared() {
    if (storage_ == Storage::Shared) [[unlikely]]
        unshare();
}
inline void Value::take_bytes(const Value& other) noexcept {
    std::memcpy(static_cast<void*>(this), &other, sizeof *this);
}
inline void Value::take(Value& other) noexcept {
    take_bytes(other);
    other.type_ = ValueType::Null;
    other.storage_ = Storage::Inside;
}

} // namespace ZoHmiSrv
