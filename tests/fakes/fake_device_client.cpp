#include "tests/fakes/fake_device_client.h"

#include "tests/fakes/call_log.h"

#include <algorithm>
#include <cstring>
#include <string>

using fakes::Bytes;
using fakes::call_log;
using fakes::device_client;
using fakes::DeviceAnswer;
using fakes::DeviceRequest;
using State = fakes::FakeDeviceClient::State;

namespace {

constexpr std::int32_t service_not_supported = 0x701;
constexpr std::int32_t port_not_open = 0x748;

void run_hook() {
    const std::function<void()> hook = device_client().with_state([](State& state) { return state.hook; });
    if (hook) hook();
}

Bytes bytes_of(const void* data, std::uint32_t length) {
    const auto* const bytes = static_cast<const unsigned char*>(data);
    return length == 0 ? Bytes() : Bytes(bytes, bytes + length);
}

DeviceAnswer take(DeviceRequest request) {
    const auto plan = device_client().with_state([&](State& state) {
        state.requests.push_back(request);
        return state.plan;
    });
    if (plan) return plan(request);
    DeviceAnswer refused;
    refused.code = service_not_supported;
    return refused;
}

std::int32_t fill(const DeviceAnswer& answer, std::uint32_t length, void* buffer, std::uint32_t* bytes_read) {
    const std::size_t size = std::min<std::size_t>(answer.data.size(), length);
    if (size != 0) std::memcpy(buffer, answer.data.data(), size);
    *bytes_read = static_cast<std::uint32_t>(answer.came < 0 ? static_cast<std::int64_t>(size) : answer.came);
    return answer.code;
}

} // namespace

fakes::FakeDeviceClient& fakes::device_client() {
    static FakeDeviceClient client;
    return client;
}

std::int32_t FdxPortOpenEx() {
    run_hook();
    return device_client().with_state([](State& state) {
        const std::int32_t port = state.refuse ? 0 : ++state.last_port;
        if (port != 0) state.open.insert(port);
        call_log().add("FdxPortOpenEx() = " + std::to_string(port));
        return port;
    });
}

std::int32_t FdxPortCloseEx(std::int32_t port) {
    run_hook();
    call_log().add("FdxPortCloseEx(" + std::to_string(port) + ")");
    return device_client().with_state([&](State& state) { return state.open.erase(port) == 1 ? 0 : port_not_open; });
}

std::int32_t FdxGetLocalAddressEx(std::int32_t port, ZoHmiFdx::NrxAddr* address) {
    call_log().add("FdxGetLocalAddressEx(" + std::to_string(port) + ")");
    return device_client().with_state([&](State& state) {
        if (!state.open.contains(port)) return port_not_open;
        if (state.local_result == 0) *address = {state.local, static_cast<std::uint16_t>(port)};
        return state.local_result;
    });
}

std::int32_t FdxSyncSetTimeoutEx(std::int32_t port, std::int32_t timeout) {
    call_log().add("FdxSyncSetTimeoutEx(" + std::to_string(port) + ", " + std::to_string(timeout) + ")");
    return device_client().with_state([&](State& state) {
        if (!state.open.contains(port)) return port_not_open;
        state.timeout = timeout;
        return 0;
    });
}

std::int32_t FdxSyncGetTimeoutEx(std::int32_t port, std::int32_t* timeout) {
    return device_client().with_state([&](State& state) {
        if (!state.open.contains(port)) return port_not_open;
        *timeout = state.timeout;
        return 0;
    });
}

std::int32_t FdxSyncReadReqEx2(std::int32_t port, const ZoHmiFdx::NrxAddr* address, std::uint32_t group,
                               std::uint32_t offset, std::uint32_t length, void* buffer, std::uint32_t* bytes_read) {
    const DeviceAnswer answer = take({DeviceRequest::read, port, *address, group, offset, length, {}});
    return fill(answer, length, buffer, bytes_read);
}

std::int32_t FdxSyncWriteReqEx(std::int32_t port, const ZoHmiFdx::NrxAddr* address, std::uint32_t group,
                               std::uint32_t offset, std::uint32_t length, const void* buffer) {
    return take({DeviceRequest::write, port, *address, group, offset, 0, bytes_of(buffer, length)}).code;
}

std::int32_t FdxSyncReadWriteReqEx2(std::int32_t port, const ZoHmiFdx::NrxAddr* address, std::uint32_t group,
                                    std::uint32_t offset, std::uint32_t read_length, void* read_buffer,
                                    std::uint32_t write_length, const void* write_buffer, std::uint32_t* bytes_read) {
    const DeviceAnswer answer = take(
        {DeviceRequest::read_write, port, *address, group, offset, read_length, bytes_of(write_buffer, write_length)});
    return fill(answer, read_length, read_buffer, bytes_read);
}

std::int32_t FdxSyncReadStateReqEx(std::int32_t port, const ZoHmiFdx::NrxAddr* address, std::uint16_t* fdx_state,
                                   std::uint16_t* device_state) {
    const DeviceAnswer answer = take({DeviceRequest::state, port, *address, 0, 0, 0, {}});
    *fdx_state = answer.fdx_state;
    *device_state = answer.device_state;
    return answer.code;
}

std::int32_t FdxSyncReadDeviceInfoReqEx(std::int32_t port, const ZoHmiFdx::NrxAddr* address, char* name,
                                        ZoHmiFdx::FdxVersion* version) {
    const DeviceAnswer answer = take({DeviceRequest::info, port, *address, 0, 0, 0, {}});
    std::ranges::copy(answer.name, name);
    *version = answer.version;
    return answer.code;
}
