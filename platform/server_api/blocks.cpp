#include "platform/server_api/blocks.h"

#include <limits>
#include <new>

namespace ZoHmiSrv::Layout {

Block* allocate(BlockKind kind, std::size_t capacity, std::size_t element, std::size_t extra) {
    const std::size_t most = std::numeric_limits<std::ptrdiff_t>::max() - sizeof(Block) - extra;
    if (capacity > most / element) {
        throw std::bad_array_new_length();
    }
    void* memory = ::operator new(sizeof(Block) + capacity * element + extra);
    return new (memory) Block{nullptr, 0, capacity, kind};
}

void deallocate(Block* block) noexcept {
    ::operator delete(block);
}

} // namespace ZoHmiSrv::Layout
