#pragma once

#include "support/export.h"

#include <string>

/// Conversion of a device's texts. Their code page is that of the runtime: 65001 is UTF-8, all other numbers count as
/// 1252. [any thread]
namespace ZoHmiFdx {

inline constexpr int code_page_windows1252 = 1252;
inline constexpr int code_page_utf8 = 65001;

/// Does not check text in UTF-8.
[[nodiscard]] ZO_EXPORT std::string to_utf8(const std::string& text, int code_page);
/// Drops characters that are not in the code page. Throws `std::range_error` if it must convert malformed UTF-8.
[[nodiscard]] ZO_EXPORT std::string utf8_to_codepage(const std::string& text, int code_page);

} // namespace ZoHmiFdx
