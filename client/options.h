#pragma once

#include "device/net/net_id.h"
#include "device/request/request_limits.h"

#include <optional>
#include <string>

namespace fdx {

enum class Format { plain, table, json, csv };

/// The options of the command line for all commands.
struct Options {
    ZoHmiFdx::NrxAddr target{{}, 851};
    Format format = Format::plain;
    bool quiet = false;
    bool whitelist = false;
    bool read_only = false;
    int timeout_ms = 5000;
    ZoHmiFdx::RequestLimits limits;
};

/// The exit codes of the program. If several commands fail, the first failure decides.
namespace status {
inline constexpr int done = 0;
inline constexpr int failed = 1;
inline constexpr int usage = 2;
inline constexpr int not_connected = 3;
inline constexpr int timed_out = 4;
} // namespace status

/// Reads "NETID[:PORT]". The default port is 851; a net ID of four numbers gets ".1.1". Returns nothing for other
/// texts.
[[nodiscard]] std::optional<ZoHmiFdx::NrxAddr> parse_address(const std::string& text);

/// Reads "ITEMS,BYTES,HANDLES". Returns nothing for other texts.
[[nodiscard]] std::optional<ZoHmiFdx::RequestLimits> parse_limits(const std::string& text);

/// Reads a number in decimal digits, or in hexadecimal digits after 0x. Returns nothing for other texts.
[[nodiscard]] std::optional<std::uint32_t> parse_number(const std::string& text);

} // namespace fdx
