#include "device/net/fdx_client.h"

#include "platform/device_client/port_table.h"
#include "platform/link/routes.h"

#include <algorithm>
#include <type_traits>

namespace {

constexpr std::int32_t success = 0;
constexpr std::int32_t service_not_supported = 0x701;
constexpr std::int32_t client_error = 0x740;
constexpr std::int32_t invalid_parameter = 0x741;
constexpr std::int32_t timeout_invalid = 0x747;
constexpr std::int32_t port_not_open = 0x748;
constexpr std::int32_t no_address = 0x749;

constinit PortTable ports;
static_assert(std::is_trivially_destructible_v<PortTable>);

/// Returns this machine's net id from the routes file, the loopback one without such a file.
ZoHmiFdx::NrxNetId local_net_id() {
    const auto path = zo_link::default_routes_path(reinterpret_cast<const void*>(&FdxPortOpenEx));
    const auto routes = zo_link::read_routes(path).value_or(zo_link::Routes());
    const auto bytes = zo_link::parse_net_id(routes.local);
    ZoHmiFdx::NrxNetId net_id{{127, 0, 0, 1, 1, 1}};
    if (bytes) std::ranges::copy(*bytes, net_id.bytes);
    return net_id;
}

/// There are no devices yet: every well-formed request is not supported.
std::int32_t refuse(std::int32_t port, const ZoHmiFdx::NrxAddr* address) {
    if (!ports.is_open(port)) return port_not_open;
    return address == nullptr ? no_address : service_not_supported;
}

std::int32_t refuse_read(std::int32_t port, const ZoHmiFdx::NrxAddr* address, std::uint32_t* bytes_read) {
    if (bytes_read != nullptr) *bytes_read = 0;
    return refuse(port, address);
}

} // namespace

std::int32_t FdxPortOpenEx() {
    return ports.open();
}

std::int32_t FdxPortCloseEx(std::int32_t port) {
    return ports.close(port) ? success : port_not_open;
}

std::int32_t FdxGetLocalAddressEx(std::int32_t port, ZoHmiFdx::NrxAddr* address) {
    if (address == nullptr) return invalid_parameter;
    if (!ports.is_open(port)) return port_not_open;
    try {
        *address = {local_net_id(), static_cast<std::uint16_t>(port)};
        return success;
    } catch (...) { // out of memory
        return client_error;
    }
}

std::int32_t FdxSyncGetTimeoutEx(std::int32_t port, std::int32_t* timeout) {
    if (timeout == nullptr) return invalid_parameter;
    const auto found = ports.timeout(port);
    if (!found) return port_not_open;
    *timeout = *found;
    return success;
}

std::int32_t FdxSyncSetTimeoutEx(std::int32_t port, std::int32_t timeout) {
    if (timeout < 0) return timeout_invalid;
    return ports.set_timeout(port, timeout) ? success : port_not_open;
}

std::int32_t FdxSyncReadReqEx2(std::int32_t port, const ZoHmiFdx::NrxAddr* address, std::uint32_t /*index_group*/,
                               std::uint32_t /*index_offset*/, std::uint32_t /*length*/, void* /*buffer*/,
                               std::uint32_t* bytes_read) {
    return refuse_read(port, address, bytes_read);
}

std::int32_t FdxSyncWriteReqEx(std::int32_t port, const ZoHmiFdx::NrxAddr* address, std::uint32_t /*index_group*/,
                               std::uint32_t /*index_offset*/, std::uint32_t /*length*/, const void* /*buffer*/) {
    return refuse(port, address);
}

std::int32_t FdxSyncReadWriteReqEx2(std::int32_t port, const ZoHmiFdx::NrxAddr* address, std::uint32_t /*index_group*/,
                                    std::uint32_t /*index_offset*/, std::uint32_t /*read_length*/,
                                    void* /*read_buffer*/, std::uint32_t /*write_length*/, const void* /*write_buffer*/,
                                    std::uint32_t* bytes_read) {
    return refuse_read(port, address, bytes_read);
}

std::int32_t FdxSyncReadStateReqEx(std::int32_t port, const ZoHmiFdx::NrxAddr* address, std::uint16_t* /*fdx_state*/,
                                   std::uint16_t* /*device_state*/) {
    return refuse(port, address);
}

std::int32_t FdxSyncReadDeviceInfoReqEx(std::int32_t port, const ZoHmiFdx::NrxAddr* address, char* /*name*/,
                                        ZoHmiFdx::FdxVersion* /*version*/) {
    return refuse(port, address);
}
