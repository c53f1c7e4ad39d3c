#pragma once

#include "device/request/request_limits.h"

#include <cstddef>
#include <cstdint>
#include <functional>

namespace ZoHmiFdx {

struct StateOptions {
    RequestLimits limits;
    int timeout_ms = 5000; ///< of each request
    /// A masked write to a target without masks fails; otherwise it goes without a mask.
    bool require_write_mask = false;
    std::uint64_t max_upload_bytes = 256u << 20; ///< of both blocks together
    std::size_t max_paths = 65536; ///< maximum of cached translations, and of paths with a handle, for each runtime
    /// Reports the bytes of an upload. The refreshing thread calls it without a lock.
    std::function<void(std::uint64_t done, std::uint64_t total)> progress;
};

} // namespace ZoHmiFdx
