#pragma once

#include "extension/host/binary.h"
#include "extension/host/export.h"
#include "extension/host/iterator.h"
#include "extension/host/timestamp.h"
#include "extension/host/value_type.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

namespace ZoHmiSrv {

class Alarm;
class Event;
class Message;
template <class T>
class Map;
template <class T>
class Vector;

namespace Layout {
struct MemberIndex;
}

/// One of the given types, and nothing that merely converts to one of them.
template <class T, class... Allowed>
concept OneOf = (std::same_as<T, Allowed> || ...);

template <class T>
concept NoText = !std::same_as<std::remove_cv_t<T>, char>;

template <class T>
concept ValueScalar = OneOf<T, bool, int, long, unsigned long, double, Timestamp, Timespan, Binary>;

template <class T>
concept ValueIndex = std::integral<T> && !std::same_as<T, bool> && !std::same_as<T, unsigned long>;

/// The variant that carries everything between server and extension.
///
/// A `Value` owns all it holds; two of them never share anything that can be changed, so a reference into one never
/// shows a change of another: what copies share (long texts, Binary, and trees by `share`) is copied before it changes.
/// Reading (every const operation) may happen on several threads at once, writing needs the value for itself. [any
/// thread]
///
/// References, iterators, texts and binary views taken from a Value hold until it, or the Map, Struct or Vector around
/// it, is written, moved or destroyed; in a Value that shares a tree, asking for something to write counts as writing;
/// the reference that `operator[]` gives is no exception: a later insertion beside it may move it. Moves never allocate
/// or throw; nobody may swap a Value with a part of itself, nor hand it as an rvalue to the operations of one. Copies
/// may throw `std::bad_alloc` and then leave the target as it was. Destruction, copy and comparison take any depth.
///
/// A Map and a Struct order their members by the bytes of the names. An operation for one type, used on a Value of
/// another, never fails: reads give 0, "", false, an empty range or a shared Null, writes turn the Value into the type
/// that they need (empty, when it was something else).
class ZOHMISRV_API Value {
public:
    Value() noexcept {}
    Value(bool boolean) noexcept { // NOLINT(google-explicit-constructor)
        payload_.boolean = boolean;
        type_ = ValueType::Bool;
    }
    template <NoText T>
    Value(T* pointer) = delete;            // it would count as true
    Value(int number) noexcept;            // NOLINT(google-explicit-constructor)
    Value(double number) noexcept;         // NOLINT(google-explicit-constructor)
    Value(const char* text);               // NOLINT(google-explicit-constructor): null counts as ""
    Value(const Timestamp& time) noexcept; // NOLINT(google-explicit-constructor)
    Value(const Event& event);             // NOLINT(google-explicit-constructor)
    Value(const Value& other) {
        if (other.on_heap()) {
            copy(other);
        } else {
            take_bytes(other);
        }
    }
    Value(Value&& other) noexcept { take(other); }
    ~Value() {
        if (on_heap()) {
            release();
        }
    }

    /// By value: what is assigned is taken before the left side is looked up, so that in `v["new"] = v["old"]` no
    /// insertion moves it, and `v["x"] = std::move(v)` puts the old content into the new.
    Value& operator=(Value other) noexcept {
        swap(other);
        return *this;
    }
    Value& operator=(const Event& event);
    void swap(Value& other) noexcept {
        Value kept;
        kept.take_bytes(*this);
        take_bytes(other);
        other.take_bytes(kept);
        kept.storage_ = Storage::Inside;
    }

    /// By content. Values of different types differ, 1 and 1.0 too; NaN equals itself.
    friend bool operator==(const Value& left, const Value& right) { return compare(left, right) == 0; }
    /// A total order: first by the number of the type, then by content; NaN comes after all numbers.
    friend bool operator<(const Value& left, const Value& right) { return compare(left, right) < 0; }

    ValueType type() const noexcept { return type_; }
    /// Keeps the content if the type is the same already, and the members from Map to Struct and back; any other change
    /// gives an empty value of the new type.
    Value& set_type(ValueType type);
    /// Converts the content to another type; what cannot be converted becomes an empty value of that type.
    /// Text to a number reads the whole text; a number becomes its shortest text; text and Binary turn into each other
    /// by base64 with padding (invalid text gives no bytes). As numbers, times are nanoseconds; as text, a DateTime is
    /// ISO 8601 in UTC and a TimeSpan the number.
    Value& convert(ValueType type);

