#pragma once

#include "device/net/fdx_client.h"

#include <cstdint>
#include <functional>
#include <mutex>
#include <set>
#include <type_traits>
#include <utility>

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
    void reset() {
        with_state([](State& state) { state = {}; });
    }
    void set_local(ZoHmiFdx::NrxNetId local) {
        with_state([&](State& state) { state.local = local; });
    }
    void set_local_result(std::int32_t result) {
        with_state([&](State& state) { state.local_result = result; });
    }
    void refuse_ports(bool refuse) {
        with_state([&](State& state) { state.refuse = refuse; });
    }
    void on_open_or_close(std::function<void()> hook) {
        with_state([&](State& state) { state.hook = std::move(hook); });
    }
    [[nodiscard]] std::set<std::int32_t> open_ports() {
        return with_state([](State& state) { return state.open; });
    }

    template <class Use>
    std::invoke_result_t<Use, State&> with_state(Use use) {
        const std::lock_guard lock(mutex_);
        return use(state_);
    }

private:
    std::mutex mutex_;
    State state_;
};

/// The one client of this test program.
FakeDeviceClient& device_client();

} // namespace fakes
