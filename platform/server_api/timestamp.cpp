#include "extension/host/timestamp.h"

#include <chrono>
#include <limits>

namespace ZoHmiSrv {

namespace {

constexpr long ticks_to_1970 = 116'444'736'000'000'000;

long saturating_product(long number, long factor) noexcept {
    long product = 0;
    if (!__builtin_mul_overflow(number, factor, &product)) return product;
    return number < 0 ? std::numeric_limits<long>::min() : std::numeric_limits<long>::max();
}

} // namespace

Timestamp Timestamp::now() noexcept {
    const auto since_1970 = std::chrono::system_clock::now().time_since_epoch();
    return Timestamp(std::chrono::duration_cast<std::chrono::nanoseconds>(since_1970).count());
}

Timestamp Timestamp::from_file_time(long ticks) noexcept {
    if (ticks == 0) return {};
    long since_1970 = 0;
    if (__builtin_sub_overflow(ticks, ticks_to_1970, &since_1970)) return Timestamp(std::numeric_limits<long>::min());
    return Timestamp(saturating_product(since_1970, 100));
}

Timestamp Timestamp::from_milliseconds(long milliseconds) noexcept {
    return Timestamp(saturating_product(milliseconds, 1'000'000));
}

} // namespace ZoHmiSrv
