#include "tests/link/scripted_peer.h"

#include <cstdlib>
#include <utility>

namespace zo_test {

void ScriptedPeer::start() {
    zo_link::ServerEvents events;
    events.request = [this](const Session& session, std::uint32_t id, const std::string& operation,
                            const nlohmann::json& fields) { handle(session, id, operation, fields); };
    server_ = std::make_unique<zo_link::LinkServer>("127.0.0.1", std::uint16_t{0}, std::move(events));
    const nlohmann::json routes = {{"routes", {{net_id, "127.0.0.1:" + std::to_string(port())}}}};
    routes_.write(routes.dump());
    setenv("ZO_ROUTES", routes_.path().c_str(), 1);
}

void ScriptedPeer::restart() {
    server_.reset();
    session_.reset();
    start();
}

void ScriptedPeer::on(const std::string& operation, Handler handler) {
    const std::lock_guard lock(mutex_);
    handlers_[operation] = std::move(handler);
}

void ScriptedPeer::answer(const std::string& operation, nlohmann::json fields) {
    on(operation, [fields = std::move(fields)](const Session& session, std::uint32_t id, const nlohmann::json&) {
        session->reply(id, zo_link::code::ok, fields);
    });
}

void ScriptedPeer::set_instance(std::uint64_t instance) {
    const std::lock_guard lock(mutex_);
    instance_ = instance;
}

ScriptedPeer::Session ScriptedPeer::session() {
    Session found;
    eventually([&] {
        const std::lock_guard lock(mutex_);
        found = session_;
        return found != nullptr;
    });
    return found;
}

nlohmann::json ScriptedPeer::last(const std::string& operation) {
    const std::lock_guard lock(mutex_);
    return last_[operation];
}

void ScriptedPeer::handle(const Session& session, std::uint32_t id, const std::string& operation,
                          const nlohmann::json& fields) {
    Handler handler;
    std::uint64_t instance = 0;
    {
        const std::lock_guard lock(mutex_);
        last_[operation] = fields;
        instance = instance_;
        if (const auto it = handlers_.find(operation); it != handlers_.end()) handler = it->second;
        if (operation == zo_link::op::hello && !handler) session_ = session;
    }
    if (handler)
        handler(session, id, fields);
    else if (operation == zo_link::op::hello)
        session->accept(id, instance);
    else
        session->reply(id, zo_link::code::not_supported);
}

} // namespace zo_test
