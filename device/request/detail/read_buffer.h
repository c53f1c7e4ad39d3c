#pragma once

#include <cstdint>
#include <limits>
#include <new>
#include <optional>
#include <vector>

namespace ZoHmiFdx {

/// Returns a buffer of `size` zeros for a read. Empty if the size exceeds 32 bits or memory runs out.
inline std::optional<std::vector<unsigned char>> read_buffer(std::uint64_t size) {
    if (size > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
    try {
        return std::vector<unsigned char>(size);
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

} // namespace ZoHmiFdx
