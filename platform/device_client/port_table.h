#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>

/// The open client ports of this process. It has no destructor, because threads and static objects that outlive it may
/// use it. All functions are [any thread].
class PortTable {
public:
    /// Opens a port with the default timeout; returns 0 if all ports are in use. Numbers are used in turn, so the
    /// number of a closed port is not reused at once.
    std::int32_t open();
    /// Returns false if the port is not open. So do the other functions.
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

    /// Returns null if the port is not open. [mutex held]
    Port* find(std::int32_t port);

    std::mutex mutex_;
    std::array<Port, capacity> ports_ = {};
    std::size_t next_ = 0;
};