    bool isset() const noexcept { return type_ != ValueType::Null; }
    /// True for Null, and for a text, Binary, Vector, Map or Struct of size 0.
    bool empty() const noexcept;
    /// Elements, members or bytes; 0 for Null, 1 for everything else.
    std::size_t size() const noexcept;
    /// Empties the value; the type stays.
    void clear() noexcept;
    /// Room for n elements or members in all; never give it a count that nobody checked. Of a Map or Struct a copy has
    /// up to four places of what is left.
    void reserve(std::size_t count);
    /// Cuts or fills a Vector to n elements.
    void resize(std::size_t count, const Value& fill);
    /// From now on copies of this Vector, Map or Struct share its members instead of copying them, however many there
    /// are; whichever is to be written first makes itself a copy. For what is copied often and seldom changed. Ends the
    /// validity of references into the Value; of other types it does nothing.
    Value& share() noexcept;

    /// @name Map and Struct
    /// A null name counts as "".
    /// @{

    /// The member, or one shared Null.
    [[gnu::always_inline]] const Value& operator[](const char* name) const noexcept {
        const Found found = look_up(name);
        return found.member != nullptr ? found.member->value : shared_null();
    }
    /// The member, inserted as Null where there is none. A Null becomes a Map, and so does any other type, which loses
    /// its content.
    Value& operator[](const char* name) { return member(Layout::NameKey(name)); }
    /// A name in a buffer, which would be ambiguous otherwise.
    template <std::same_as<char*> T>
    const Value& operator[](T name) const noexcept {
        return (*this)[static_cast<const char*>(name)];
    }
    template <std::same_as<char*> T>
    Value& operator[](T name) {
        return (*this)[static_cast<const char*>(name)];
    }

    [[gnu::always_inline]] ConstIterator<Value> find(const char* name) const noexcept {
        const Found found = look_up(name);
        return found.member != nullptr ? Iterator<Value>(found.run, found.member) : Iterator<Value>();
    }
    [[gnu::always_inline]] Iterator<Value> find(const char* name) {
        if (storage_ == Storage::Shared) [[unlikely]] {
            return unshare_and_find(name);
        }
        const Found found = look_up(name);
        return found.member != nullptr ? Iterator<Value>(found.run, found.member) : Iterator<Value>();
    }
    ConstIterator<Value> begin() const noexcept { return first_member(); }
    ConstIterator<Value> end() const noexcept { return {}; }
    Iterator<Value> begin() {
        own();
        return first_member();
    }
    Iterator<Value> end() noexcept { return {}; }

    /// Inserts a member; a member of that name stays as it is. Gives the member of that name in both cases.
    Iterator<Value> insert(const char* name, const Value& value) { return insert(name, Value(value)); }
    Iterator<Value> insert(const char* name, Value&& value) {
        return insert_member(Layout::NameKey(name), std::move(value));
    }
    Iterator<Value> insert(const char* name, const char* text) { return insert(name, Value(text)); }
    template <ValueScalar T>
    Iterator<Value> insert(const char* name, T scalar) {
        return insert(name, from_scalar(scalar));
    }
    /// Inserts a member, or gives the member of that name a new value.
    Iterator<Value> insert_or_update(const char* name, const Value& value) {
        return insert_or_update(name, Value(value));
    }
    Iterator<Value> insert_or_update(const char* name, Value&& value) {
        return insert_or_update_member(Layout::NameKey(name), std::move(value));
    }
    Iterator<Value> insert_or_update(const char* name, const char* text) { return insert_or_update(name, Value(text)); }
    template <ValueScalar T>
    Iterator<Value> insert_or_update(const char* name, T scalar) {
        return insert_or_update(name, from_scalar(scalar));
    }
    /// Removes the member at a valid position and gives the one after it; at `end()` nothing happens.
    Iterator<Value> remove(Iterator<Value> position) noexcept;

    Map<Value> get_map();
    Map<const Value> get_map() const;
    /// @}

    /// @name Vector
    /// @{

    /// Appends; the value itself may be given. Gives the Vector.
    Value& operator<<(const Value& value);
    Value& operator<<(Value&& value);
    template <class T>
    requires OneOf<T, bool, int, double, Timestamp> Value& operator<<(T scalar) { return *this << Value(scalar); }

    /// The element, or one shared Null when the index is out of range.
    const Value& operator[](unsigned long index) const noexcept {
        return index < element_count() ? elements()[index] : shared_null();
    }
    /// The element; a Vector that is too short is filled up with Nulls, so the index must be one that somebody checked.
    Value& operator[](unsigned long index);
    template <ValueIndex T>
    const Value& operator[](T index) const noexcept {
        return (*this)[static_cast<unsigned long>(index)];
    }
    template <ValueIndex T>
    Value& operator[](T index) {
        return (*this)[static_cast<unsigned long>(index)];
    }

