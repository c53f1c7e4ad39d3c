#pragma once

#include "extension/host/binary.h"
#include "extension/host/detail/value_layout.h"
#include "extension/host/detail/value_scalars.h"
#include "extension/host/export.h"
#include "extension/host/iterator.h"
#include "extension/host/map.h"
#include "extension/host/timestamp.h"
#include "extension/host/value_type.h"
#include "extension/host/vector.h"

#include <cstddef>
#include <cstdint>

namespace ZoHmiSrv {

class Alarm;
class Event;
class Message;

/// The variant that carries all data between server and extension.
///
/// A Value owns its content. Copies share long texts, Binary, and the trees of `share`; an operation that writes copies
/// shared content first. Several threads may read one Value at once. A thread that writes needs the Value for itself.
/// [any thread]
///
/// References, iterators, texts and binary views of a Value are valid until the Value, or the container around it, is
/// written, moved or destroyed. In a Value that shares a tree, each non-const access counts as a write. An insertion
/// may move all members and elements of the container.
///
/// Moves never allocate or throw. Copies throw `std::bad_alloc` and then leave the target unchanged. Destruction, copy
/// and comparison take any depth. Requires: no swap of a Value with a part of itself, and no Value passed as an rvalue
/// to its own operation.
///
/// A Map and a Struct order their members by the bytes of the names. An operation on a Value of another type never
/// fails. Reads return 0, "", false, an empty range or a shared Null. Writes first turn the Value into an empty Value
/// of the type that they need.
class ZOHMISRV_API Value {
public:
    Value() noexcept {}
    Value(bool boolean) noexcept;
    template <Layout::NotText T>
    Value(T* pointer) = delete; ///< a pointer would count as true
    Value(int number) noexcept;
    Value(double number) noexcept;
    Value(const char* text); ///< null counts as ""
    Value(const Timestamp& time) noexcept;
    Value(const Event& event);
    Value(const Value& other);
    Value(Value&& other) noexcept;
    ~Value();

    /// The right side is copied or moved before the left side is evaluated. So `v["new"] = v["old"]` is safe. `v["x"] =
    /// std::move(v)` puts the old content into the new member.
    Value& operator=(Value other) noexcept;
    Value& operator=(const Event& event);
    void swap(Value& other) noexcept;

    /// By content. Values of different types differ, also 1 and 1.0. NaN equals itself.
    friend bool operator==(const Value& left, const Value& right) { return compare(left, right) == 0; }
    /// A total order: by the number of the type, then by content. NaN follows all numbers.
    friend bool operator<(const Value& left, const Value& right) { return compare(left, right) < 0; }

    ValueType type() const noexcept { return type_; }
    /// Keeps the content if the type is unchanged, and between Map and Struct. Any other change empties the Value.
    /// Returns the Value.
    Value& set_type(ValueType type);
    /// Converts the content to another type; content that cannot be converted gives an empty value of that type. Text
    /// to a number reads the whole text, a number gives its shortest text. Text and Binary convert by base64 with
    /// padding; invalid text gives no bytes. Times are nanoseconds as numbers. As text a DateTime is ISO 8601 in UTC,
    /// a TimeSpan the number.
    Value& convert(ValueType type);

    bool isset() const noexcept { return type_ != ValueType::Null; } ///< false for Null
    /// True for Null, and for a text, Binary, Vector, Map or Struct of size 0.
    bool empty() const noexcept { return size() == 0; }
    /// Elements, members or bytes; 0 for Null, 1 for all other types.
    std::size_t size() const noexcept;
    void clear() noexcept; ///< the type stays
    /// Makes room for elements or members. Requires a checked count. The copy of a Map or Struct keeps at most four
    /// free places.
    void reserve(std::size_t count);
    void resize(std::size_t count, const Value& fill); ///< of a Vector

    /// @name Map and Struct. A null name counts as "".
    /// @{
    const Value& operator[](const char* name) const noexcept; ///< returns the member, or a shared Null
    Value& operator[](const char* name);                      ///< inserts a missing member as Null
    ConstIterator<Value> find(const char* name) const noexcept;
    Iterator<Value> find(const char* name);
    ConstIterator<Value> begin() const noexcept { return first_member(); }
    ConstIterator<Value> end() const noexcept { return {}; }
    Iterator<Value> begin();
    Iterator<Value> end() noexcept { return {}; }
    /// Inserts a member, and leaves an existing member unchanged. Returns the member of that name in both cases.
    Iterator<Value> insert(const char* name, const Value& value);
    Iterator<Value> insert(const char* name, Value&& value);
    template <Layout::MemberScalar T>
    Iterator<Value> insert(const char* name, T scalar);
    /// Inserts a member, or replaces the value of an existing member. Returns the member.
    Iterator<Value> insert_or_update(const char* name, const Value& value);
    Iterator<Value> insert_or_update(const char* name, Value&& value);
    template <Layout::UpdateScalar T>
    Iterator<Value> insert_or_update(const char* name, T scalar);
    /// Removes the member and returns the next position. `end()` stays unchanged.
    Iterator<Value> remove(Iterator<Value> position) noexcept;
    Map<Value> get_map();
    /// @}

