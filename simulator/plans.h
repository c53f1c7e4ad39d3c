#pragma once

#include "simulator/verbs.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zo_sim {

// What is to happen with one request.
struct RequestPlan {
    std::optional<std::uint32_t> code; // answer this instead
    std::int64_t delay = 0;            // milliseconds
    bool truncate = false;
    std::vector<std::shared_ptr<const Verb>> before; // the answer
    std::vector<std::shared_ptr<const Verb>> after;
};

// The misbehaviour that `fail`, `slow`, `truncate`, `during` and `after` asked for. [one thread at a time]
class Plans {
public:
    // Keeps one of these verbs; `normal` takes back those of its operation and language.
    void add(const Verb& verb);

    // What holds for a request, which uses up those that are meant for a number of requests. Of several codes the
    // oldest wins and the others wait; delays add up.
    RequestPlan take(const std::string& operation, std::optional<std::int32_t> language);

private:
    std::vector<Verb> verbs_; // `count` is what is left, 0 for always
};

} // namespace zo_sim
