#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <stop_token>
#include <string>
#include <string_view>

namespace server {

/// Which calls of an extension have been done, so that somebody can wait for one: each counts under its name, that of
/// the message for send_message. [any thread]
class Heard {
public:
    void count(std::string_view name);
    /// Waits for a call and takes it: one that has come already counts, but for one wait only. False when there was
    /// none in time or `stop` came first.
    bool take(const std::string& name, std::chrono::nanoseconds limit, const std::stop_token& stop);
    /// From now on only calls count that are still to come.
    void forget();

private:
    std::mutex mutex_;
    std::condition_variable_any came_;
    std::map<std::string, std::uint64_t, std::less<>> untaken_;
};

} // namespace server