    /// @name Vector
    /// @{
    Value& operator<<(const Value& value); ///< appends; returns the Vector
    Value& operator<<(Value&& value);
    const Value& operator[](unsigned long index) const noexcept; ///< returns the element, or a shared Null
    Value& operator[](unsigned long index);                      ///< fills with Nulls; requires a checked index
    ConstVectorIterator<Value> find(unsigned long index) const noexcept;
    VectorIterator<Value> find(unsigned long index);
    ConstVectorIterator<Value> begin_vector() const noexcept;
    ConstVectorIterator<Value> end_vector() const noexcept;
    VectorIterator<Value> begin_vector();
    VectorIterator<Value> end_vector();
    /// Inserts before a position of this Vector. Returns the position of the new element.
    VectorIterator<Value> insert(VectorIterator<Value> position, const Value& value);
    VectorIterator<Value> insert(VectorIterator<Value> position, Value&& value);
    template <Layout::ElementScalar T>
    VectorIterator<Value> insert(VectorIterator<Value> position, T scalar);
    Vector<Value> get_vector();
    /// @}

    /// @name Reading
    /// Numbers, Bool and texts convert to each other: a Double saturates, NaN is 0, a text is read as a whole, times
    /// count as nanoseconds. All other types give 0, false or "". A text is true if it is "true" or a number but 0.
    /// @{
    bool get_bool() const noexcept;
    std::int32_t get_int32() const noexcept;
    std::int64_t get_int64() const noexcept;
    std::uint64_t get_uint64() const noexcept;
    double get_double() const noexcept;
    const char* get_string() const noexcept; ///< never null; "" for all types but String; ends at the first zero byte
    Timespan get_timespan() const noexcept;  ///< a number counts as nanoseconds
    /// Returns the object inside, which may be changed in place. A Value of another type first becomes an empty one.
    /// Of a const Value of another type: returns one shared empty object.
    Event& get_event();
    const Event& get_event() const noexcept;
    Message& get_message();
    const Message& get_message() const noexcept;
    Alarm& get_alarm();
    const Alarm& get_alarm() const noexcept;
    operator bool() const noexcept { return get_bool(); }
    operator int() const noexcept { return get_int32(); }
    operator long() const noexcept { return get_int64(); }
    operator unsigned long() const noexcept { return get_uint64(); }
    operator double() const noexcept { return get_double(); }
    operator const char*() const noexcept { return get_string(); }
    operator Timestamp() const noexcept;
    operator Timespan() const noexcept { return get_timespan(); }
    operator Binary() const noexcept; ///< the bytes of a Binary or of a String
    operator Message&() { return get_message(); }
    operator Alarm&() { return get_alarm(); }
    /// @}

    /// @name Writing: replaces content and type
    /// @{
    void set(bool boolean) noexcept;
    void set(int number) noexcept;
    void set(long number) noexcept;          ///< Int64
    void set(unsigned long number) noexcept; ///< UInt64
    void set(double number) noexcept;
    void set(const char* text);
    void set(const Timestamp& time) noexcept;
    void set(const Timespan& span) noexcept;
    void set(const Binary& bytes);
    void set(const Message& message);
    void set(const Alarm& alarm);
    /// @}

#ifndef ZOHMISRV_WITHOUT_EXTRAS
    /// From now on copies share the content of this Vector, Map or Struct, of any size. The first write to one of them
    /// makes its own copy. For trees that are copied often and written seldom. Ends the validity of references into the
    /// Value. Does nothing for other types. Returns the Value.
    Value& share() noexcept;

    /// @name Overloads for other integers as index, scalars to append, and const Values
    /// @{
    template <Layout::Index T>
    const Value& operator[](T index) const noexcept;
    template <Layout::Index T>
    Value& operator[](T index);
    template <Layout::Index T>
    ConstVectorIterator<Value> find(T index) const noexcept;
    template <Layout::Index T>
    VectorIterator<Value> find(T index);
    template <Layout::AppendScalar T>
    Value& operator<<(T scalar);
    Map<const Value> get_map() const;
    Vector<const Value> get_vector() const;
    operator const Message&() const noexcept;
    operator const Alarm&() const noexcept;
    /// @}
#endif

private:
    friend struct ValueAccess;

    /// `Shared` is a tree on the heap that several Values may own.
    enum class Storage : std::uint8_t { Inside, Heap, Shared };
    using Found = Layout::FoundMember<Value>;

    static int compare(const Value& left, const Value& right);
    static const Value& shared_null() noexcept;
    template <class T>
    static Value from_scalar(const T& scalar);

    bool on_heap() const noexcept;
    bool has_members() const noexcept;
    std::size_t element_count() const noexcept;
    Value* elements() const noexcept;
    Iterator<Value> first_member() const noexcept;
    Found look_up(const char* name) const noexcept;
    Found look_up_short(const Layout::NameKey& key) const noexcept;
    Found look_up_long(const char* name) const noexcept;
    Value& member(const Layout::NameKey& key);
    Iterator<Value> insert_member(const Layout::NameKey& key, Value&& value);
    Iterator<Value> insert_or_update_member(const Layout::NameKey& key, Value&& value);
    void make_unshared();
    [[gnu::cold]] void unshare();
    [[gnu::cold]] Iterator<Value> unshare_and_find(const char* name);
    void copy(const Value& other);
    void release() noexcept;
    void take_bytes(const Value& other) noexcept;
    void take(Value& other) noexcept;

    Layout::Payload payload_;
    ValueType type_ = ValueType::Null;
    Storage storage_ = Storage::Inside;
    std::uint8_t inline_size_ = 0;
};

static_assert(sizeof(Value) == 24);

} // namespace ZoHmiSrv

#include "extension/host/detail/value_inline.h"
