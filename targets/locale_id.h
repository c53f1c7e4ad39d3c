#pragma once

#include <cstdint>
#include <string>

namespace ZoHmiEventLogger {

/// The Windows language code identifier of a language tag such as "de-DE", as loggers want it. Tags compare exactly,
/// case included; old tags stand for what replaced them. A tag without an assigned number gives 0x1000, an unknown one
/// that of "en". [any thread]
std::int32_t locale_to_lcid(const std::string& tag);

} // namespace ZoHmiEventLogger
