#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace ZoHmiFdx {

/// The item numbers of all requests, in the order of the requests.
struct Packing {
    std::vector<std::size_t> numbers;
    std::vector<std::size_t> ends; ///< the end of each request in `numbers`
};

/// Packs items of these sizes into few requests, each of at most `max_items` items and `max_bytes` bytes. Requires that
/// no size exceeds `max_bytes` and that both limits are above 0. Takes n log n time.
Packing pack_reads(std::span<const std::uint64_t> sizes, std::uint64_t max_items, std::uint64_t max_bytes);

} // namespace ZoHmiFdx
