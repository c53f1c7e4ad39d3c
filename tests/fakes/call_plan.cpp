#include "tests/fakes/call_plan.h"

#include "tests/fakes/call_log.h"

#include <stdexcept>

namespace fakes {

void CallPlan::answer(std::string_view call, HRESULT code, unsigned nth) {
    add(call, nth, {}, code);
}

void CallPlan::answer_any(HRESULT code, std::size_t nth) {
    const std::lock_guard lock(mutex_);
    until_any_ = nth;
    any_code_ = code;
    answered_.clear();
}

std::string CallPlan::answered() const {
    const std::lock_guard lock(mutex_);
    return answered_;
}

void CallPlan::run(std::string_view call, std::function<void()> hook, unsigned nth) {
    add(call, nth, std::move(hook), {});
}

void CallPlan::throw_error(std::string_view call, std::string text, unsigned nth) {
    add(call, nth, [text = std::move(text)] { throw std::runtime_error(text); }, {});
}

void CallPlan::throw_foreign(std::string_view call, unsigned nth) {
    add(call, nth, [] { throw 42; }, {});
}

std::shared_ptr<Block> CallPlan::block(std::string_view call, unsigned nth) {
    auto block = std::make_shared<Block>();
    add(call, nth, [block] { block->hold(); }, {});
    const std::lock_guard lock(mutex_);
    blocks_.push_back(block);
    return block;
}

void CallPlan::clear() {
    const std::lock_guard lock(mutex_);
    rules_.clear();
    until_any_ = 0;
    for (const auto& block : blocks_)
        block->release();
    blocks_.clear();
}

std::size_t CallPlan::count(std::string_view call) const {
    const std::lock_guard lock(mutex_);
    const auto found = counts_.find(call);
    return found == counts_.end() ? 0 : found->second;
}

void CallPlan::log_reads(bool on) {
    const std::lock_guard lock(mutex_);
    log_reads_ = on;
}

std::optional<HRESULT> CallPlan::enter(std::string_view call, bool is_read) {
    std::vector<Rule> due;
    std::optional<HRESULT> answer;
    {
        const std::lock_guard lock(mutex_);
        const std::size_t number = ++counts_[std::string(call)];
        if (!is_read || log_reads_) call_log().add(name_.empty() ? std::string(call) : name_ + "." + std::string(call));
        if (until_any_ != 0 && --until_any_ == 0) {
            answered_ = call;
            answer = any_code_;
        }
        const auto [first, last] = rules_.equal_range(call);
        for (auto rule = first; rule != last; ++rule)
            if (rule->second.number == each || rule->second.number == number) due.push_back(rule->second);
    }
    for (const Rule& rule : due) {
        if (rule.hook) rule.hook();
        if (rule.code) answer = rule.code;
    }
    return answer;
}

void CallPlan::add(std::string_view call, unsigned nth, std::function<void()> hook, std::optional<HRESULT> code) {
    const std::lock_guard lock(mutex_);
    const auto found = counts_.find(call);
    const std::size_t before = found == counts_.end() ? 0 : found->second;
    rules_.emplace(std::string(call), Rule{nth == each ? each : before + nth, std::move(hook), code});
}

} // namespace fakes
