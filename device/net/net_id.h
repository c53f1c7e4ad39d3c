#pragma once

#include "support/export.h"

#include <compare>
#include <cstdint>
#include <set>
#include <string>

namespace ZoHmiFdx {

/// Six numbers in text joined by dots. The first four name the host, the last two a part of it. A net id whose first
/// four are zero is relative to the machine at hand.
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

/// Reads a net id and leaves the port of `out` alone. There is no error result: what cannot be read gives the net id
/// of six zeros. The reader is lenient at the end: text behind the sixth number is ignored, and the last character of
/// the text need not be a digit ("1.2.3.4.5.6x" gives 1.2.3.4.5.6). [any thread]
ZO_EXPORT void nrx_net_id_from_string(NrxAddr* out, const std::string& text);

/// "5.12.82.40.1.1", or "5.12.82.40" when only the host is asked for. [any thread]
[[nodiscard]] ZO_EXPORT std::string to_string(NrxNetId net_id, bool only_first_four = false);
/// "version.revision.build". [any thread]
[[nodiscard]] ZO_EXPORT std::string to_string(const FdxVersion& version);

[[nodiscard]] ZO_EXPORT bool is_net_id_relative(NrxNetId net_id);

/// Puts this machine's host in front of a relative net id. It stays relative when the device client does not know the
/// machine's own net id. Asks the client only for a relative one. [any thread]
[[nodiscard]] ZO_EXPORT NrxAddr make_net_id_absolute(NrxAddr address);
[[nodiscard]] ZO_EXPORT NrxNetId make_net_id_absolute(NrxNetId net_id);
/// The same with the host of `base`.
[[nodiscard]] ZO_EXPORT NrxNetId make_net_id_absolute(NrxNetId net_id, NrxNetId base);

/// The first four numbers of this machine's net id, "" if the device client does not tell. Opens a port for the call,
/// or uses the given one (0 gives ""). [any thread]
[[nodiscard]] ZO_EXPORT std::string fetch_local_remote_netid_base();
[[nodiscard]] ZO_EXPORT std::string fetch_local_remote_netid_base(int port);

/// Adds a configured net id to a set in the form that makes the same machine appear once: four numbers are completed
/// by ".1.1", and the loopback forms "127.0.0.1" and "0.0.0.0" at the start give way to `local`. The test for them
/// does not look at what follows, so "127.0.0.10" begins with "127.0.0.1". [any thread]
ZO_EXPORT void insert_distinct_net_id(std::set<std::string>& net_ids, std::string id, const std::string& local);

/// Resolves the placeholders at the start of a configured net id. With `keep_loopback` false "127.0.0.1" becomes
/// `local` and "0.0.0.0" becomes "127.0.0.1"; with true "0.0.0.0" becomes `local` and "127.0.0.1" stays. Where `local`
/// is needed and empty, the result begins with "127.0.0.1". [any thread]
[[nodiscard]] ZO_EXPORT std::string actualize_net_id(std::string id, const std::string& local, bool keep_loopback);

} // namespace ZoHmiFdx
