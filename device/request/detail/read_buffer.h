#pragma once

#include <cstdint>
#include <limits>
#include <new>
#include <optional>
#include <vector>

namespace ZoHmiFdx {

/// Zeros to read into; empty when a request cannot ask for so many bytes, or when they cannot be allocated.
inline std::optional<std::vector<unsigned char>> read_buffer(std::uint64_t size) {
    if (size > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
    try {
        return std::vector<unsigned char>(size);
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

} // namespace ZoHmiFdx
