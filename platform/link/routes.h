#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

/// The routes file: the host and port of each net id, and the net id of this machine.
///
///     {"local": "5.1.2.3.1.1", "routes": {"5.12.82.40.1.1": "127.0.0.1:48900"}}
///
/// It replaces the router's own table of routes. All functions are [any thread].
namespace zo_link {

struct Routes {
    /// This machine's net id, six numbers.
    std::string local = "127.0.0.1.1.1";
    /// Maps net ids of six numbers to "host:port".
    std::map<std::string, std::string> routes;
};

/// Reads a routes file. Empty if it is not a regular file, cannot be read, is larger than 1 MiB or is not a JSON
/// object. Ignores members of a wrong type. A file without "local" gives the loopback net id. Net ids are normalised.
[[nodiscard]] std::optional<Routes> read_routes(const std::string& path);

/// Returns the path in the environment variable ZO_ROUTES. Without the variable, returns "routes.json" in the folder of
/// the shared object or program that contains `symbol_in_library`.
[[nodiscard]] std::string default_routes_path(const void* symbol_in_library);

/// Adds ".1.1" to a net id of four numbers; returns any other text unchanged.
[[nodiscard]] std::string normalise_net_id(std::string_view net_id);

/// Returns the six bytes of a net id of six decimal numbers; empty for any other text.
[[nodiscard]] std::optional<std::array<std::uint8_t, 6>> parse_net_id(std::string_view net_id);

} // namespace zo_link
