#pragma once

#include <cstdint>
#include <limits>

namespace ZoHmiFdx {

/// The limits of one request to a target. By default there is no limit.
struct RequestLimits {
    static constexpr std::uint64_t unlimited = std::numeric_limits<std::uint64_t>::max();

    RequestLimits() = default;
    RequestLimits(std::uint64_t response_size, std::uint64_t sum_requests, std::uint64_t new_handles)
        : response_size_limit(response_size), sum_request_limit(sum_requests),
          new_handles_per_sum_request_limit(new_handles) {}

    std::uint64_t response_size_limit = unlimited;               ///< bytes
    std::uint64_t sum_request_limit = unlimited;                 ///< sub-requests of a sum
    std::uint64_t new_handles_per_sum_request_limit = unlimited; ///< handles that one sum creates
};

} // namespace ZoHmiFdx
