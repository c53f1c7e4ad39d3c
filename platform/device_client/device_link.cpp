#include "platform/device_client/device_link.h"

#include "device/net/fdx_client.h"
#include "platform/link/routes.h"

#include <algorithm>

#include <nlohmann/json.hpp>

namespace {

using namespace std::chrono_literals;
using zo_link::Connection;

/// The timeout of the heartbeat. The timeout of a port may be much shorter; it applies only to requests of that port.
constexpr std::chrono::milliseconds heartbeat_timeout = 5s;
constexpr std::uint32_t client_error = 0x98110740;
constexpr char loopback[] = "127.0.0.1.1.1";

/// Ignores notifications: they are for logger clients.
class Events final : public zo_link::ConnectionEvents {
public:
    void on_open(std::uint64_t) override {}
    std::uint32_t on_notification(const nlohmann::json&, std::size_t) override { return zo_link::code::ok; }
    std::uint64_t on_answer() override { return 0; }
    void on_lost(std::uint32_t) override {}
};

std::chrono::milliseconds until(DeviceLink::Clock::time_point deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - DeviceLink::Clock::now());
    return std::max(left, 0ms);
}

/// Returns "host:port" of a net id; empty without a route. The loopback net id and the local one are the same machine.
std::string find_route(const std::string& net_id) {
    const auto path = zo_link::default_routes_path(reinterpret_cast<const void*>(&FdxPortOpenEx));
    const auto routes = zo_link::read_routes(path).value_or(zo_link::Routes());
    auto found = routes.routes.find(net_id);
    if (found == routes.routes.end() && net_id == loopback) found = routes.routes.find(routes.local);
    if (found == routes.routes.end() && net_id == routes.local) found = routes.routes.find(loopback);
    return found == routes.routes.end() ? std::string() : found->second;
}

} // namespace

std::uint32_t DeviceLink::request(const char* operation, const nlohmann::json& fields, Clock::time_point deadline,
                                  const Take& take) {
    std::uint32_t code = 0;
    const auto connection = open(deadline, code);
    if (!connection) return code;
    const zo_link::Reply reply = connection->request(operation, fields, until(deadline));
    if (zo_link::failed(reply.result) || (reply.body && take(*reply.body))) return reply.result;
    connection->close();
    return zo_link::code::bad_answer;
}

std::shared_ptr<Connection> DeviceLink::open(Clock::time_point deadline, std::uint32_t& code) {
    std::unique_lock lock(mutex_);
    code = zo_link::code::not_connected;
    while (dialing_ && !closed_) {
        const std::uint64_t before = attempts_;
        if (!dialed_.wait_until(lock, deadline, [&] { return attempts_ != before || closed_; })) {
            code = zo_link::code::timeout;
            return nullptr;
        }
        // A timeout may come from the shorter timeout of the other port. Any other failure also ends this call.
        if (zo_link::failed(last_code_) && last_code_ != zo_link::code::timeout) {
            code = last_code_;
            return nullptr;
        }
    }
    if (closed_) return nullptr;
    if (connection_ && connection_->is_open()) return connection_;

    const auto fresh = std::make_shared<Connection>(std::make_shared<Events>());
    auto lost = std::exchange(connection_, fresh);
    dialing_ = true;
    lock.unlock();
    lost.reset(); // joins its thread
    code = dial(*fresh, deadline);
    lock.lock();
    dialing_ = false;
    last_code_ = code;
    ++attempts_;
    dialed_.notify_all();
    return zo_link::failed(code) ? nullptr : fresh;
}

std::uint32_t DeviceLink::dial(Connection& connection, Clock::time_point deadline) const {
    try {
        const std::string route = find_route(net_id_);
        const auto colon = route.rfind(':');
        if (colon == std::string::npos) return zo_link::code::no_route;
        const auto reply = connection.open(route.substr(0, colon), route.substr(colon + 1),
                                           {{"role", "device"}, {"address", net_id_}}, until(deadline));
        connection.set_timeout(heartbeat_timeout);
        return reply.result;
    } catch (...) { // out of memory, or no free thread
        return client_error;
    }
}

void DeviceLink::close() {
    std::shared_ptr<Connection> last;
    {
        const std::lock_guard lock(mutex_);
        closed_ = true;
        last = connection_;
    }
    dialed_.notify_all();
    if (last) last->close();
}
