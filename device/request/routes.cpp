#include "device/request/routes.h"

#include "device/code/result_codes.h"
#include "device/request/index_groups.h"
#include "device/request/request_proxy.h"
#include "extension/host/value.h"
#include "support/utf8.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace ZoHmiFdx {

namespace {

using ZoHmiSrv::ExtensionResult;
using ZoHmiSrv::ExtensionResultStream;
using ZoHmiSrv::Value;
using ZoHmiSrv::ValueType;

constexpr int no_more_routes = 0x716;
constexpr std::uint32_t group_enumerate_remote = 0x323;
constexpr std::uint32_t route_count_limit = 65'536; // of the system service: one request for each index
constexpr std::uint32_t route_record_limit = 0x600; // bytes
constexpr std::size_t route_head_size = 44;
constexpr std::size_t additional_head_size = 24;

constexpr std::uint32_t group_router_remotes = 3;
constexpr std::uint32_t offset_all_remotes = 1;
constexpr std::uint32_t offset_remote_count = 2;
constexpr std::uint32_t router_record_size = 58;
constexpr std::size_t router_name_at = 16;
constexpr std::size_t router_name_size = 32;
constexpr std::size_t router_net_id_at = 52;
constexpr std::uint32_t router_count_limit = 100'000;

const std::string no_name = "?";

RequestProxy proxy_to(int port, const NrxNetId& target, std::uint16_t service) {
    return {static_cast<unsigned long>(port), NrxAddr{target, service}, RequestLimits(), false, nullptr};
}

/// The received bytes of a record of the device. Only `name` checks its range; call `has` before the other functions.
class Record {
public:
    explicit Record(RequestProxy::View bytes) : bytes_(bytes) {}

    bool has(std::uint64_t at, std::uint64_t size) const { return at <= bytes_.size() && size <= bytes_.size() - at; }
    NrxNetId net_id(std::size_t at) const { return copy<NrxNetId>(at); }
    std::uint32_t number(std::size_t at) const { return copy<std::uint32_t>(at); }
    /// Returns the characters up to the first zero, at most `size`.
    std::string text(std::size_t at, std::size_t size) const {
        const std::string_view field(reinterpret_cast<const char*>(bytes_.data()) + at, size);
        return std::string(field.substr(0, field.find('\0')));
    }
    /// Returns a name of `length` bytes, which count its terminator; "?" if it is empty or does not fit.
    std::string name(std::uint64_t at, std::uint32_t length) const {
        return length > 1 && has(at, length) ? text(at, length - 1) : no_name;
    }

private:
    template <class T>
    T copy(std::size_t at) const {
        T value;
        std::memcpy(&value, bytes_.data() + at, sizeof value);
        return value;
    }

    RequestProxy::View bytes_;
};

// System services send the main name in UTF-8, but not the additional names.
void append_system_service_record(Value& out, const Record& record) {
    const std::uint64_t name_at = std::uint64_t{route_head_size} + record.number(32);
    const std::uint32_t name_length = record.number(36);
    const std::uint32_t additional = record.number(40);
    Routes::append_route(out, {record.net_id(0), record.name(name_at, name_length)});
    std::uint64_t at = name_at + name_length;
    for (std::uint32_t i = 0; i < additional && record.has(at, additional_head_size); ++i) {
        const std::uint32_t length = record.number(at + 20);
        const std::string name = ZoHmiSrv::UTF8::windows1252_to_utf8(record.name(at + additional_head_size, length));
        Routes::append_route(out, {record.net_id(at), name});
        if (!record.has(at + additional_head_size, length)) return;
        at += additional_head_size + length;
    }
}

} // namespace

ExtensionResult Routes::fetch_routes_from_sys_service(int port, const NrxNetId& target, Value& out) {
    out.set_type(ValueType::Vector);
    RequestProxy proxy = proxy_to(port, target, system_service_port);
    for (std::uint32_t i = 0; i < route_count_limit; ++i) {
        const auto [bytes, code] = proxy.data_at(group_enumerate_remote, i, route_record_limit);
        if (code == no_more_routes) return {};
        if (is_error(code))
            return ExtensionResultStream(code)
                   << "FdxSyncReadReqEx2 failed for index-group SYSTEMSERVICE_ENUMREMOTE at index "
                   << std::to_string(i);
        if (bytes.size() < route_head_size) return {};
        append_system_service_record(out, Record(bytes));
    }
    return {};
}

ExtensionResult Routes::fetch_routes_from_router(int port, const NrxNetId& target, Value& out) {
    out.set_type(ValueType::Vector);
    RequestProxy proxy = proxy_to(port, target, router_port);
    const auto [count_bytes, count_code] =
        proxy.data_at(group_router_remotes, offset_remote_count, sizeof(std::uint32_t));
    if (is_error(count_code))
        return ExtensionResultStream(count_code)
               << "Unable to get the number of routes from the FDX router. FdxSyncReadReqEx2 failed for index-group "
                  "ROUTERFDXGRP_REMOTES and index-offset ROUTERFDXOFFS_REMOTES_CNT.";
    if (count_bytes.size() < sizeof(std::uint32_t)) return {};
    const std::uint32_t count = Record(count_bytes).number(0);
    if (count == 0) return {};

    const auto [bytes, code] = count > router_count_limit ? RequestProxy::Data({}, HMI_FDX_E_REQUEST_TOO_LARGE)
                                                          : proxy.data_at(group_router_remotes, offset_all_remotes,
                                                                          std::uint64_t{router_record_size} * count);
    if (is_error(code))
        return ExtensionResultStream(code)
               << "Unable to get " << count
               << " routes from the FDX router. FdxSyncReadReqEx2 failed for index-group ROUTERFDXGRP_REMOTES and "
                  "index-offset ROUTERFDXOFFS_REMOTES_ALL.";
    const Record records(bytes);
    for (std::size_t at = 0; records.has(at, router_record_size); at += router_record_size) {
        const std::string name =
            ZoHmiSrv::UTF8::windows1252_to_utf8(records.text(at + router_name_at, router_name_size));
        append_route(out, {records.net_id(at + router_net_id_at), name});
    }
    return {};
}

void Routes::append_route(Value& out, const Route& route) {
    const std::string net_id = to_string(route.net_id);
    Value added;
    added.set_type(ValueType::Struct);
    added["label"] = route_label(route.name, net_id).c_str();
    added["name"] = route.name.c_str();
    added["value"] = net_id.c_str();
    out << std::move(added);
}

std::string Routes::route_label(const std::string& name, const std::string& net_id) {
    return name + " (" + net_id + ")";
}

} // namespace ZoHmiFdx
