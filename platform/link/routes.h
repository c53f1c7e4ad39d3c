#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

/// The routes file: which net id lies behind which host and port, and which net id this machine has.
///
///     {"local": "5.1.2.3.1.1", "routes": {"5.12.82.40.1.1": "127.0.0.1:48900"}}
///
/// It stands in for the router's own table of routes. All functions are [any thread].
namespace zo_link {

struct Routes {
    /// This machine's net id, six numbers.
    std::string local = "127.0.0.1.1.1";
    /// From net ids of six numbers to "host:port".
    std::map<std::string, std::string> routes;
};

/// Reads a routes file. Empty if it is no regular file, cannot be read, is larger than 1 MiB or is no JSON object.
/// Ignores members of a wrong type; a file without "local" gives the loopback net id. Net ids are normalised.
[[nodiscard]] std::optional<Routes> read_routes(const std::string& path);

/// The path in the environment variable ZO_ROUTES, else "routes.json" in the folder of the shared object or program
/// that holds `symbol_in_library`.
[[nodiscard]] std::string default_routes_path(const void* symbol_in_library);

/// A net id of four numbers gets ".1.1"; any other text is returned unchanged.
[[nodiscard]] std::string normalise_net_id(std::string_view net_id);

/// The six bytes of a net id of six decimal numbers; empty for any other text.
[[nodiscard]] std::optional<std::array<std::uint8_t, 6>> parse_net_id(std::string_view net_id);

} // namespace zo_link
