#pragma once

#include "platform/link/connection.h"
#include "platform/logger_proxy/alarm.h"
#include "platform/logger_proxy/callback_queue.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace zo_logger_proxy {

/// The connection of one logger object to its target, at most one at a time, and the callbacks that arrive on it.
/// Result codes are those of the link. The logger owns it; alarms have a weak pointer.
class LoggerLink {
public:
    static std::shared_ptr<LoggerLink> make();

    /// The sinks, for Advise and Unadvise. [any thread]
    CallbackQueue& callbacks() { return *callbacks_; }

    /// 0 means the default of 5 s. [any thread]
    void set_timeout(std::uint32_t milliseconds);

    /// Drops the current connection and connects to the net id. `preload` is sent with `settings` only. [any thread]
    std::uint32_t connect(const std::string& address, bool settings, bool preload);
    /// Drops the connection, even one that is still being opened. Never blocks for a callback. [any thread]
    void disconnect();
    /// Makes no round trip. [any thread]
    bool is_connected() const;

    /// Reads the map of an answer; returns false for an invalid answer.
    using Reader = std::function<bool(nlohmann::json& answer)>;
    /// Sends a request and reads its answer, unless the answer is a failure. Drops the connection after an invalid
    /// answer. [any thread]
    std::uint32_t request(const char* operation, const nlohmann::json& fields, const Reader& read);

    /// Stores the newest `count` logged events, oldest first. Blocks until all callbacks sent before the answer have
    /// returned. [any thread]
    std::uint32_t logged_events(std::uint32_t count, std::vector<Snapshot>& events);
    /// Stores the active alarms; blocks as `logged_events` does. [any thread]
    std::uint32_t active_alarms(std::vector<ZoAtlCom::CComPtr<Alarm>>& alarms);
    /// Confirms an alarm of the current target instance. [any thread]
    std::uint32_t confirm(const AlarmKey& alarm);

    /// Disconnects and ends the callback thread. Must be the last call. [any thread]
    void close();

private:
    struct Current {
        std::shared_ptr<zo_link::Connection> connection;
        std::uint64_t epoch = 0;
        std::uint64_t instance = 0;
    };

    LoggerLink();
    Current current() const;
    /// As `request`, over a given connection.
    std::uint32_t exchange(const Current& over, const char* operation, const nlohmann::json& fields, const Reader& read,
                           std::uint64_t& mark);
    /// Stores a list of event records. Blocks until all callbacks sent before it have returned.
    std::uint32_t list(const Current& over, const char* operation, const nlohmann::json& fields, bool alarms,
                       std::size_t max_items, std::vector<Snapshot>& records, std::uint64_t& mark);
    std::chrono::milliseconds timeout() const { return std::chrono::milliseconds(timeout_ms_.load()); }

    const std::shared_ptr<CallbackQueue> callbacks_;
    std::shared_ptr<AlarmTable> alarms_;
    std::atomic<std::uint32_t> timeout_ms_;

    std::mutex connect_mutex_; ///< one connect at a time; locked before state_mutex_

    mutable std::mutex state_mutex_; ///< guards the next three members; locked before the queue's mutex
    Current current_;
    std::shared_ptr<zo_link::Connection> opening_;
    std::uint64_t generation_ = 0; ///< counts connects and disconnects
};

} // namespace zo_logger_proxy
