#pragma once

#include "binding/hresult.h"
#include "tests/support/gate.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace fakes {

// A call held inside a fake until the test lets it go. [any thread]
class Block {
public:
    // Waits until a call is held; false when time runs out.
    bool wait_until_entered() { return gate_.wait_for_arrivals(); }
    // Lets the held calls and all later ones go.
    void release() { gate_.open(); }
    // By the fake.
    void hold() { gate_.wait(); }

private:
    zo_test::Gate gate_;
};

// What the calls of a fake do out of the ordinary. Calls have short names such as "IsConnected", "Alarm.GetTimeRaised".
// A rule holds for the n-th call from now on, 1 being the next, or for each call. [any thread]
class CallPlan {
public:
    static constexpr unsigned each = 0;

    // `name` is put before logged texts, with a point, where it is not empty.
    explicit CallPlan(std::string name = {}) : name_(std::move(name)) {}
    ~CallPlan() { clear(); }
    CallPlan(const CallPlan&) = delete;
    CallPlan& operator=(const CallPlan&) = delete;

    // The call does nothing, leaves its out arguments null or 0, and answers the code (which may be a success).
    void answer(std::string_view call, HRESULT code, unsigned nth = each);
    // The same for the n-th call from now on, whatever its name. `answered` names it once it came.
    void answer_any(HRESULT code, std::size_t nth);
    [[nodiscard]] std::string answered() const;
    // The hook runs on the calling thread before the work; what it throws leaves the call.
    void run(std::string_view call, std::function<void()> hook, unsigned nth = each);
    // The call throws: a std::runtime_error of the text, or something that is no standard exception.
    void throw_error(std::string_view call, std::string text, unsigned nth = each);
    void throw_foreign(std::string_view call, unsigned nth = each);
    // The call waits inside until the block is released (or the plan cleared), then goes on.
    std::shared_ptr<Block> block(std::string_view call, unsigned nth = each);
    // Drops all rules and releases all blocks; counts stay.
    void clear();

    // How often the call came, planned answers included.
    [[nodiscard]] std::size_t count(std::string_view call) const;
    // Log the reads of events and collections, too.
    void log_reads(bool on);

    // By the fakes, first thing in each call: counts, logs (reads only if asked to), runs the hooks and hands back the
    // planned answer.
    std::optional<HRESULT> enter(std::string_view call, bool is_read = false);

private:
    struct Rule {
        std::size_t number; // of the call from 1, or `each`
        std::function<void()> hook;
        std::optional<HRESULT> code;
    };
    void add(std::string_view call, unsigned nth, std::function<void()> hook, std::optional<HRESULT> code);

    const std::string name_;
    mutable std::mutex mutex_;
    std::map<std::string, std::size_t, std::less<>> counts_;
    std::multimap<std::string, Rule, std::less<>> rules_;
    std::vector<std::shared_ptr<Block>> blocks_;
    bool log_reads_ = false;
    std::size_t until_any_ = 0; // 1 for the next call, 0 for none
    HRESULT any_code_ = S_OK;
    std::string answered_;
};

} // namespace fakes
