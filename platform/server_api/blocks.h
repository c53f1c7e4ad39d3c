#pragma once

#include "extension/host/iterator.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ZoHmiSrv::Layout {

/// The content behind the head of a block: `size` bytes, Values or members, or one object.
enum BlockKind : std::uint32_t { Bytes, Elements, Members, EventBox, MessageBox, AlarmBox };

/// Returns a block with room for `capacity` items of `element` bytes, and for `extra` bytes. It has no items and one
/// owner. Throws `std::bad_alloc`, also for a size that overflows.
Block* allocate(BlockKind kind, std::size_t capacity, std::size_t element, std::size_t extra = 0);

/// Frees the memory. The caller destroys the items first.
void deallocate(Block* block) noexcept;

/// @name Owners of bytes, and of a tree by its first block
/// @{

/// Adds an owner. Returns false, with nothing changed, if the count is full.
bool share(Block* block) noexcept;
/// Removes an owner. True for the last owner, which must destroy the content.
bool release(Block* block) noexcept;
bool is_sole_owner(Block* block) noexcept;
/// @}

inline char* bytes_of(Block* block) noexcept {
    return reinterpret_cast<char*>(block + 1);
}

/// The maximum of members in a run. A Map with more members is a chain of runs in name order. An insertion moves at
/// most this many members, and a look-up finds its run through the index.
inline constexpr std::size_t run_limit = 128;

/// The runs of a Map in name order. A Map with one run has no index.
struct MemberIndex {
    std::size_t total = 0;
    std::vector<Block*> runs;
};

} // namespace ZoHmiSrv::Layout
