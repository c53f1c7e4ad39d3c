#include "device/net/scoped_port.h"

#include "device/net/fdx_client.h"

#include <type_traits>

namespace ZoHmiFdx {

namespace {

int open_port() {
    const std::lock_guard lock(fdx_port_open_mutex());
    return FdxPortOpenEx();
}

void close_port(int port) {
    const std::lock_guard lock(fdx_port_open_mutex());
    FdxPortCloseEx(port);
}

} // namespace

std::mutex& fdx_port_open_mutex() {
    static_assert(std::is_trivially_destructible_v<std::mutex>, "no destructor may end it while threads still run");
    static constinit std::mutex mutex;
    return mutex;
}

SimpleScopedPort::SimpleScopedPort() : port_(open_port()) {
}

SimpleScopedPort::~SimpleScopedPort() {
    close_port(port_);
}

int PortPoolImplementation::port_open() {
    return open_port();
}

void PortPoolImplementation::port_close(int port) {
    if (port != 0) close_port(port);
}

void PortPoolImplementation::port_set_timeout(int port, int timeout) {
    FdxSyncSetTimeoutEx(port, timeout);
}

} // namespace ZoHmiFdx
