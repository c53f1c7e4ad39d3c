#include "platform/device_client/port_table.h"

#include <algorithm>

std::int32_t PortTable::open() {
    const std::lock_guard lock(mutex_);
    for (std::size_t tries = 0; tries < capacity; ++tries) {
        const std::size_t index = next_;
        next_ = (next_ + 1) % capacity;
        if (ports_[index].open) continue;
        ports_[index] = {true, default_timeout_ms};
        return first_port + static_cast<std::int32_t>(index);
    }
    return 0;
}

bool PortTable::close(std::int32_t port) {
    const std::lock_guard lock(mutex_);
    Port* found = find(port);
    if (found == nullptr) return false;
    found->open = false;
    return true;
}

bool PortTable::is_open(std::int32_t port) {
    const std::lock_guard lock(mutex_);
    return find(port) != nullptr;
}

bool PortTable::any_open() {
    const std::lock_guard lock(mutex_);
    return std::ranges::any_of(ports_, &Port::open);
}

bool PortTable::set_timeout(std::int32_t port, std::int32_t timeout_ms) {
    const std::lock_guard lock(mutex_);
    Port* found = find(port);
    if (found == nullptr) return false;
    found->timeout_ms = timeout_ms;
    return true;
}

std::optional<std::int32_t> PortTable::timeout(std::int32_t port) {
    const std::lock_guard lock(mutex_);
    const Port* found = find(port);
    if (found == nullptr) return std::nullopt;
    return found->timeout_ms;
}

PortTable::Port* PortTable::find(std::int32_t port) {
    if (port < first_port || port >= first_port + static_cast<std::int32_t>(capacity)) return nullptr;
    Port& found = ports_[static_cast<std::size_t>(port - first_port)];
    return found.open ? &found : nullptr;
}
