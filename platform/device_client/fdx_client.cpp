#include "device/net/fdx_client.h"

#include "platform/device_client/link_table.h"
#include "platform/device_client/port_table.h"
#include "platform/link/event_record.h"
#include "platform/link/routes.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include <nlohmann/json.hpp>

namespace {

constexpr std::int32_t success = 0;
constexpr std::int32_t invalid_size = 0x705;
constexpr std::int32_t client_error = 0x740;
constexpr std::int32_t invalid_parameter = 0x741;
constexpr std::int32_t timeout_invalid = 0x747;
constexpr std::int32_t port_not_open = 0x748;
constexpr std::int32_t no_address = 0x749;
/// Bytes of the caller's buffer for a device's name, with the terminator.
constexpr std::size_t name_size = 256;

constinit PortTable ports;
constinit LinkTable links;
static_assert(std::is_trivially_destructible_v<PortTable> && std::is_trivially_destructible_v<LinkTable>);

using nlohmann::json;
using zo_link::read_field;
namespace op = zo_link::op;

/// Returns this machine's net id from the routes file; the loopback net id if there is no file.
ZoHmiFdx::NrxNetId local_net_id() {
    const auto path = zo_link::default_routes_path(reinterpret_cast<const void*>(&FdxPortOpenEx));
    const auto routes = zo_link::read_routes(path).value_or(zo_link::Routes());
    const auto bytes = zo_link::parse_net_id(routes.local);
    ZoHmiFdx::NrxNetId net_id{{127, 0, 0, 1, 1, 1}};
    if (bytes) std::ranges::copy(*bytes, net_id.bytes);
    return net_id;
}

/// Sends a request to a device. `take` reads the answer's fields if its code is 0. It returns false if they break the
/// protocol.
template <typename Take>
std::int32_t request(std::int32_t port, const ZoHmiFdx::NrxAddr* address, const char* operation, json fields,
                     const Take& take) {
    const auto timeout = ports.timeout(port);
    if (!timeout) return port_not_open;
    if (address == nullptr) return no_address;
    const auto deadline = DeviceLink::Clock::now() + std::chrono::milliseconds(*timeout);
    const auto link = links.find(ports, port, std::to_array(address->net_id.bytes));
    if (!link) return port_not_open;
    fields["port"] = address->port;
    std::uint32_t code = 0;
    const std::uint32_t result = link->request(operation, fields, deadline, [&](const json& answer) {
        return read_field(answer, "result", code) && (code != 0 || take(answer));
    });
    // A code of the link contains the device's code in its lower half.
    return static_cast<std::int32_t>(zo_link::failed(result) ? result & 0xFFFFu : code);
}

/// Copies the bytes of an answer. Returns false if they are missing or more than requested.
bool take_bytes(const json& answer, std::uint32_t length, void* buffer, std::uint32_t* bytes_read) {
    std::vector<std::uint8_t> data;
    if (!read_field(answer, "data", data) || data.size() > length) return false;
    if (!data.empty()) std::memcpy(buffer, data.data(), data.size());
    if (bytes_read != nullptr) *bytes_read = static_cast<std::uint32_t>(data.size());
    return true;
}

/// Runs a call of the interface. No exception may leave the interface.
template <typename Call>
std::int32_t guarded(const Call& call) {
    try {
        return call();
    } catch (...) { // out of memory
        return client_error;
    }
}

json bytes_of(const void* buffer, std::uint32_t length) {
    const auto* const bytes = static_cast<const std::uint8_t*>(buffer);
    return json::binary(std::vector<std::uint8_t>(bytes, bytes + length));
}

} // namespace

std::int32_t FdxPortOpenEx() {
    return ports.open();
}