    ConstVectorIterator<Value> find(unsigned long index) const noexcept;
    VectorIterator<Value> find(unsigned long index);
    template <ValueIndex T>
    ConstVectorIterator<Value> find(T index) const noexcept {
        return find(static_cast<unsigned long>(index));
    }
    template <ValueIndex T>
    VectorIterator<Value> find(T index) {
        return find(static_cast<unsigned long>(index));
    }
    ConstVectorIterator<Value> begin_vector() const noexcept { return ConstVectorIterator<Value>(elements()); }
    ConstVectorIterator<Value> end_vector() const noexcept {
        return ConstVectorIterator<Value>(elements() + element_count());
    }
    VectorIterator<Value> begin_vector() {
        own();
        return VectorIterator<Value>(elements());
    }
    VectorIterator<Value> end_vector() {
        own();
        return VectorIterator<Value>(elements() + element_count());
    }

    /// Inserts before a position of this Vector and gives the inserted element.
    VectorIterator<Value> insert(VectorIterator<Value> position, const Value& value);
    VectorIterator<Value> insert(VectorIterator<Value> position, Value&& value);
    VectorIterator<Value> insert(VectorIterator<Value> position, const char* text);
    template <ValueScalar T>
    VectorIterator<Value> insert(VectorIterator<Value> position, T scalar) {
        return insert(position, from_scalar(scalar));
    }

    Vector<Value> get_vector();
    Vector<const Value> get_vector() const;
    /// @}

    /// @name Reading
    /// Numbers, Bool and texts turn into each other: a Double saturates and NaN is 0, a text is read as a whole, times
    /// count as nanoseconds. Everything else gives 0, false or "". A text is true when it is "true" or a number but 0.
    /// @{

    bool get_bool() const noexcept;
    std::int32_t get_int32() const noexcept;
    std::int64_t get_int64() const noexcept;
    std::uint64_t get_uint64() const noexcept;
    double get_double() const noexcept;
    /// The text of a String, "" for every other type. Never null; ends at the first zero byte.
    const char* get_string() const noexcept;
    /// Of a TimeSpan, and of a number as nanoseconds.
    Timespan get_timespan() const noexcept;

    /// The object inside, to be changed in place. A Value of another type loses its content and becomes an empty one;
    /// of a const Value of another type, one shared empty object is given.
    Event& get_event();
    const Event& get_event() const noexcept;
    Message& get_message();
    const Message& get_message() const noexcept;
    Alarm& get_alarm();
    const Alarm& get_alarm() const noexcept;

    operator bool() const noexcept { return get_bool(); }            // NOLINT(google-explicit-constructor)
    operator int() const noexcept { return get_int32(); }            // NOLINT(google-explicit-constructor)
    operator long() const noexcept { return get_int64(); }           // NOLINT(google-explicit-constructor)
    operator unsigned long() const noexcept { return get_uint64(); } // NOLINT(google-explicit-constructor)
    operator double() const noexcept { return get_double(); }        // NOLINT(google-explicit-constructor)
    operator const char*() const noexcept { return get_string(); }   // NOLINT(google-explicit-constructor)
    operator Timestamp() const noexcept;                             // NOLINT(google-explicit-constructor)
    operator Timespan() const noexcept { return get_timespan(); }    // NOLINT(google-explicit-constructor)
    /// The bytes of a Binary or of a String, else none.
    operator Binary() const noexcept;                                  // NOLINT(google-explicit-constructor)
    operator Message&() { return get_message(); }                      // NOLINT(google-explicit-constructor)
    operator const Message&() const noexcept { return get_message(); } // NOLINT(google-explicit-constructor)
    operator Alarm&() { return get_alarm(); }                          // NOLINT(google-explicit-constructor)
    operator const Alarm&() const noexcept { return get_alarm(); }     // NOLINT(google-explicit-constructor)
    /// @}

    /// @name Writing
    /// Replaces content and type: `long` gives Int64, `unsigned long` UInt64.
    /// @{
    void set(bool boolean) noexcept;
    void set(int number) noexcept;
    void set(long number) noexcept;
    void set(unsigned long number) noexcept;
    void set(double number) noexcept;
    void set(const char* text);
    void set(const Timestamp& time) noexcept;
    void set(const Timespan& span) noexcept;
    void set(const Binary& bytes);
    void set(const Message& message);
    void set(const Alarm& alarm);
    /// @}

private:
    friend struct ValueAccess;

    static constexpr std::size_t inline_limit = 15;

    /// Where the content lies; `Shared` is a tree on the heap that other Values may hold too.
    enum class Storage : std::uint8_t { Inside, Heap, Shared };

    bool on_heap() const noexcept { return storage_ != Storage::Inside; }
    /// To come before anything through which the content could be changed.
    void own() {
        if (storage_ == Storage::Shared) [[unlikely]] {
            unshare();
        }
    }
    [[gnu::cold]] void unshare();
    [[gnu::cold]] Iterator<Value> unshare_and_find(const char* name);

