#pragma once

#include "platform/link/event_record.h"
#include "platform/link/link_server.h"
#include "tests/support/eventually.h"
#include "tests/support/files.h"

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

namespace zo_test {

inline constexpr char net_id[] = "5.12.82.40.1.1";

/// A target whose answers the test writes. The routes file names it for `net_id`.
class ScriptedPeer {
public:
    using Session = std::shared_ptr<zo_link::LinkSession>;
    using Handler = std::function<void(const Session& session, std::uint32_t id, const nlohmann::json& fields)>;

    explicit ScriptedPeer(zo_link::ServerLimits limits = {}) : limits_(limits) { start(); }

    /// Answers an operation from here on. Without a handler a hello is accepted and all else is not supported.
    void on(const std::string& operation, Handler handler) {
        const std::lock_guard lock(mutex_);
        handlers_[operation] = std::move(handler);
    }
    /// Returns the handler that answers with this result and these fields.
    static Handler reply(std::uint32_t result, const nlohmann::json& fields = {}) {
        return [=](const Session& session, std::uint32_t id, const nlohmann::json&) {
            session->reply(id, result, fields);
        };
    }
    void answer(const std::string& operation, const nlohmann::json& fields) {
        on(operation, reply(zo_link::code::ok, fields));
    }
    void ignore(const std::string& operation) {
        on(operation, [](const Session&, std::uint32_t, const nlohmann::json&) {});
    }
    /// Waits for an accepted hello; returns the newest session.
    Session session() {
        Session found;
        eventually([&] {
            const std::lock_guard lock(mutex_);
            found = session_;
            return found != nullptr;
        });
        return found;
    }
    /// Returns the fields of the last request of this operation; null if there was none.
    nlohmann::json last(const std::string& operation) {
        const std::lock_guard lock(mutex_);
        return last_[operation];
    }
    std::uint16_t port() const { return server_->port(); }
    void notify_all(const char* kind, const nlohmann::json& fields) { server_->notify_all(kind, fields); }
    std::size_t open_sessions() const { return server_->sessions().size(); }
    /// Ends the target and starts it again, on another port.
    void restart() {
        server_.reset();
        session_.reset();
        start();
    }

private:
    void start() {
        zo_link::ServerEvents events;
        events.request = [this](const Session& session, std::uint32_t id, const std::string& operation,
                                const nlohmann::json& fields) { handle(session, id, operation, fields); };
        server_ = std::make_unique<zo_link::LinkServer>("127.0.0.1", std::uint16_t{0}, std::move(events), limits_);
        const nlohmann::json routes = {{"routes", {{net_id, "127.0.0.1:" + std::to_string(port())}}}};
        routes_.write(routes.dump());
        setenv("ZO_ROUTES", routes_.path().c_str(), 1);
    }
    void handle(const Session& session, std::uint32_t id, const std::string& operation, const nlohmann::json& fields) {
        Handler handler;
        {
            const std::lock_guard lock(mutex_);
            last_[operation] = fields;
            if (const auto it = handlers_.find(operation); it != handlers_.end()) handler = it->second;
            if (operation == zo_link::op::hello && !handler) session_ = session;
        }
        if (handler)
            handler(session, id, fields);
        else if (operation == zo_link::op::hello)
            session->accept(id, 7);
        else
            session->reply(id, zo_link::code::not_supported);
    }

    const zo_link::ServerLimits limits_;
    const TemporaryFile routes_;
    std::mutex mutex_;
    std::map<std::string, Handler> handlers_;
    std::map<std::string, nlohmann::json> last_;
    Session session_;
    std::unique_ptr<zo_link::LinkServer> server_;
};

/// A record with all required fields and this id.
inline zo_link::EventRecord make_record(std::uint32_t id, std::uint64_t handle = 0) {
    zo_link::EventRecord record;
    record.event_class = {0x01234567, 0x89ab, 0xcdef, {1, 2, 3, 4, 5, 6, 7, 8}};
    record.event_id = id;
    record.raised = 133000000000000000;
    record.handle = handle;
    return record;
}

/// Returns the fields of a notification; removed is absent if null.
inline nlohmann::json event_fields(const zo_link::EventRecord& record, const nlohmann::json& removed = nullptr) {
    nlohmann::json fields = {{"event", zo_link::event_to_json(record)}};
    if (!removed.is_null()) fields["removed"] = removed;
    return fields;
}

} // namespace zo_test
