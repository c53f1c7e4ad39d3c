#pragma once

#include "support/export.h"

#include <concepts>
#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>

namespace ZoHmiSrv::Algorithm {

/// A double as an integer, rounded towards zero: NaN gives 0, and what lies outside the range gives its nearest end.
template <std::integral T>
[[nodiscard]] constexpr T saturating_cast(double number) noexcept {
    using limits = std::numeric_limits<T>;
    // Both bounds are powers of two (or 0), so that they are exact as doubles; the maximum itself may not be.
    constexpr double lowest = static_cast<double>(limits::min());
    constexpr double beyond = static_cast<double>(limits::max() / 2 + 1) * 2.0;
    if (number != number) return 0;
    if (number <= lowest) return limits::min();
    if (number >= beyond) return limits::max();
    return static_cast<T>(number);
}

/// A double that stands for an unsigned 32-bit number. It goes through a signed 64-bit one, so that -1 gives
/// 0xFFFFFFFF, as callers that store unsigned numbers in signed fields expect.
[[nodiscard]] constexpr std::uint32_t uint32_from_double(double number) noexcept {
    return static_cast<std::uint32_t>(saturating_cast<std::int64_t>(number));
}

/// The digits behind `integer_to_hex`, for a value that is already unsigned and of its own width.
[[nodiscard]] ZO_EXPORT std::string unsigned_to_hex(std::uint64_t value, bool prefix, bool pad8, bool pad_byte);

/// A number in lower-case hexadecimal, a negative one as its two's complement of the same width. `prefix` puts "0x" in
/// front; `pad8` gives at least eight digits and `pad_byte` at least two, not counting the prefix. [any thread]
template <std::integral T>
[[nodiscard]] std::string integer_to_hex(T value, bool prefix, bool pad8, bool pad_byte) {
    return unsigned_to_hex(static_cast<std::make_unsigned_t<T>>(value), prefix, pad8, pad_byte);
}

} // namespace ZoHmiSrv::Algorithm
