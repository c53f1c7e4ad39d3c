#pragma once

#include <atomic>
#include <cstdint>

namespace ZoHmiFdx {

/// State that several proxies to one runtime share. It belongs to the runtime and survives its online changes. The
/// flags change only from true to false. [any thread]
struct RuntimeConfigBaseCache {
    std::atomic<std::uint32_t> revision = 0; ///< of the last upload info that was read
    std::atomic<bool> sum_requests_supported = true;
    std::atomic<bool> write_mask_supported = true;
};

} // namespace ZoHmiFdx
