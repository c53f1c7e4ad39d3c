#pragma once

#include "simulator/verbs.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zo_sim {

/// The plan for one request.
struct RequestPlan {
    std::optional<std::uint32_t> code; // the answer is this code
    std::int64_t delay = 0;            // milliseconds
    bool truncate = false;
    std::uint32_t missing = 0;                       // bytes fewer than asked for
    std::uint32_t extra = 0;                         // bytes more than asked for
    std::optional<std::vector<std::uint8_t>> bytes;  // replaces the answer's data
    std::vector<std::shared_ptr<const Verb>> before; // run before the answer
    std::vector<std::shared_ptr<const Verb>> after;  // run after the answer
};

/// The properties of a request that plans distinguish.
struct RequestKind {
    std::string operation;
    std::optional<std::int32_t> language;
    std::optional<std::uint32_t> group;
};

/// The planned faults of `fail`, `slow`, `truncate`, `short`, `long`, `replace`, `during` and `after`. [one thread at a
/// time]
class Plans {
public:
    /// Adds one of these verbs. `normal` removes the verbs of its operation, language and group.
    void add(const Verb& verb);

    /// Returns the plan for a request, and counts the request on verbs with a limited number of requests. If several
    /// codes are planned, the oldest one is used and the others wait. Delays add up.
    RequestPlan take(const RequestKind& request);

private:
    std::vector<Verb> verbs_; // `count` is the number of remaining requests, 0 for all
};

} // namespace zo_sim
