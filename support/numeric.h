#pragma once

#include "support/export.h"

#include <concepts>
#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>

namespace ZoHmiSrv::Algorithm {

/// Returns a double as an integer, rounded towards zero. NaN gives 0; a number outside the range gives the nearest
/// limit. [any thread]
template <std::integral T>
[[nodiscard]] constexpr T saturating_cast(double number) noexcept {
    using limits = std::numeric_limits<T>;
    // Both bounds are powers of two (or 0) and so exact as doubles; the maximum itself may not be.
    constexpr double lowest = static_cast<double>(limits::min());
    constexpr double beyond = static_cast<double>(limits::max() / 2 + 1) * 2.0;
    if (number != number) return 0;
    if (number <= lowest) return limits::min();
    if (number >= beyond) return limits::max();
    return static_cast<T>(number);
}

/// Returns an unsigned 32-bit number from a double. The conversion goes through a signed 64-bit number: callers store
/// unsigned numbers in signed fields, so -1 must give 0xFFFFFFFF. [any thread]
[[nodiscard]] constexpr std::uint32_t uint32_from_double(double number) noexcept {
    return static_cast<std::uint32_t>(saturating_cast<std::int64_t>(number));
}

/// `integer_to_hex` for a value that is already unsigned. [any thread]
[[nodiscard]] ZO_EXPORT std::string unsigned_to_hex(std::uint64_t value, bool prefix, bool pad8, bool pad_byte);

/// Returns a number in lower-case hexadecimal, a negative one as its two's complement of the same width. `prefix` adds
/// "0x"; `pad8` gives at least eight digits, `pad_byte` at least two, without the prefix. [any thread]
template <std::integral T>
[[nodiscard]] std::string integer_to_hex(T value, bool prefix, bool pad8, bool pad_byte) {
    return unsigned_to_hex(static_cast<std::make_unsigned_t<T>>(value), prefix, pad8, pad_byte);
}

} // namespace ZoHmiSrv::Algorithm
