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
    std::vector<std::shared_ptr<const Verb>> before; // done before the answer
    std::vector<std::shared_ptr<const Verb>> after;  // done after the answer
};

/// The faults that `fail`, `slow`, `truncate`, `during` and `after` plan. [one thread at a time]
class Plans {
public:
    /// Adds one of these verbs; `normal` removes those of its operation and language.
    void add(const Verb& verb);

    /// Returns the plan for a request, and counts it on the verbs with a number of requests. The oldest of several
    /// codes is used and the others wait; delays add up.
    RequestPlan take(const std::string& operation, std::optional<std::int32_t> language);

private:
    std::vector<Verb> verbs_; // `count` requests are left, 0 for always
};

} // namespace zo_sim
