#pragma once

#include "device/fdx_client.h"

#include <cstdint>
#include <functional>
#include <mutex>
#include <set>

namespace fakes {

// The device client in a test program: link the source and call the ten functions. Ports count up from 1. Each call
// stands in `call_log()` as "FdxPortOpenEx() = 1" or "FdxPortCloseEx(1)"; requests answer 0x701. [any thread]
class FakeDeviceClient {
public:
    // All ports closed, the local address 5.1.2.3.1.1, every call succeeds.
    void reset();

    // The net id that `FdxGetLocalAddressEx` answers, and its result.
    void set_local(ZoHmiFdx::NrxNetId local);
    void set_local_result(std::int32_t result);
    // Opening a port fails from now on.
    void refuse_ports(bool refuse);
    // Runs inside each call that opens or closes a port, with no lock of the fake held.
    void on_open_or_close(std::function<void()> hook);

    [[nodiscard]] std::set<std::int32_t> open_ports() const;

    // The functions of the client.
    std::int32_t open();
    std::int32_t close(std::int32_t port);
    std::int32_t local_address(std::int32_t port, ZoHmiFdx::NrxAddr* address);
    std::int32_t set_timeout(std::int32_t port, std::int32_t timeout);

private:
    void run_hook();

    mutable std::mutex mutex_;
    ZoHmiFdx::NrxNetId local_{{5, 1, 2, 3, 1, 1}};
    std::int32_t local_result_ = 0;
    bool refuse_ = false;
    std::function<void()> hook_;
    std::set<std::int32_t> open_;
    std::int32_t last_port_ = 0;
};

// The one client of this test program.
FakeDeviceClient& device_client();

} // namespace fakes
