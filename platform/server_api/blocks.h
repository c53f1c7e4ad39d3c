#pragma once

#include "extension/host/iterator.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ZoHmiSrv::Layout {

/// What follows the head of a block: `size` bytes, Values, members, or one object.
enum BlockKind : std::uint32_t { Bytes, Elements, Members, EventBox, MessageBox, AlarmBox };

/// A block with room for `capacity` things of `element` bytes and `extra` bytes more; nothing in use. Throws
/// `std::bad_alloc`, also for a size that no memory has.
Block* allocate(BlockKind kind, std::size_t capacity, std::size_t element, std::size_t extra = 0);

/// Gives back the memory alone.
void deallocate(Block* block) noexcept;

/// @name Bytes
/// Made by `allocate` for one value; copies of the value share them. The last of them to let go gives back the memory.
/// @{
void share_bytes(Block* block) noexcept;
void release_bytes(Block* block) noexcept;

inline char* bytes_of(Block* block) noexcept {
    return reinterpret_cast<char*>(block + 1);
}
/// @}

/// @name Trees
/// What a Value shares by `share`: counted in its first block. `share_tree` is false, with nothing done, when the count
/// is full; `release_tree` is true for the last owner, whose tree it is again.
/// @{
bool share_tree(Block* block) noexcept;
bool release_tree(Block* block) noexcept;
bool is_sole_owner(Block* block) noexcept;
/// @}

/// A run of members never grows beyond this: a Map with more of them is a chain of runs in name order, so that an
/// insertion moves at most this many members, and a look-up finds its run through the index.
inline constexpr std::size_t run_limit = 128;

/// The runs of a Map in name order. There is one from the second run on.
struct MemberIndex {
    std::size_t total = 0;
    std::vector<Block*> runs;
};

} // namespace ZoHmiSrv::Layout
