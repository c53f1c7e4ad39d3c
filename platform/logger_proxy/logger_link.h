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

// One logger object's way to its target: at most one connection, and the callbacks that come over it. Result codes are
// those of the link. Held by the logger; alarms know it weakly.
class LoggerLink {
public:
    static std::shared_ptr<LoggerLink> make();

    // Sinks, for Advise and Unadvise.
    CallbackQueue& callbacks() { return *callbacks_; }

    // 0 is the default of 5 s. [any thread]
    void set_timeout(std::uint32_t milliseconds);

    // Drops the connection there is and makes a new one to the net id; `preload` is sent with `settings` only.
    // [any thread]
    std::uint32_t connect(const std::string& address, bool settings, bool preload);
    // Never waits for a callback; ends a connect that is under way. [any thread]
    void disconnect();
    // [any thread]
    bool is_connected() const;

    // Reads an answer's map; false when it is not what it must be.
    using Reader = std::function<bool(nlohmann::json& answer)>;
    // Sends a request and has its answer read, unless that is a failure. A peer whose answer cannot be read is dropped.
    // [any thread]
    std::uint32_t request(const char* operation, const nlohmann::json& fields, const Reader& read);

    // The newest `count` logged events, oldest first, after all callbacks sent before the answer. [any thread]
    std::uint32_t logged_events(std::uint32_t count, std::vector<Snapshot>& events);
    // The active alarms, in the same way. [any thread]
    std::uint32_t active_alarms(std::vector<ZoAtlCom::CComPtr<Alarm>>& alarms);
    // [any thread]
    std::uint32_t confirm(const AlarmKey& alarm);

    // Disconnects and ends the callback thread; the logger is going away. [any thread]
    void shut();

private:
    struct Current {
        std::shared_ptr<zo_link::Connection> connection;
        std::uint64_t epoch = 0;
        std::uint64_t instance = 0;
    };

    LoggerLink();
    Current current() const;
    // As `request`, over a given connection.
    std::uint32_t ask(const Current& over, const char* operation, const nlohmann::json& fields, const Reader& read,
                      std::uint64_t& mark);
    // A list of event records, when all callbacks sent before it have returned.
    std::uint32_t list(const Current& over, const char* operation, const nlohmann::json& fields, bool alarms,
                       std::size_t most, std::vector<Snapshot>& records, std::uint64_t& mark);
    std::chrono::milliseconds timeout() const { return std::chrono::milliseconds(timeout_ms_.load()); }

    const std::shared_ptr<CallbackQueue> callbacks_;
    std::shared_ptr<AlarmTable> alarms_;
    std::atomic<std::uint32_t> timeout_ms_;

    std::mutex connect_mutex_; // one connect at a time; taken before state_mutex_

    mutable std::mutex state_mutex_; // guards what follows; taken before the queue's mutex
    Current current_;
    std::shared_ptr<zo_link::Connection> opening_;
    std::uint64_t generation_ = 0; // counts connects and disconnects
};

} // namespace zo_logger_proxy
