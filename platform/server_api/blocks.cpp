#include "platform/server_api/blocks.h"

#include <atomic>
#include <limits>
#include <new>

namespace ZoHmiSrv::Layout {

Block* allocate(BlockKind kind, std::size_t capacity, std::size_t element, std::size_t extra) {
    const std::size_t maximum = std::numeric_limits<std::ptrdiff_t>::max() - sizeof(Block) - extra;
    if (capacity > maximum / element) throw std::bad_array_new_length();
    void* memory = ::operator new(sizeof(Block) + capacity * element + extra);
    return new (memory) Block{nullptr, 0, capacity, kind, 1};
}

void deallocate(Block* block) noexcept {
    ::operator delete(block);
}

bool share(Block* block) noexcept {
    // The maximum is half of the range: threads that add owners at the same time cannot wrap the count.
    constexpr std::uint32_t maximum = std::numeric_limits<std::uint32_t>::max() / 2;
    std::atomic_ref owners(block->owners);
    if (owners.fetch_add(1, std::memory_order_relaxed) < maximum) return true;
    owners.fetch_sub(1, std::memory_order_relaxed);
    return false;
}

bool release(Block* block) noexcept {
    // Only owners add owners, so a sole owner needs no atomic subtraction.
    return is_sole_owner(block) || std::atomic_ref(block->owners).fetch_sub(1, std::memory_order_acq_rel) == 1;
}

bool is_sole_owner(Block* block) noexcept {
    return std::atomic_ref(block->owners).load(std::memory_order_acquire) == 1;
}

} // namespace ZoHmiSrv::Layout
