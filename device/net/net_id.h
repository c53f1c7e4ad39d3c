#pragma once

#include "support/export.h"

#include <compare>
#include <cstdint>
#include <set>
#include <string>

namespace ZoHmiFdx {

/// Six numbers; in text, dots join them. The first four name the host, the last two a part of it. A net id that begins
/// with four zeros is relative to this machine.
struct NrxNetId {
    std::uint8_t bytes[6] = {};

    friend constexpr bool operator==(const NrxNetId&, const NrxNetId&) = default;
    friend constexpr auto operator<=>(const NrxNetId&, const NrxNetId&) = default;
};

/// A service on a device: its net id and its port.
struct NrxAddr {
    NrxNetId net_id;
    std::uint16_t port = 0;

    friend constexpr bool operator==(const NrxAddr&, const NrxAddr&) = default;
};
static_assert(sizeof(NrxNetId) == 6 && sizeof(NrxAddr) == 8, "both cross to the device client as they are");

/// The version of a device's service.
struct FdxVersion {
    std::uint8_t version = 0;
    std::uint8_t revision = 0;
    std::uint16_t build = 0;
};
static_assert(sizeof(FdxVersion) == 4);

/// Reads a net id; the port of `out` is unchanged. Text that is no net id gives six zeros. Text behind the sixth number
/// is ignored, and the last character need not be a digit: "1.2.3.4.5.6x" gives 1.2.3.4.5.6. [any thread]
ZO_EXPORT void nrx_net_id_from_string(NrxAddr* out, const std::string& text);

/// "5.12.82.40.1.1", or the host alone: "5.12.82.40". [any thread]
[[nodiscard]] ZO_EXPORT std::string to_string(NrxNetId net_id, bool only_first_four = false);
/// "version.revision.build". [any thread]
[[nodiscard]] ZO_EXPORT std::string to_string(const FdxVersion& version);

[[nodiscard]] ZO_EXPORT bool is_net_id_relative(NrxNetId net_id);

/// Replaces the zeros of a relative net id by the host of this machine. The net id stays relative if the device client
/// does not know the local net id. An absolute net id needs no call of the client. [any thread]
[[nodiscard]] ZO_EXPORT NrxAddr make_net_id_absolute(NrxAddr address);
[[nodiscard]] ZO_EXPORT NrxNetId make_net_id_absolute(NrxNetId net_id);
/// The same with the host of `base`.
[[nodiscard]] ZO_EXPORT NrxNetId make_net_id_absolute(NrxNetId net_id, NrxNetId base);

/// The first four numbers of the local net id, or "" if the device client fails. Opens a port for the call, or uses the
/// given port. Port 0 gives "". [any thread]
[[nodiscard]] ZO_EXPORT std::string fetch_local_remote_netid_base();
[[nodiscard]] ZO_EXPORT std::string fetch_local_remote_netid_base(int port);

/// Adds a configured net id to a set, in a form that is unique for each machine. ".1.1" completes four numbers, and
/// `local` replaces "127.0.0.1" and "0.0.0.0" at the start. The test is for a prefix of the text: "127.0.0.10" begins
/// with "127.0.0.1" too. [any thread]
ZO_EXPORT void insert_distinct_net_id(std::set<std::string>& net_ids, std::string id, const std::string& local);

/// Resolves the placeholder at the start of a configured net id. Without `keep_loopback`, "127.0.0.1" becomes `local`
/// and "0.0.0.0" becomes "127.0.0.1". With it, "0.0.0.0" becomes `local` and "127.0.0.1" stays. "127.0.0.1" replaces an
/// empty `local`. [any thread]
[[nodiscard]] ZO_EXPORT std::string actualize_net_id(std::string id, const std::string& local, bool keep_loopback);

} // namespace ZoHmiFdx
