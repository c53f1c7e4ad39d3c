#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace ZoHmiFdx {

/// Item numbers, request by request.
struct Packing {
    std::vector<std::size_t> numbers;
    std::vector<std::size_t> ends; ///< of each request, in `numbers`
};

/// Packs items of these sizes into as few requests as two limits allow: `max_items` items and `max_bytes` bytes each.
/// No size exceeds `max_bytes`; both limits are above 0. Takes n log n time.
Packing pack_reads(std::span<const std::uint64_t> sizes, std::uint64_t max_items, std::uint64_t max_bytes);

} // namespace ZoHmiFdx
