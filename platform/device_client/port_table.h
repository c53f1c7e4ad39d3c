#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>

/// The client ports that are open in this process. It has no destructor, so that it serves threads and static objects
/// that outlast it. All functions are [any thread].
class PortTable {
public:
    /// A new port with the default timeout, 0 if all are in use. Numbers are given out in turn, so that one that was
    /// closed does not come back at once.
    std::int32_t open();
    /// False if the port is not open; the same holds for the others.
    bool close(std::int32_t port);
    bool is_open(std::int32_t port);
    /// Returns whether any port is open.
    bool any_open();
    bool set_timeout(std::int32_t port, std::int32_t timeout_ms);
    std::optional<std::int32_t> timeout(std::int32_t port);

private:
    static constexpr std::int32_t first_port = 0x8000;
    static constexpr std::size_t capacity = 1024;
    static constexpr std::int32_t default_timeout_ms = 5000;

    struct Port {
        bool open = false;
        std::int32_t timeout_ms = default_timeout_ms;
    };

    /// Null if the port is not open. [mutex held]
    Port* find(std::int32_t port);

    std::mutex mutex_;
    std::array<Port, capacity> ports_ = {};
    std::size_t next_ = 0;
};
