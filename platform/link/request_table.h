#pragma once

#include "platform/link/connection.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <vector>

#include <nlohmann/json.hpp>

namespace zo_link {

/// The requests of one connection that wait for their answers. The connection's mutex guards the whole table. Inside
/// platform/link only. [mutex held]
class RequestTable {
public:
    std::uint32_t next_id() { return ++last_id_; }
    void add(std::uint32_t id) { pending_[id]; }

    bool full() const { return pending_.size() >= max_outstanding_requests; }
    /// Returns whether the table is full and all its requests have timed out. Then no answer frees a place.
    bool exhausted() const;

    /// Takes an answer, or one part of a list, of `size` bytes. Returns false if the answer breaks the protocol.
    bool take(std::uint32_t id, std::uint32_t result, nlohmann::json& map, std::size_t size, std::uint64_t mark);

    /// Blocks until the request has its answer, then removes the request. After the deadline, returns code::timeout and
    /// keeps the request as abandoned. The target counts it until its late answer arrives.
    Reply wait(std::unique_lock<std::mutex>& lock, std::uint32_t id, std::chrono::steady_clock::time_point deadline);

    /// Answers all waiting requests with `result`.
    void end(std::uint32_t result);

private:
    struct Pending {
        bool done = false;
        bool abandoned = false;
        Reply reply;
        std::vector<nlohmann::json> items; // of the parts so far
        std::size_t bytes = 0;             // of the frames of these parts
    };

    std::map<std::uint32_t, Pending> pending_;
    std::uint32_t last_id_ = 0;
    std::condition_variable answered_;
};

} // namespace zo_link
