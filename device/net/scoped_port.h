#pragma once

#include "support/export.h"

#include <mutex>

namespace ZoHmiFdx {

/// Serialises the opening and closing of client ports in this process. A thread locks it for one call of the device
/// client, and locks no other mutex meanwhile. The mutex outlives every static object.
[[nodiscard]] ZO_EXPORT std::mutex& fdx_port_open_mutex();

/// A client port that is open for the lifetime of the object. [any thread]
class ZO_EXPORT SimpleScopedPort {
public:
    SimpleScopedPort();
    ~SimpleScopedPort();
    SimpleScopedPort(const SimpleScopedPort&) = delete;
    SimpleScopedPort& operator=(const SimpleScopedPort&) = delete;

    /// False if no port could be opened.
    [[nodiscard]] bool valid() const noexcept { return port_ != 0; }
    [[nodiscard]] int port() const noexcept { return port_; }

private:
    int port_;
};

/// The operations of a pool of client ports. [any thread]
class ZO_EXPORT PortPoolImplementation {
public:
    /// The new port, 0 if none could be opened.
    int port_open();
    /// Port 0 is no port and is not closed.
    void port_close(int port);
    /// `timeout` in milliseconds.
    void port_set_timeout(int port, int timeout);
};

} // namespace ZoHmiFdx
