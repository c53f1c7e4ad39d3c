#include "platform/server_api/blocks.h"

#include <atomic>
#include <limits>
#include <new>

namespace ZoHmiSrv::Layout {

Block* allocate(BlockKind kind, std::size_t capacity, std::size_t element, std::size_t extra) {
    const std::size_t most = std::numeric_limits<std::ptrdiff_t>::max() - sizeof(Block) - extra;
    if (capacity > most / element) {
        throw std::bad_array_new_length();
    }
    void* memory = ::operator new(sizeof(Block) + capacity * element + extra);
    return new (memory) Block{nullptr, 0, capacity, kind, 1};
}

void deallocate(Block* block) noexcept {
    ::operator delete(block);
}

void share_bytes(Block* block) noexcept {
    std::atomic_ref(block->capacity).fetch_add(1, std::memory_order_relaxed);
}

void release_bytes(Block* block) noexcept {
    // Nobody can join the last owner, which spares it the dearer operation.
    std::atomic_ref owners(block->capacity);
    if (owners.load(std::memory_order_acquire) == 1 || owners.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        deallocate(block);
    }
}

bool share_tree(Block* block) noexcept {
    constexpr std::uint32_t most = std::numeric_limits<std::uint32_t>::max() / 2; // far from where it would wrap
    std::atomic_ref owners(block->owners);
    if (owners.fetch_add(1, std::memory_order_relaxed) < most) {
        return true;
    }
    owners.fetch_sub(1, std::memory_order_relaxed);
    return false;
}

bool release_tree(Block* block) noexcept {
    return is_sole_owner(block) || std::atomic_ref(block->owners).fetch_sub(1, std::memory_order_acq_rel) == 1;
}

bool is_sole_owner(Block* block) noexcept {
    return std::atomic_ref(block->owners).load(std::memory_order_acquire) == 1;
}

} // namespace ZoHmiSrv::Layout
