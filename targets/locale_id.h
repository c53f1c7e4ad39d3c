#pragma once

#include <cstdint>
#include <string>

namespace ZoHmiEventLogger {

/// The Windows language code identifier of a language tag such as "de-DE", in the form of the loggers. Case-sensitive.
/// An old tag gives the number of its replacement, a tag without an assigned number 0x1000, an unknown tag the number
/// of "en". [any thread]
std::int32_t locale_to_lcid(const std::string& tag);

} // namespace ZoHmiEventLogger
