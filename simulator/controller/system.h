#pragma once

#include "simulator/controller/controller.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace zo_sim {

/// All services of a target system for a device client, by port: router, identity, system service, and the controllers.
/// Runs on the thread of its target.
class DeviceSystem {
public:
    /// Uses the keys `system` and `controllers` of the scenario. Throws ScenarioError.
    explicit DeviceSystem(const Node& scenario);

    /// Returns false if the scenario has neither system nor controllers: the target is then only a logger.
    bool exists() const { return exists_; }
    const std::map<std::uint32_t, std::unique_ptr<Controller>>& controllers() const { return controllers_; }
    /// Returns null if the port has no controller.
    Controller* controller(std::uint32_t port);

    DeviceReply read(std::uint32_t port, std::uint32_t group, std::uint32_t offset, std::uint32_t length);
    DeviceReply write(std::uint32_t port, std::uint32_t group, std::uint32_t offset, Controller::View data);
    DeviceReply read_write(std::uint32_t port, std::uint32_t group, std::uint32_t offset, std::uint32_t length,
                           Controller::View data);

    struct States {
        std::uint32_t code = 0;
        std::uint16_t fdx_state = 0;
        std::uint16_t device_state = 0;
    };
    States states(std::uint32_t port);

    struct Version {
        std::uint8_t version = 0;
        std::uint8_t revision = 0;
        std::uint16_t build = 0;
    };
    struct Info {
        std::uint32_t code = 0;
        std::string name;
        Version version;
    };
    Info info(std::uint32_t port);

private:
    struct Route {
        Bytes net_id;
        std::string name;
    };
    struct RouteRecord {
        Route main;
        std::vector<Route> additional;
    };

    static Route read_route(const Node& node);
    DeviceReply read_router(std::uint32_t group, std::uint32_t offset, std::uint32_t length) const;
    DeviceReply read_identity(std::uint32_t group, std::uint32_t offset, std::uint32_t length) const;
    DeviceReply read_system_service(std::uint32_t group, std::uint32_t offset, std::uint32_t length) const;

    bool exists_ = false;
    GUID id_{};
    std::string device_name_;
    Version device_version_;
    std::vector<std::uint16_t> product_ = std::vector<std::uint16_t>(4);
    std::vector<RouteRecord> routes_;
    std::map<std::uint32_t, std::unique_ptr<Controller>> controllers_; // by port
    std::map<std::uint32_t, Version> versions_;
};

} // namespace zo_sim
