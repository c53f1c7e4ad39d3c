#include "platform/device_client/link_table.h"

#include <string>
#include <utility>

std::shared_ptr<DeviceLink> LinkTable::find(PortTable& ports, std::int32_t port,
                                            const std::array<std::uint8_t, 6>& net_id) {
    const std::lock_guard lock(mutex_);
    if (!ports.is_open(port)) return nullptr;
    if (links_ == nullptr) links_ = new Links;
    std::shared_ptr<DeviceLink>& link = (*links_)[net_id];
    if (!link) {
        std::string text;
        for (const std::uint8_t number : net_id)
            text += (text.empty() ? "" : ".") + std::to_string(number);
        link = std::make_shared<DeviceLink>(std::move(text));
    }
    return link;
}

bool LinkTable::close_port(PortTable& ports, std::int32_t port) {
    std::unique_ptr<Links> unused;
    {
        const std::lock_guard lock(mutex_);
        if (!ports.close(port)) return false;
        if (!ports.any_open()) unused.reset(std::exchange(links_, nullptr));
    }
    if (!unused) return true;
    for (const auto& [net_id, link] : *unused)
        link->close();
    return true;
}
