#pragma once

#include "support/export.h"

#include <string>

/// Texts of a device, which come in the code page of its runtime: 65001 is UTF-8, and every other number counts as
/// 1252. [any thread]
namespace ZoHmiFdx {

inline constexpr int code_page_windows1252 = 1252;
inline constexpr int code_page_utf8 = 65001;

/// Text that is in UTF-8 already is not checked.
[[nodiscard]] ZO_EXPORT std::string to_utf8(const std::string& text, int code_page);
/// Characters that the code page lacks are dropped. Throws `std::range_error` for malformed UTF-8 that has to be
/// converted.
[[nodiscard]] ZO_EXPORT std::string utf8_to_codepage(const std::string& text, int code_page);

} // namespace ZoHmiFdx
