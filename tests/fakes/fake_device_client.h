#pragma once

#include "device/net/fdx_client.h"
#include "tests/test_headers.h"

namespace fakes {

/// The port functions of the device client, for test programs that link the source. Ports count up from 1. The calls
/// stand in `call_log()` as "FdxPortOpenEx() = 1" or "FdxPortCloseEx(1)". [any thread]
class FakeDeviceClient {
public:
    struct State {
        ZoHmiFdx::NrxNetId local{{5, 1, 2, 3, 1, 1}}; ///< what `FdxGetLocalAddressEx` answers
        std::int32_t local_result = 0;                ///< and its result
        bool refuse = false;                          ///< opening a port fails
        std::function<void()> hook; ///< runs inside each call that opens or closes a port, without a lock of the fake
        std::set<std::int32_t> open;
        std::int32_t last_port = 0;
    };
    /// Returns the state, locked as long as the pointer exists.
    [[nodiscard]] auto state() {
        const auto unlock = [this](State*) { mutex_.unlock(); };
        mutex_.lock();
        return std::unique_ptr<State, decltype(unlock)>(&state_, unlock);
    }

    void reset() { *state() = {}; }
    void set_local(ZoHmiFdx::NrxNetId local) { state()->local = local; }
    void set_local_result(std::int32_t result) { state()->local_result = result; }
    void refuse_ports(bool refuse) { state()->refuse = refuse; }
    void on_open_or_close(std::function<void()> hook) { state()->hook = std::move(hook); }
    [[nodiscard]] std::set<std::int32_t> open_ports() { return state()->open; }

private:
    std::mutex mutex_;
    State state_;
};

/// The one client of this test program.
FakeDeviceClient& device_client();

} // namespace fakes
