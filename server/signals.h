#pragma once

#include <chrono>
#include <optional>

namespace server {

/// SIGINT, SIGTERM and SIGHUP as something to wait for instead of handlers. Made in main before any thread starts, so
/// that every thread inherits the blocked signals. SIGPIPE is ignored: a closed output is an error of that output.
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
    int fd_;
};

} // namespace server
