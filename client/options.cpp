#include "client/options.h"

#include <charconv>
#include <cstdint>
#include <string_view>

namespace fdx {

namespace {

template <typename Number>
bool read(std::string_view text, Number& number, int base = 10) {
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number, base);
    return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

} // namespace

std::optional<ZoHmiFdx::NrxAddr> parse_address(const std::string& text) {
    ZoHmiFdx::NrxAddr address{{}, 851};
    const auto colon = text.find(':');
    if (colon != text.npos && (!read(std::string_view(text).substr(colon + 1), address.port) || address.port == 0))
        return std::nullopt;
    std::string_view rest = std::string_view(text).substr(0, colon);
    std::size_t count = 0;
    for (bool more = true; more; ++count) {
        const auto dot = rest.find('.');
        more = dot != rest.npos;
        if (count == 6 || !read(rest.substr(0, dot), address.net_id.bytes[count])) return std::nullopt;
        if (more) rest.remove_prefix(dot + 1);
    }
    if (count == 4) address.net_id.bytes[4] = address.net_id.bytes[5] = 1;
    if (count != 4 && count != 6) return std::nullopt;
    return address;
}

std::optional<ZoHmiFdx::RequestLimits> parse_limits(const std::string& text) {
    std::uint64_t numbers[3] = {};
    std::string_view rest = text;
    for (std::size_t i = 0; i < 3; ++i) {
        const auto comma = rest.find(',');
        if ((comma == rest.npos) != (i == 2) || !read(rest.substr(0, comma), numbers[i])) return std::nullopt;
        if (i < 2) rest.remove_prefix(comma + 1);
    }
    return ZoHmiFdx::RequestLimits(numbers[1], numbers[0], numbers[2]);
}

std::optional<std::uint32_t> parse_number(const std::string& text) {
    std::uint32_t number = 0;
    const bool hexadecimal = text.starts_with("0x");
    if (!read(std::string_view(text).substr(hexadecimal ? 2 : 0), number, hexadecimal ? 16 : 10)) return std::nullopt;
    return number;
}

} // namespace fdx
