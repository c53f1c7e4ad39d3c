#pragma once

#include "platform/device_client/device_link.h"
#include "platform/device_client/port_table.h"

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>

/// The links of this process. Only open ports use links; closing the last port ends all of them. No destructor, for the
/// same reason as the table of ports. [any thread]
class LinkTable {
public:
    /// Returns the link to a net id; null if the port is not open.
    std::shared_ptr<DeviceLink> find(PortTable& ports, std::int32_t port, const std::array<std::uint8_t, 6>& net_id);

    /// Closes a port. Returns false if it is not open.
    bool close_port(PortTable& ports, std::int32_t port);

private:
    using Links = std::map<std::array<std::uint8_t, 6>, std::shared_ptr<DeviceLink>>;

    std::mutex mutex_;       // locked before the mutex of the ports
    Links* links_ = nullptr; // null if there are none
};
