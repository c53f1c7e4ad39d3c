#pragma once

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <deque>
#include <mutex>
#include <optional>
#include <stop_token>
#include <thread>

namespace server {

/// SIGINT, SIGTERM and SIGHUP as something to wait for instead of handlers. Made in main before any other thread
/// starts, so that every thread inherits the blocked signals. SIGPIPE is ignored: a closed output is an error of that
/// output.
///
/// An output that nobody reads holds whoever writes to it, and then nothing ends in order. So when somebody else has
/// told this process to end, and for two seconds standard output or standard error takes nothing, it ends all the same,
/// with status 1.
class Signals {
public:
    using Clock = std::chrono::steady_clock;

    /// Throws std::system_error.
    Signals();
    ~Signals();
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;

    /// The next signal's number, or nothing when `deadline` passes first. Without a deadline it waits without bound.
    [[nodiscard]] std::optional<int> wait(std::optional<Clock::time_point> deadline);

private:
    void listen(const std::stop_token& stop);

    sigset_t set_{};
    std::mutex mutex_; // guards what came
    std::condition_variable came_;
    std::deque<int> numbers_;
    std::jthread thread_;
};

} // namespace server
