#pragma once

#include "extension/host/export.h"

#include <string>

namespace ZoHmiSrv {

/// ISO 8601 in UTC: "2024-02-29T12:00:00Z", with as many groups of three decimals as the nanoseconds need. [any thread]
ZOHMISRV_API std::string ns_to_iso(long nanoseconds);

/// Nanoseconds since 1970 of a date ("2024-02-29"), or of a date and time with up to nine decimals and "Z", an offset
/// ("+02:00") or nothing, which counts as UTC. Anything else, a null pointer and a time out of range give 0. [any
/// thread]
ZOHMISRV_API long iso_to_ns(const char* text) noexcept;

} // namespace ZoHmiSrv
