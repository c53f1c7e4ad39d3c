#pragma once

#include "platform/link/connection.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

/// The connection to one net id, shared by all ports of the process. The first request connects; after a loss, the next
/// request reconnects. One thread connects; the others wait for it. [any thread]
class DeviceLink {
public:
    using Clock = std::chrono::steady_clock;

    /// `net_id` is six numbers with dots.
    explicit DeviceLink(std::string net_id) : net_id_(std::move(net_id)) {}
    DeviceLink(const DeviceLink&) = delete;
    DeviceLink& operator=(const DeviceLink&) = delete;

    /// Reads the fields of an answer. Returns false if they break the protocol.
    using Take = std::function<bool(const nlohmann::json& answer)>;

    /// Connects if needed, sends a request and blocks until its answer or the deadline. Returns a code of the link.
    /// Ends the connection if its peer breaks the protocol.
    std::uint32_t request(const char* operation, const nlohmann::json& fields, Clock::time_point deadline,
                          const Take& take);

    /// Ends the connection and its thread. All current and later requests fail.
    void close();

private:
    /// Returns the open connection. Without one, returns null and sets the code.
    std::shared_ptr<zo_link::Connection> open(Clock::time_point deadline, std::uint32_t& code);
    std::uint32_t dial(zo_link::Connection& connection, Clock::time_point deadline) const;

    const std::string net_id_;
    std::mutex mutex_; // guards the members below
    std::condition_variable dialed_;
    std::shared_ptr<zo_link::Connection> connection_;
    std::uint64_t attempts_ = 0; // completed attempts
    std::uint32_t last_code_ = zo_link::code::ok;
    bool dialing_ = false;
    bool closed_ = false;
};