std::int32_t FdxPortCloseEx(std::int32_t port) {
    return guarded([&] { return links.close_port(ports, port) ? success : port_not_open; });
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

std::int32_t FdxSyncReadReqEx2(std::int32_t port, const ZoHmiFdx::NrxAddr* address, std::uint32_t index_group,
                               std::uint32_t index_offset, std::uint32_t length, void* buffer,
                               std::uint32_t* bytes_read) {
    if (bytes_read != nullptr) *bytes_read = 0;
    if (buffer == nullptr && length != 0) return invalid_parameter;
    return guarded([&] {
        return request(port, address, op::read, {{"group", index_group}, {"offset", index_offset}, {"length", length}},
                       [&](const json& answer) { return take_bytes(answer, length, buffer, bytes_read); });
    });
}

std::int32_t FdxSyncWriteReqEx(std::int32_t port, const ZoHmiFdx::NrxAddr* address, std::uint32_t index_group,
                               std::uint32_t index_offset, std::uint32_t length, const void* buffer) {
    if (buffer == nullptr && length != 0) return invalid_parameter;
    if (length > zo_link::max_frame_size) return invalid_size; // checked before the copy
    return guarded([&] {
        return request(port, address, op::write,
                       {{"group", index_group}, {"offset", index_offset}, {"data", bytes_of(buffer, length)}},
                       [](const json&) { return true; });
    });
}

std::int32_t FdxSyncReadWriteReqEx2(std::int32_t port, const ZoHmiFdx::NrxAddr* address, std::uint32_t index_group,
                                    std::uint32_t index_offset, std::uint32_t read_length, void* read_buffer,
                                    std::uint32_t write_length, const void* write_buffer, std::uint32_t* bytes_read) {
    if (bytes_read != nullptr) *bytes_read = 0;
    if ((read_buffer == nullptr && read_length != 0) || (write_buffer == nullptr && write_length != 0))
        return invalid_parameter;
    if (write_length > zo_link::max_frame_size) return invalid_size;
    return guarded([&] {
        return request(port, address, op::read_write,
                       {{"group", index_group},
                        {"offset", index_offset},
                        {"length", read_length},
                        {"data", bytes_of(write_buffer, write_length)}},
                       [&](const json& answer) { return take_bytes(answer, read_length, read_buffer, bytes_read); });
    });
}

std::int32_t FdxSyncReadStateReqEx(std::int32_t port, const ZoHmiFdx::NrxAddr* address, std::uint16_t* fdx_state,
                                   std::uint16_t* device_state) {
    if (fdx_state == nullptr || device_state == nullptr) return invalid_parameter;
    return guarded([&] {
        return request(port, address, op::device_state, json::object(), [&](const json& answer) {
            std::uint32_t first = 0;
            std::uint32_t second = 0;
            if (!read_field(answer, "fdx_state", first) || !read_field(answer, "device_state", second) ||
                first > 0xFFFF || second > 0xFFFF)
                return false;
            *fdx_state = static_cast<std::uint16_t>(first);
            *device_state = static_cast<std::uint16_t>(second);
            return true;
        });
    });
}

std::int32_t FdxSyncReadDeviceInfoReqEx(std::int32_t port, const ZoHmiFdx::NrxAddr* address, char* name,
                                        ZoHmiFdx::FdxVersion* version) {
    if (name == nullptr || version == nullptr) return invalid_parameter;
    return guarded([&] {
        return request(port, address, op::device_info, json::object(), [&](const json& answer) {
            std::string text;
            const auto numbers = answer.find("version");
            const auto is_number = [](const json& number) {
                return number.is_number_unsigned() && number.get<std::uint64_t>() <= 0xFFFF;
            };
            if (!read_field(answer, "name", text) || numbers == answer.end() || !numbers->is_array() ||
                numbers->size() != 3 || !std::ranges::all_of(*numbers, is_number) || (*numbers)[0] > 0xFF ||
                (*numbers)[1] > 0xFF)
                return false;
            text.resize(std::min(text.size(), name_size - 1));
            std::memcpy(name, text.c_str(), text.size() + 1);
            *version = {(*numbers)[0].get<std::uint8_t>(), (*numbers)[1].get<std::uint8_t>(),
                        (*numbers)[2].get<std::uint16_t>()};
            return true;
        });
    });
}
