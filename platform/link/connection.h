#pragma once

#include "platform/link/protocol.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include <nlohmann/json_fwd.hpp>

namespace zo_link {

/// The functions of a connection's owner. The connection's own reader thread makes all calls, one at a time. A function
/// must not wait for anything that waits for the connection.
class ConnectionEvents {
public:
    virtual ~ConnectionEvents() = default;

    /// Called once after the hello was accepted, before the first notification. [reader thread]
    virtual void on_open(std::uint64_t instance) = 0;
    /// Called for each notification, of `size` bytes. A failing code drops the connection with that code. [reader
    /// thread]
    virtual std::uint32_t on_notification(const nlohmann::json& map, std::size_t size) = 0;
    /// Called before each answer. Returns the number of the last notification before the answer, for `Reply::mark`.
    /// [reader thread]
    virtual std::uint64_t on_answer() = 0;
    /// Called once after an open connection is lost; never after close. [reader thread]
    virtual void on_lost(std::uint32_t result) = 0;
};

struct Reply {
    std::uint32_t result = code::not_connected;
    std::uint64_t mark = 0;
    std::shared_ptr<nlohmann::json> body; // the answer's map, with joined lists; null if the result is a failure
};

/// The client side: one TCP connection with one reader thread, which also runs the heartbeat.
class Connection {
public:
    /// `events` lives until the reader thread has ended.
    explicit Connection(std::shared_ptr<ConnectionEvents> events);
    /// Closes the connection. [any thread but the reader thread]
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// Connects and sends the hello. `hello` has the fields except id and op. Call it once. The timeout limits connect
    /// and hello together. It is also the deadline of the heartbeat until `set_timeout`. [any thread but the reader
    /// thread]
    Reply open(const std::string& host, const std::string& port, const nlohmann::json& hello,
               std::chrono::milliseconds timeout);

    /// Sends a request and blocks until its answer or the deadline. `fields` has the fields except id and op. The
    /// connection is lost (code::timeout) once max_outstanding_requests are past their deadline without an answer. [any
    /// thread but the reader thread]
    Reply request(const char* operation, const nlohmann::json& fields, std::chrono::milliseconds timeout);

    /// Sets the deadline of the heartbeat. [any thread]
    void set_timeout(std::chrono::milliseconds timeout);

    /// Returns the local state, without a round trip. [any thread]
    bool is_open() const;

    /// Ends the connection, all waiting calls and the reader thread. Waiting calls return code::not_connected, `open`
    /// returns code::aborted. [any thread but the reader thread]
    void close();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace zo_link
