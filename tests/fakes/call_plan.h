#pragma once

#include "binding/hresult.h"
#include "tests/fakes/call_log.h"
#include "tests/support/gate.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>

namespace fakes {

/// Rules that change calls of a fake. Calls have short names such as "IsConnected", "Alarm.GetTimeRaised". A rule
/// applies to the n-th call from now on, 1 being the next, or to each call. [any thread]
class CallPlan {
public:
    static constexpr unsigned each = 0;

    /// A `name` that is not empty stands before logged texts, with a point.
    explicit CallPlan(std::string name = {}) : name_(std::move(name)) {}
    ~CallPlan() { clear(); }

    /// The call returns the code, which may be a success, and leaves its out arguments null or 0.
    void answer(std::string_view call, HRESULT code, unsigned nth = each) { add(call, nth, {}, code); }
    /// As `answer` for the n-th call from now on of any name, which `answered` then returns.
    void answer_any(HRESULT code, unsigned nth) {
        answer(any_call, code, nth);
        const std::lock_guard lock(mutex_);
        answered_.clear();
    }
    [[nodiscard]] std::string answered() const {
        const std::lock_guard lock(mutex_);
        return answered_;
    }
    /// The hook runs on the calling thread before the work. Its exceptions leave the call.
    void run(std::string_view call, unsigned nth, std::function<void()> hook) { add(call, nth, std::move(hook), {}); }
    void run(std::string_view call, std::function<void()> hook) { run(call, each, std::move(hook)); }
    /// The call throws a std::runtime_error; the second form throws no standard exception.
    void throw_error(std::string_view call, std::string text, unsigned nth = each) {
        run(call, nth, [text = std::move(text)] { throw std::runtime_error(text); });
    }
    void throw_foreign(std::string_view call, unsigned nth = each) {
        run(call, nth, [] { throw 42; });
    }
    /// The call blocks until the gate is opened or the plan is cleared.
    std::shared_ptr<zo_test::Gate> block(std::string_view call, unsigned nth = each) {
        auto gate = std::make_shared<zo_test::Gate>();
        run(call, nth, [gate] { gate->wait(); });
        const std::lock_guard lock(mutex_);
        gates_.push_back(gate);
        return gate;
    }
    /// Drops all rules and opens all gates; counts stay.
    void clear() {
        const std::lock_guard lock(mutex_);
        rules_.clear();
        for (const auto& gate : gates_)
            gate->open();
        gates_.clear();
    }

    /// Returns the number of calls, planned answers included.
    [[nodiscard]] std::size_t count(std::string_view call) const {
        const std::lock_guard lock(mutex_);
        const auto found = counts_.find(call);
        return found == counts_.end() ? 0 : found->second;
    }
    /// The first step of each call of a fake: counts, logs all but reads of events and collections, runs the hooks and
    /// returns the planned answer.
    std::optional<HRESULT> enter(std::string_view call, bool is_read = false) {
        std::vector<Rule> due;
        std::optional<HRESULT> answer;
        {
            const std::lock_guard lock(mutex_);
            if (!is_read) call_log().add(name_.empty() ? std::string(call) : name_ + "." + std::string(call));
            for (const std::string_view name : {call, any_call}) {
                const std::size_t number = ++counts_[std::string(name)];
                const auto [first, last] = rules_.equal_range(name);
                for (auto rule = first; rule != last; ++rule) {
                    if (rule->second.number != each && rule->second.number != number) continue;
                    due.push_back(rule->second);
                    if (name == any_call) answered_ = call;
                }
            }
        }
        for (const Rule& rule : due) {
            if (rule.hook) rule.hook();
            if (rule.code) answer = rule.code;
        }
        return answer;
    }

private:
    static constexpr std::string_view any_call = "";
    struct Rule {
        std::size_t number; ///< of the call from 1, or `each`
        std::function<void()> hook;
        std::optional<HRESULT> code;
    };
    void add(std::string_view call, unsigned nth, std::function<void()> hook, std::optional<HRESULT> code) {
        const std::lock_guard lock(mutex_);
        const std::string name(call);
        rules_.emplace(name, Rule{nth == each ? each : counts_[name] + nth, std::move(hook), code});
    }

    const std::string name_;
    mutable std::mutex mutex_;
    std::map<std::string, std::size_t, std::less<>> counts_;
    std::multimap<std::string, Rule, std::less<>> rules_;
    std::vector<std::shared_ptr<zo_test::Gate>> gates_;
    std::string answered_;
};

} // namespace fakes
