#pragma once

#include "device/net/fdx_client.h"

#include <cstdint>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace fakes {

using Bytes = std::vector<unsigned char>;

// A request to a device. `state` and `info` have neither group nor bytes.
struct DeviceRequest {
    enum Kind { read, write, read_write, state, info } kind;
    std::int32_t port;
    ZoHmiFdx::NrxAddr address;
    std::uint32_t group = 0;
    std::uint32_t offset = 0;
    std::uint32_t length = 0; // of the buffer to read into
    Bytes written;
};

// `came` is the number of bytes that the client says it read; by default the size of `data`.
struct DeviceAnswer {
    std::int32_t code = 0;
    Bytes data;
    std::int64_t came = -1;
    std::uint16_t fdx_state = 0;
    std::uint16_t device_state = 0;
    std::string name;
    ZoHmiFdx::FdxVersion version{};
};

// The device client in a test program: link the source and call the ten functions. Ports count up from 1. Each call
// stands in `call_log()` as "FdxPortOpenEx() = 1" or "FdxPortCloseEx(1)". Requests are kept in order and answered by
// the plan, without one by 0x701. [any thread]
class FakeDeviceClient {
public:
    struct State {
        ZoHmiFdx::NrxNetId local{{5, 1, 2, 3, 1, 1}}; ///< what `FdxGetLocalAddressEx` answers
        std::int32_t local_result = 0;                ///< and its result
        bool refuse = false;                          ///< opening a port fails
        std::int32_t timeout = 5000;                  ///< of every port, in milliseconds
        std::function<void()> hook; ///< runs inside each call that opens or closes a port, without a lock of the fake
        std::function<DeviceAnswer(const DeviceRequest&)> plan;
        std::vector<DeviceRequest> requests;
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

    // Answers each request from now on, with no lock of the fake locked.
    void answer_by(std::function<DeviceAnswer(const DeviceRequest&)> plan) {
        with_state([&](State& state) { state.plan = std::move(plan); });
    }
    // The requests since the last call.
    [[nodiscard]] std::vector<DeviceRequest> take_requests() {
        return with_state([](State& state) { return std::exchange(state.requests, {}); });
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
