#pragma once

#include "extension/host/export.h"

#include <string>

namespace ZoHmiSrv {

/// ISO 8601 in UTC: "2024-02-29T12:00:00Z", with the fewest of 0, 3, 6 or 9 decimals that keep the nanoseconds. [any
/// thread]
ZOHMISRV_API std::string ns_to_iso(long nanoseconds);

/// Nanoseconds since 1970 of a date ("2024-02-29"), or of a date and time. A time may have up to nine decimals, and "Z"
/// or an offset ("+02:00"); UTC is the default. Other texts, null and a time out of range give 0. [any thread]
ZOHMISRV_API long iso_to_ns(const char* text) noexcept;

} // namespace ZoHmiSrv
