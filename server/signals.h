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

/// Receives SIGINT, SIGTERM and SIGHUP as numbers to wait for, without handlers. Construct it in main before any other
/// thread starts, so that every thread inherits the blocked signals. SIGPIPE is ignored: a closed output is an error of
/// that output.
///
/// An output without a reader blocks its writer, and then an orderly end is impossible. So a SIGINT or SIGTERM of
/// another process starts a check. This process exits with status 1 once an output has blocked for two seconds.
class Signals {
public:
    using Clock = std::chrono::steady_clock;

    /// Throws std::system_error.
    Signals();
    ~Signals();
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;

    /// Blocks until a signal comes and returns its number; nothing when `deadline` passes first.
    [[nodiscard]] std::optional<int> wait(std::optional<Clock::time_point> deadline);
    /// Makes `wait` return a number as if that signal had come. [any thread]
    void post(int number);

private:
    void listen(const std::stop_token& stop);

    sigset_t set_{};
    std::mutex mutex_;
    std::condition_variable received_;
    std::deque<int> numbers_; // guarded by mutex_
    std::jthread thread_;
};

} // namespace server
