#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace ZoHmiSrv::Numbers {

/// Rounds towards zero and saturates. NaN gives 0.
std::int32_t saturate_int32(double number) noexcept;
std::int64_t saturate_int64(double number) noexcept;
std::uint64_t saturate_uint64(double number) noexcept;
std::int32_t saturate_int32(std::int64_t number) noexcept;

/// Reads the whole text: a number with an optional sign.
std::optional<std::int64_t> parse_int64(std::string_view text) noexcept;
std::optional<std::uint64_t> parse_uint64(std::string_view text) noexcept;
std::optional<double> parse_double(std::string_view text) noexcept;

/// Ignores the locale. A double gives the shortest text that reads back the same.
std::string to_text(std::int64_t number);
std::string to_text(std::uint64_t number);
std::string to_text(double number);

} // namespace ZoHmiSrv::Numbers
