#pragma once

#include "tests/support/eventually.h"

#include <algorithm>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace fakes {

/// One call of a fake.
struct Call {
    std::string text;
    std::thread::id thread;
};

/// The calls of all fakes in one order. Every fake of a test writes to `call_log()`, so that a test can assert orders
/// between the proxy and the host. [any thread]
class CallLog {
public:
    void add(std::string text) {
        const std::lock_guard lock(mutex_);
        calls_.push_back({std::move(text), std::this_thread::get_id()});
    }
    void clear() {
        const std::lock_guard lock(mutex_);
        calls_.clear();
    }

    [[nodiscard]] std::vector<Call> calls() const {
        const std::lock_guard lock(mutex_);
        return calls_;
    }
    /// Returns the texts, or those with a prefix.
    [[nodiscard]] std::vector<std::string> texts(std::string_view prefix = {}) const {
        std::vector<std::string> texts;
        for (const Call& call : calls())
            if (call.text.starts_with(prefix)) texts.push_back(call.text);
        return texts;
    }
    /// Returns how often exactly this text stands in the log.
    [[nodiscard]] std::size_t count(std::string_view text) const {
        const auto all = texts(text);
        return static_cast<std::size_t>(std::ranges::count(all, text));
    }
    /// Blocks until the text stands there `times` times. Returns false when that timed out.
    bool wait_for(std::string_view text, std::size_t times = 1,
                  std::chrono::milliseconds timeout = std::chrono::seconds(10)) const {
        return zo_test::eventually([&] { return count(text) >= times; }, timeout);
    }

private:
    mutable std::mutex mutex_;
    std::vector<Call> calls_;
};

/// The log of this test program.
inline CallLog& call_log() {
    static CallLog log;
    return log;
}

} // namespace fakes
