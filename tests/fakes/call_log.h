#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace fakes {

// One call that a fake took.
struct Call {
    std::string text;
    std::thread::id thread;
};

// The calls of all fakes in one order. Every fake of a test writes to `call_log()`, so that orders between the proxy
// and the host can be checked. [any thread]
class CallLog {
public:
    void add(std::string text);
    void clear();

    [[nodiscard]] std::vector<Call> calls() const;
    // The texts, or those that begin so.
    [[nodiscard]] std::vector<std::string> texts(std::string_view prefix = {}) const;
    // How often exactly this text stands in the log.
    [[nodiscard]] std::size_t count(std::string_view text) const;
    // Waits until the text stands there `times` times; false when time runs out.
    bool wait_for(std::string_view text, std::size_t times = 1,
                  std::chrono::milliseconds timeout = std::chrono::seconds(10)) const;

private:
    [[nodiscard]] std::size_t count_locked(std::string_view text) const;

    mutable std::mutex mutex_;
    mutable std::condition_variable added_;
    std::vector<Call> calls_;
};

// The log of this test program.
CallLog& call_log();

} // namespace fakes
