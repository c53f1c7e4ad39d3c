#include "device/net/net_id.h"

#include "device/net/fdx_client.h"
#include "device/net/scoped_port.h"
#include "extension/host/algorithm.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <string_view>
#include <utility>

namespace ZoHmiFdx {

namespace {

constexpr std::string_view loopback = "127.0.0.1";
constexpr std::string_view any_address = "0.0.0.0";

constexpr std::size_t host_bytes = 4;

std::string join(const std::uint8_t* bytes, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        if (i != 0) text += '.';
        text += std::to_string(bytes[i]);
    }
    return text;
}

/// Fills `net_id` from the text. False if the text is no net id; some numbers may be written then.
///
/// The lenient end is intended. The last character of the text is not tested for a digit. Text behind the sixth number
/// is not read.
bool parse(const char* text, NrxNetId& net_id) {
    const char* number = text;
    std::size_t index = 0;
    for (const char* at = text;; ++at) {
        if (*at != '.') {
            if (*at == '\0') return false;
            if (at[1] != '\0') {
                if (*at < '0' || *at > '9') return false;
                continue;
            }
        }
        if (*number == '.' || *number == '\0') return false;
        const long value = std::strtol(number, nullptr, 10);
        if (value > 255) return false;
        net_id.bytes[index] = static_cast<std::uint8_t>(value);
        if (++index == std::size(net_id.bytes)) return true;
        number = at + 1;
    }
}

} // namespace

void nrx_net_id_from_string(NrxAddr* out, const std::string& text) {
    NrxNetId net_id;
    out->net_id = parse(text.c_str(), net_id) ? net_id : NrxNetId();
}

std::string to_string(NrxNetId net_id, bool only_first_four) {
    return join(net_id.bytes, only_first_four ? host_bytes : std::size(net_id.bytes));
}

std::string to_string(const FdxVersion& version) {
    return std::to_string(version.version) + "." + std::to_string(version.revision) + "." +
           std::to_string(version.build);
}

bool is_net_id_relative(NrxNetId net_id) {
    return std::all_of(net_id.bytes, net_id.bytes + host_bytes, [](std::uint8_t byte) { return byte == 0; });
}

NrxNetId make_net_id_absolute(NrxNetId net_id, NrxNetId base) {
    if (is_net_id_relative(net_id)) std::copy_n(base.bytes, host_bytes, net_id.bytes);
    return net_id;
}

NrxNetId make_net_id_absolute(NrxNetId net_id) {
    if (!is_net_id_relative(net_id)) return net_id;
    NrxAddr base;
    nrx_net_id_from_string(&base, fetch_local_remote_netid_base() + ".0.0");
    return make_net_id_absolute(net_id, base.net_id);
}

NrxAddr make_net_id_absolute(NrxAddr address) {
    return {make_net_id_absolute(address.net_id), address.port};
}

std::string fetch_local_remote_netid_base() {
    const SimpleScopedPort port;
    return fetch_local_remote_netid_base(port.port());
}

std::string fetch_local_remote_netid_base(int port) {
    NrxAddr local;
    if (port == 0 || FdxGetLocalAddressEx(port, &local) != 0) return {};
    return to_string(local.net_id, true);
}

void insert_distinct_net_id(std::set<std::string>& net_ids, std::string id, const std::string& local) {
    if (std::ranges::count(id, '.') == 3) id += ".1.1";
    if (id.starts_with(loopback))
        ZoHmiSrv::Algorithm::replace(id, loopback, local);
    else if (id.starts_with(any_address))
        ZoHmiSrv::Algorithm::replace(id, any_address, local);
    net_ids.insert(std::move(id));
}

std::string actualize_net_id(std::string id, const std::string& local, bool keep_loopback) {
    if (id.starts_with(loopback)) {
        if (!keep_loopback && !local.empty()) ZoHmiSrv::Algorithm::replace(id, loopback, local);
    } else if (id.starts_with(any_address)) {
        ZoHmiSrv::Algorithm::replace(id, any_address, keep_loopback && !local.empty() ? local : loopback);
    }
    return id;
}

} // namespace ZoHmiFdx
