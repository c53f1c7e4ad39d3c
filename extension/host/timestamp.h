#pragma once

#include "extension/host/export.h"

#include <compare>
#include <concepts>

namespace ZoHmiSrv {

/// A count of nanoseconds: an integer, but neither bool nor a character. `Value` does not satisfy this concept;
/// otherwise its conversion to a time would be ambiguous.
template <class T>
concept TimeCount = std::integral<T> && !std::same_as<T, bool> && !std::same_as<T, char>;

/// A point in time: nanoseconds since 1970-01-01T00:00:00Z. 0 means "not set". [any thread]
class ZOHMISRV_API Timestamp {
public:
    constexpr Timestamp() noexcept = default;
    template <TimeCount T>
    explicit constexpr Timestamp(T nanoseconds) noexcept : nanoseconds_(static_cast<long>(nanoseconds)) {}

    static Timestamp now() noexcept;
    /// From 100-nanosecond ticks since 1601-01-01. 0 stays 0 ("not set"). Saturates.
    static Timestamp from_file_time(long ticks) noexcept;
    /// From milliseconds since 1970-01-01. Saturates.
    static Timestamp from_milliseconds(long milliseconds) noexcept;

    constexpr long nanoseconds() const noexcept { return nanoseconds_; }
    /// Whole seconds, rounded towards zero.
    constexpr long seconds() const noexcept { return nanoseconds_ / 1'000'000'000; }

    friend constexpr bool operator==(const Timestamp&, const Timestamp&) noexcept = default;

#ifndef ZOHMISRV_WITHOUT_EXTRAS
    friend constexpr auto operator<=>(const Timestamp&, const Timestamp&) noexcept = default;
#endif

private:
    long nanoseconds_ = 0;
};

/// A length of time in nanoseconds. [any thread]
class ZOHMISRV_API Timespan {
public:
    template <TimeCount T>
    explicit constexpr Timespan(T nanoseconds) noexcept : nanoseconds_(static_cast<long>(nanoseconds)) {}

    constexpr long nanoseconds() const noexcept { return nanoseconds_; }
    /// Whole milliseconds, rounded towards zero.
    constexpr long milliseconds() const noexcept { return nanoseconds_ / 1'000'000; }

#ifndef ZOHMISRV_WITHOUT_EXTRAS
    friend constexpr auto operator<=>(const Timespan&, const Timespan&) noexcept = default;
#endif

private:
    long nanoseconds_;
};

} // namespace ZoHmiSrv
