#pragma once

#include "platform/link/protocol.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace zo_link {

/// One client's connection on the target side. Frames are sent in the order of the calls, even from several threads.
/// All calls return at once. After the end of the connection they do nothing.
class LinkSession {
public:
    virtual ~LinkSession() = default;

    /// The number of the session, counted from 1. [any thread]
    virtual std::uint64_t number() const = 0;
    /// The fields of the accepted hello; null before it. [server thread]
    virtual const nlohmann::json& hello() const = 0;

    /// Answers a request. A failing result is sent without the fields. [any thread]
    virtual void reply(std::uint32_t id, std::uint32_t result, const nlohmann::json& fields) = 0;
    virtual void reply(std::uint32_t id, std::uint32_t result) = 0;
    /// Answers with `items`, in as many parts as needed. [any thread]
    virtual void reply_list(std::uint32_t id, std::vector<nlohmann::json> items) = 0;
    /// Answers the hello. From then on, the session gets the notifications of `notify_all`, unless its role is
    /// "device". [any thread]
    virtual void accept(std::uint32_t id, std::uint64_t instance) = 0;
    /// Sends a notification: `fields`, with "note" added. [any thread]
    virtual void notify(const char* kind, const nlohmann::json& fields) = 0;

    // Faults, for tests and exercises.
    /// Ends the connection and drops all unsent frames. [any thread]
    virtual void drop() = 0;
    /// Starts or ends a stall. A stalled session neither reads nor writes; frames wait. [any thread]
    virtual void stall(bool on) = 0;
    /// Sends only the first half of the next answer's frame, then ends the connection. Answers to pings do not count.
    /// [any thread]
    virtual void truncate_next_reply() = 0;
    /// Sends bytes unchanged. [any thread]
    virtual void send_raw(std::vector<std::uint8_t> bytes) = 0;
};

/// The owner's functions. The server's one thread makes all calls. An exception from a function ends that session.
/// Functions may be empty.
struct ServerEvents {
    /// A request; also the hello, whose version is already checked. Answer now or later. `fields` is the whole map.
    std::function<void(const std::shared_ptr<LinkSession>& session, std::uint32_t id, const std::string& operation,
                       const nlohmann::json& fields)>
        request;
    std::function<void(const std::shared_ptr<LinkSession>& session)> closed;
};

struct ServerLimits {
    std::size_t sessions = 256;
    /// A client that sends no frame for this time is silent. A silent client without a hello is dropped. After the
    /// hello, it is dropped when another client needs its place. Clients ping at least every 5 s.
    std::chrono::milliseconds silence{10000};
};

/// The target side: listens, manages sessions and answers pings itself. One thread.
class LinkServer {
public:
    /// `host` is a numeric address; port 0 selects a free port. Throws std::runtime_error if it cannot listen.
    LinkServer(const std::string& host, std::uint16_t port, ServerEvents events, ServerLimits limits = {});
    /// Stops. [any thread but the server thread]
    ~LinkServer();
    LinkServer(const LinkServer&) = delete;
    LinkServer& operator=(const LinkServer&) = delete;

    std::uint16_t port() const;

    /// The open sessions, oldest first. [any thread]
    std::vector<std::shared_ptr<LinkSession>> sessions() const;
    /// Sends a notification to all accepted sessions; it is encoded once. [any thread]
    void notify_all(const char* kind, const nlohmann::json& fields);

    /// Stops listening, ends all sessions, and joins the thread. Returns after the last call of `closed`. [any thread
    /// but the server thread]
    void stop();

private:
    struct Impl;
    std::shared_ptr<Impl> impl_;
};

} // namespace zo_link
