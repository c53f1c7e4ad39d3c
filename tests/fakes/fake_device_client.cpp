#include "tests/fakes/fake_device_client.h"

#include "tests/fakes/call_log.h"

#include <string>
#include <utility>

namespace fakes {

namespace {

constexpr std::int32_t service_not_supported = 0x701;
constexpr std::int32_t port_not_open = 0x748;

} // namespace

void FakeDeviceClient::reset() {
    const std::lock_guard lock(mutex_);
    local_ = {{5, 1, 2, 3, 1, 1}};
    local_result_ = 0;
    refuse_ = false;
    hook_ = nullptr;
    open_.clear();
    last_port_ = 0;
}

void FakeDeviceClient::set_local(ZoHmiFdx::NrxNetId local) {
    const std::lock_guard lock(mutex_);
    local_ = local;
}

void FakeDeviceClient::set_local_result(std::int32_t result) {
    const std::lock_guard lock(mutex_);
    local_result_ = result;
}

void FakeDeviceClient::refuse_ports(bool refuse) {
    const std::lock_guard lock(mutex_);
    refuse_ = refuse;
}

void FakeDeviceClient::on_open_or_close(std::function<void()> hook) {
    const std::lock_guard lock(mutex_);
    hook_ = std::move(hook);
}

std::set<std::int32_t> FakeDeviceClient::open_ports() const {
    const std::lock_guard lock(mutex_);
    return open_;
}

void FakeDeviceClient::run_hook() {
    std::function<void()> hook;
    {
        const std::lock_guard lock(mutex_);
        hook = hook_;
    }
    if (hook) hook();
}

std::int32_t FakeDeviceClient::open() {
    run_hook();
    const std::lock_guard lock(mutex_);
    const std::int32_t port = refuse_ ? 0 : ++last_port_;
    if (port != 0) open_.insert(port);
    call_log().add("FdxPortOpenEx() = " + std::to_string(port));
    return port;
}

std::int32_t FakeDeviceClient::close(std::int32_t port) {
    run_hook();
    const std::lock_guard lock(mutex_);
    call_log().add("FdxPortCloseEx(" + std::to_string(port) + ")");
    return open_.erase(port) == 1 ? 0 : port_not_open;
}

std::int32_t FakeDeviceClient::local_address(std::int32_t port, ZoHmiFdx::NrxAddr* address) {
    const std::lock_guard lock(mutex_);
    call_log().add("FdxGetLocalAddressEx(" + std::to_string(port) + ")");
    if (!open_.contains(port)) return port_not_open;
    if (local_result_ == 0) *address = {local_, static_cast<std::uint16_t>(port)};
    return local_result_;
}

std::int32_t FakeDeviceClient::set_timeout(std::int32_t port, std::int32_t timeout) {
    const std::lock_guard lock(mutex_);
    call_log().add("FdxSyncSetTimeoutEx(" + std::to_string(port) + ", " + std::to_string(timeout) + ")");
    return open_.contains(port) ? 0 : port_not_open;
}

FakeDeviceClient& device_client() {
    static FakeDeviceClient client;
    return client;
}

} // namespace fakes

std::int32_t FdxPortOpenEx() {
    return fakes::device_client().open();
}

std::int32_t FdxPortCloseEx(std::int32_t port) {
    return fakes::device_client().close(port);
}

std::int32_t FdxGetLocalAddressEx(std::int32_t port, ZoHmiFdx::NrxAddr* address) {
    return fakes::device_client().local_address(port, address);
}

std::int32_t FdxSyncGetTimeoutEx(std::int32_t, std::int32_t*) {
    return fakes::service_not_supported;
}

std::int32_t FdxSyncSetTimeoutEx(std::int32_t port, std::int32_t timeout) {
    return fakes::device_client().set_timeout(port, timeout);
}

std::int32_t FdxSyncReadReqEx2(std::int32_t, const ZoHmiFdx::NrxAddr*, std::uint32_t, std::uint32_t, std::uint32_t,
                               void*, std::uint32_t*) {
    return fakes::service_not_supported;
}

std::int32_t FdxSyncWriteReqEx(std::int32_t, const ZoHmiFdx::NrxAddr*, std::uint32_t, std::uint32_t, std::uint32_t,
                               const void*) {
    return fakes::service_not_supported;
}

std::int32_t FdxSyncReadWriteReqEx2(std::int32_t, const ZoHmiFdx::NrxAddr*, std::uint32_t, std::uint32_t, std::uint32_t,
                                    void*, std::uint32_t, const void*, std::uint32_t*) {
    return fakes::service_not_supported;
}

std::int32_t FdxSyncReadStateReqEx(std::int32_t, const ZoHmiFdx::NrxAddr*, std::uint16_t*, std::uint16_t*) {
    return fakes::service_not_supported;
}

std::int32_t FdxSyncReadDeviceInfoReqEx(std::int32_t, const ZoHmiFdx::NrxAddr*, char*, ZoHmiFdx::FdxVersion*) {
    return fakes::service_not_supported;
}
