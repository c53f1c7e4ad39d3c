#include "simulator/plans.h"

#include <algorithm>

namespace zo_sim {

namespace {

/// Returns whether a plan for `wanted` applies to this operation and language.
bool covers(const Verb& wanted, const std::string& operation, std::optional<std::int32_t> language) {
    if (!wanted.operation.empty() && wanted.operation != operation) return false;
    return !wanted.language || wanted.language == language;
}

} // namespace

void Plans::add(const Verb& verb) {
    if (verb.kind != VerbKind::normal) {
        verbs_.push_back(verb);
        return;
    }
    std::erase_if(verbs_, [&](const Verb& plan) { return covers(verb, plan.operation, plan.language); });
}

RequestPlan Plans::take(const std::string& operation, std::optional<std::int32_t> language) {
    RequestPlan plan;
    const auto use = [&](Verb& verb) {
        if (!covers(verb, operation, language)) return false;
        switch (verb.kind) {
        case VerbKind::fail:
            if (plan.code) return false;
            plan.code = verb.code;
            break;
        case VerbKind::slow:
            plan.delay += verb.milliseconds;
            break;
        case VerbKind::truncate:
            if (plan.truncate) return false;
            plan.truncate = true;
            break;
        case VerbKind::during:
            plan.before.push_back(verb.inner);
            break;
        default:
            plan.after.push_back(verb.inner);
            break;
        }
        return verb.count != 0 && --verb.count == 0;
    };
    // std::erase_if may move elements around its predicate, which must not change them.
    std::vector<Verb> left;
    for (Verb& verb : verbs_)
        if (!use(verb)) left.push_back(std::move(verb));
    verbs_ = std::move(left);
    return plan;
}

} // namespace zo_sim