    std::size_t element_count() const noexcept {
        return type_ == ValueType::Vector && on_heap() ? payload_.heap.block->size : 0;
    }
    /// Null when there are none.
    Value* elements() const noexcept {
        return type_ == ValueType::Vector && on_heap() ? reinterpret_cast<Value*>(payload_.heap.block + 1) : nullptr;
    }
    Iterator<Value> first_member() const noexcept {
        return owns_members() ? Iterator<Value>::first_of(payload_.heap.block) : Iterator<Value>();
    }
    struct Found {
        Layout::Block* run = nullptr;
        Layout::Member<Value>* member = nullptr; ///< null when there is none
    };
    static const Value& shared_null() noexcept;
    /// A long name, or one in several runs.
    [[gnu::noinline]] Found look_up_long(const char* name) const noexcept;
    /// Of names that the compiler knows nothing is read.
    [[gnu::always_inline]] Found look_up(const char* name) const noexcept {
        if (!owns_members()) {
            return {};
        }
        const Layout::NameKey key(name);
        return payload_.heap.index == nullptr && !key.is_long() ? look_up_short(key) : look_up_long(name);
    }
    /// The key's text may lie in this Value.
    Value& member(const Layout::NameKey& key);
    Iterator<Value> insert_member(const Layout::NameKey& key, Value&& value);
    Iterator<Value> insert_or_update_member(const Layout::NameKey& key, Value&& value);
    [[gnu::always_inline]] bool owns_members() const noexcept {
        return (type_ == ValueType::Map || type_ == ValueType::Struct) && on_heap();
    }
    /// In a single run, with the words of the name in registers.
    [[gnu::always_inline]] Found look_up_short(const Layout::NameKey& key) const noexcept {
        Layout::Block* run = payload_.heap.block;
        const auto has_name = [&key](const Layout::MemberName& name) __attribute__((always_inline)) {
            return Layout::has_name(name, key.words);
        };
        return {run, Layout::search_run<Value>(run, key.tag(), has_name)};
    }

    template <class T>
    static Value from_scalar(const T& scalar) {
        Value value;
        value.set(scalar);
        return value;
    }
    static int compare(const Value& left, const Value& right);
    void copy(const Value& other);
    void release() noexcept;
    void take_bytes(const Value& other) noexcept { std::memcpy(static_cast<void*>(this), &other, sizeof *this); }
    void take(Value& other) noexcept {
        take_bytes(other);
        other.type_ = ValueType::Null;
        other.storage_ = Storage::Inside;
    }

    /// What lies on the heap is one block, or for a Map or Struct a chain of runs, with an index once there are
    /// several.
    union Payload {
        bool boolean;
        std::int32_t int32;
        std::int64_t int64 = 0; ///< DateTime and TimeSpan too
        std::uint64_t uint64;
        double real;
        char bytes[inline_limit + 1]; ///< a short text with its zero, or a short Binary
        struct {
            Layout::Block* block;
            Layout::MemberIndex* index;
        } heap;
    };

    Payload payload_;
    ValueType type_ = ValueType::Null;
    Storage storage_ = Storage::Inside;
    std::uint8_t inline_size_ = 0;
};

static_assert(sizeof(Value) == 24);

/// A Value seen as a Map: what `get_map` gives. It holds as long as the Value does.
template <class T>
class Map {
public:
    explicit Map(T& value) noexcept : value_(&value) {}

    /// As the Value's own `operator[]`.
    T& get(const char* name) const { return (*value_)[name]; }
    Iterator<T> find(const char* name) const { return value_->find(name); }
    Iterator<T> begin() const { return value_->begin(); }
    Iterator<T> end() const { return value_->end(); }
    std::size_t size() const noexcept { return empty() ? 0 : value_->size(); }
    bool empty() const noexcept { return std::as_const(*value_).begin() == std::as_const(*value_).end(); }

private:
    T* value_;
};

/// A Value seen as a Vector: what `get_vector` gives. It holds as long as the Value does.
template <class T>
class Vector {
public:
    explicit Vector(T& value) noexcept : value_(&value) {}

    /// As the Value's own `operator[]`.
    T& get(unsigned long index) const { return (*value_)[index]; }
    VectorIterator<T> begin() const { return value_->begin_vector(); }
    VectorIterator<T> end() const { return value_->end_vector(); }
    std::size_t size() const noexcept { return value_->type() == ValueType::Vector ? value_->size() : 0; }
    bool empty() const noexcept { return size() == 0; }

private:
    T* value_;
};

inline Map<Value> Value::get_map() {
    if (type_ != ValueType::Map && type_ != ValueType::Struct) {
        set_type(ValueType::Map);
    }
    return Map<Value>(*this);
}

inline Map<const Value> Value::get_map() const {
    return Map<const Value>(*this);
}

inline Vector<Value> Value::get_vector() {
    return Vector<Value>(set_type(ValueType::Vector));
}

inline Vector<const Value> Value::get_vector() const {
    return Vector<const Value>(*this);
}

} // namespace ZoHmiSrv
