#include "tests/fakes/fake_device_client.h"

#include "tests/fakes/call_log.h"

using fakes::call_log;
using fakes::device_client;

namespace {

constexpr std::int32_t port_not_open = 0x748;

void run_hook() {
    const std::function<void()> hook = device_client().state()->hook;
    if (hook) hook();
}

} // namespace

fakes::FakeDeviceClient& fakes::device_client() {
    static FakeDeviceClient client;
    return client;
}

std::int32_t FdxPortOpenEx() {
    run_hook();
    const auto state = device_client().state();
    const std::int32_t port = state->refuse ? 0 : ++state->last_port;
    if (port != 0) state->open.insert(port);
    call_log().add("FdxPortOpenEx() = " + std::to_string(port));
    return port;
}

std::int32_t FdxPortCloseEx(std::int32_t port) {
    run_hook();
    call_log().add("FdxPortCloseEx(" + std::to_string(port) + ")");
    return device_client().state()->open.erase(port) == 1 ? 0 : port_not_open;
}

std::int32_t FdxGetLocalAddressEx(std::int32_t port, ZoHmiFdx::NrxAddr* address) {
    call_log().add("FdxGetLocalAddressEx(" + std::to_string(port) + ")");
    const auto state = device_client().state();
    if (!state->open.contains(port)) return port_not_open;
    if (state->local_result == 0) *address = {state->local, static_cast<std::uint16_t>(port)};
    return state->local_result;
}

std::int32_t FdxSyncSetTimeoutEx(std::int32_t port, std::int32_t timeout) {
    call_log().add("FdxSyncSetTimeoutEx(" + std::to_string(port) + ", " + std::to_string(timeout) + ")");
    return device_client().open_ports().contains(port) ? 0 : port_not_open;
}
