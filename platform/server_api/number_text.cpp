#include "platform/server_api/number_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

namespace ZoHmiSrv::Numbers {

namespace {

template <class To>
To saturate(double number) noexcept {
    constexpr To low = std::numeric_limits<To>::min();
    constexpr To high = std::numeric_limits<To>::max();
    if (std::isnan(number)) return 0;
    if (number <= static_cast<double>(low)) return low;
    // The double nearest to the maximum may exceed it, so an equal double is out of range too.
    return number >= static_cast<double>(high) ? high : static_cast<To>(number);
}

/// `from_chars` refuses a plus sign.
std::string_view without_plus(std::string_view text) noexcept {
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
    return text;
}

template <class T>
std::optional<T> parse(std::string_view text) noexcept {
    text = without_plus(text);
    T number{};
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end || text.empty()) return std::nullopt;
    return number;
}

template <class T>
std::string format(T number) {
    std::array<char, 32> buffer{};
    const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number);
    return error == std::errc() ? std::string(buffer.data(), end) : std::string();
}

} // namespace

std::int32_t saturate_int32(double number) noexcept {
    return saturate<std::int32_t>(number);
}
std::int64_t saturate_int64(double number) noexcept {
    return saturate<std::int64_t>(number);
}
std::uint64_t saturate_uint64(double number) noexcept {
    return saturate<std::uint64_t>(number);
}
std::int32_t saturate_int32(std::int64_t number) noexcept {
    constexpr std::int64_t low = std::numeric_limits<std::int32_t>::min();
    constexpr std::int64_t high = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(std::clamp(number, low, high));
}

std::optional<std::int64_t> parse_int64(std::string_view text) noexcept {
    return parse<std::int64_t>(text);
}
std::optional<std::uint64_t> parse_uint64(std::string_view text) noexcept {
    return parse<std::uint64_t>(text);
}
std::optional<double> parse_double(std::string_view text) noexcept {
    return parse<double>(text);
}

std::string to_text(std::int64_t number) {
    return format(number);
}
std::string to_text(std::uint64_t number) {
    return format(number);
}
std::string to_text(double number) {
    return format(number);
}

} // namespace ZoHmiSrv::Numbers
