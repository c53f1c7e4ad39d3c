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

/// Counts an extension's finished calls by name, so that a script can wait for one. A call of send_message counts under
/// the name of its message. [any thread]
class CallHistory {
public:
    void record(std::string_view name);
    /// Blocks until a call of that name is recorded, and removes it from the history. Returns false after `limit` or
    /// when a stop is requested.
    bool take(const std::string& name, std::chrono::nanoseconds limit, const std::stop_token& stop);
    void clear();

private:
    std::mutex mutex_;
    std::condition_variable_any recorded_;
    std::map<std::string, std::uint64_t, std::less<>> counts_;
};

} // namespace server
