#pragma once

#include "platform/link/protocol.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace zo_link {

// One client's connection, seen from the target. Frames leave in the order of the calls, also of calls from several
// threads. All calls return at once, and do nothing when the connection has ended.
class LinkSession {
public:
    virtual ~LinkSession() = default;

    // Number of the session, counted from 1. [any thread]
    virtual std::uint64_t number() const = 0;
    // The fields of the hello that was accepted; a null value before. [server thread]
    virtual const nlohmann::json& hello() const = 0;

    // Answers a request; a failing result is sent without the fields. [any thread]
    virtual void reply(std::uint32_t id, std::uint32_t result, const nlohmann::json& fields) = 0;
    virtual void reply(std::uint32_t id, std::uint32_t result) = 0;
    // Answers with `items`, in as many parts as it takes. [any thread]
    virtual void reply_list(std::uint32_t id, std::vector<nlohmann::json> items) = 0;
    // Answers the hello: the session takes part in `notify_all` from here on. [any thread]
    virtual void accept(std::uint32_t id, std::uint64_t instance) = 0;
    // Sends a notification: `fields` with "note" added. [any thread]
    virtual void notify(const char* kind, const nlohmann::json& fields) = 0;

    // Misbehaviour, for tests and exercises.
    // Ends the connection without sending what waits. [any thread]
    virtual void drop() = 0;
    // Neither reads nor writes (pings included) until told otherwise; what is sent meanwhile waits. [any thread]
    virtual void stall(bool on) = 0;
    // Sends only the first half of the next answer's frame (not of a ping's), then ends the connection. [any thread]
    virtual void truncate_next_reply() = 0;
    // Sends bytes as they are. [any thread]
    virtual void send_raw(std::vector<std::uint8_t> bytes) = 0;
};

// What the server asks of its owner. All calls come from the server's one thread; an exception that leaves one ends
// that session. Empty functions are allowed.
struct ServerEvents {
    // A request, the hello among them (its version is already checked); answer now or later. `fields` is the whole map.
    std::function<void(const std::shared_ptr<LinkSession>& session, std::uint32_t id, const std::string& operation,
                       const nlohmann::json& fields)>
        request;
    std::function<void(const std::shared_ptr<LinkSession>& session)> closed;
};

// The target's end: listens, keeps sessions, answers pings by itself. One thread.
class LinkServer {
public:
    // `host` is an address in numbers; port 0 takes a free one. Throws std::runtime_error when it cannot listen.
    LinkServer(const std::string& host, std::uint16_t port, ServerEvents events);
    // Stops. [any thread but the server thread]
    ~LinkServer();
    LinkServer(const LinkServer&) = delete;
    LinkServer& operator=(const LinkServer&) = delete;

    std::uint16_t port() const;

    // The open sessions, oldest first. [any thread]
    std::vector<std::shared_ptr<LinkSession>> sessions() const;
    // Sends a notification to all accepted sessions; encoded once. [any thread]
    void notify_all(const char* kind, const nlohmann::json& fields);

    // Ends listening and all sessions; joins the thread. Calls of `closed` come before it returns. [any thread but the
    // server thread]
    void stop();

private:
    struct Impl;
    std::shared_ptr<Impl> impl_;
};

} // namespace zo_link
