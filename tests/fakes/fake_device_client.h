#pragma once

#include "device/net/fdx_client.h"

#include <cstdint>
#include <functional>
#include <mutex>
#include <set>
#include <type_traits>
#include <utility>

namespace fakes {

// The device client in a test program: link the source and call the ten functions. Ports count up from 1. Each call
// stands in `call_log()` as "FdxPortOpenEx() = 1" or "FdxPortCloseEx(1)"; requests answer 0x701. [any thread]
class FakeDeviceClient {
public:
    // All ports closed, the local address 5.1.2.3.1.1, every call succeeds.
    void reset() {
        with_state([](State& state) { state = {}; });
    }
    // The net id that `FdxGetLocalAddressEx` answers, and its result.
    void set_local(ZoHmiFdx::NrxNetId local) {
        with_state([&](State& state) { state.local = local; });
    }
    void set_local_result(std::int32_t result) {
        with_state([&](State& state) { state.local_result = result; });
    }
    // Opening a port fails from now on.
    void refuse_ports(bool refuse) {
        with_state([&](State& state) { state.refuse = refuse; });
    }
    // Runs inside each call that opens or closes a port, with no lock of the fake held.
    void on_open_or_close(std::function<void()> hook) {
        with_state([&](State& state) { state.hook = std::move(hook); });
    }

    [[nodiscard]] std::set<std::int32_t> open_ports() {
        return with_state([](State& state) { return state.open; });
    }

    // By the functions of the client.
    struct State {
        ZoHmiFdx::NrxNetId local{{5, 1, 2, 3, 1, 1}};
        std::int32_t local_result = 0;
        bool refuse = false;
        std::function<void()> hook;
        std::set<std::int32_t> open;
        std::int32_t last_port = 0;
    };
    template <class Use>
    std::invoke_result_t<Use, State&> with_state(Use use) {
        const std::lock_guard lock(mutex_);
        return use(state_);
    }

private:
    std::mutex mutex_;
    State state_;
};

// The one client of this test program.
FakeDeviceClient& device_client();

} // namespace fakes
