#pragma once

#include "extension/host/value.h"
#include "platform/server_api/blocks.h"
#include "platform/server_api/member_names.h"

#include <cstddef>
#include <cstring>

namespace ZoHmiSrv {

using Layout::Block;
using Layout::MemberIndex;
using Layout::NameKey;
using MapMember = Layout::Member<Value>;

inline MapMember* members_of(Block* run) noexcept {
    return Layout::members_of<Value>(run);
}
inline unsigned char* tags_of(Block* run) noexcept {
    return Layout::tags_of<Value>(run);
}
inline Value* elements_of(Block* block) noexcept {
    return reinterpret_cast<Value*>(block + 1);
}

/// Access to the private parts of a Value, for the library's own files. Values and members move as plain bytes.
struct ValueAccess {
    /// The place of a member in a Map, or the place for a new member. `ordinal` is the place of the run in the index.
    struct Place {
        Block* run = nullptr;
        std::size_t at = 0;
        std::size_t ordinal = 0;
        bool found = false;
    };

    static bool is_map(const Value& value) noexcept {
        return value.type_ == ValueType::Map || value.type_ == ValueType::Struct;
    }
    static bool on_heap(const Value& value) noexcept { return value.on_heap(); }
    static void make_unshared(Value& value) { value.make_unshared(); }
    static bool is_shared(const Value& value) noexcept { return value.storage_ == Value::Storage::Shared; }
    /// The only or first block, or null.
    static Block* block(const Value& value) noexcept { return value.on_heap() ? value.payload_.heap.block : nullptr; }
    static MemberIndex* index(const Value& value) noexcept {
        return value.on_heap() ? value.payload_.heap.index : nullptr;
    }
    /// Makes a Value the owner of blocks. Requires a Value that owns nothing.
    static void attach(Value& value, ValueType type, Block* block, MemberIndex* index = nullptr) noexcept {
        value.payload_.heap = {block, index};
        value.type_ = type;
        value.storage_ = Value::Storage::Heap;
    }
    /// Drops the content without freeing it. The type stays.
    static void detach(Value& value) noexcept {
        value.payload_.int64 = 0;
        value.storage_ = Value::Storage::Inside;
        value.inline_size_ = 0;
    }
    static void replace_block(Value& value, Block* block) noexcept { value.payload_.heap.block = block; }
    static void replace_index(Value& value, MemberIndex* index) noexcept { value.payload_.heap.index = index; }

    /// @name Text and Binary
    static Value make_bytes(ValueType type, const void* data, std::size_t size);
    static const char* bytes(const Value& value) noexcept;
    static std::size_t bytes_size(const Value& value) noexcept;

    /// @name Members
    static std::size_t member_count(const Value& map) noexcept;
    static Block* allocate_run(std::size_t capacity);
    /// Returns the member's place, or a place that is not `found`.
    static Place find(const Value& map, const NameKey& key) noexcept;
    /// Returns the member's place, or the place for a new member of that name. Quick for a name that follows the last
    /// one.
    static Place locate(const Value& map, const NameKey& key) noexcept;
    /// Inserts a member at the result of `locate`. Strong guarantee: a failed allocation changes nothing.
    static Value& emplace(Value& map, Place& place, const NameKey& key, Value& value);
    static Iterator<Value> erase(Value& map, Place place) noexcept;
    static void reserve_members(Value& map, std::size_t count);
    static Iterator<Value> iterator(Block* run, MapMember* member) noexcept { return Iterator<Value>(run, member); }
    static Iterator<Value> first_of(Block* run) noexcept { return Iterator<Value>::first_of(run); }
    static Block* run_of(Iterator<Value> position) noexcept { return position.run_; }
    static MapMember* member_at(Iterator<Value> position) noexcept { return position.at_; }

    /// @name Elements
    /// Room for one more element at `at`, as raw memory that the caller fills. The count includes the element.
    static void* open_gap(Value& vector, std::size_t at);
    static void reserve_elements(Value& vector, std::size_t count);

    /// @name Events
    template <class T>
    static T& boxed(const Value& value) noexcept {
        return *reinterpret_cast<T*>(block(value) + 1);
    }
    template <class T>
    static T& make_box(Value& value);
    /// The Value inside a boxed Event, Message or Alarm.
    static Value& inner(Block* box) noexcept;
    /// Compares the boxed objects without the Values inside: -1, 0 or 1.
    static int compare_shell(Block* left, Block* right) noexcept;
    /// Returns a copy of the box with a Null inside.
    static Block* copy_shell(Block* box);
    static void destroy_shell(Block* box) noexcept;

    /// @name Trees
    /// Copies a Value that needs no new block into raw memory: one without heap content, with bytes, or with a shared
    /// tree. Returns false for all others, and changes nothing.
    static bool copy_plain(const Value& from, void* to) noexcept {
        if (from.on_heap()) {
            const bool shares = block(from)->kind == Layout::Bytes || is_shared(from);
            if (!shares || !Layout::share(block(from))) return false;
        }
        static_cast<Value*>(to)->take_bytes(from);
        return true;
    }
    /// Copies the content into new blocks of a Null. Strong guarantee.
    static void copy(const Value& from, Value& to);
    static void release(Value& value) noexcept;

    static Value& null_value() noexcept;

private:
    static void grow_run(Value& map, Place& place, std::size_t capacity);
    static void split_run(Value& map, Place& place);
};

} // namespace ZoHmiSrv
