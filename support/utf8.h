#pragma once

#include "support/export.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Text in UTF-8, UTF-16, wide strings (UTF-32) and Windows-1252. UTF-8 is taken strictly: no overlong forms, no
/// encoded surrogates, nothing above U+10FFFF, no truncated sequence. A null pointer counts as "". [any thread]
///
/// Conversions throw std::range_error: "wstring_convert: from_bytes error" for malformed UTF-8, "successful conversion
/// converted nothing" for UTF-8 that is nothing but the incomplete start of one character, "wstring_convert: to_bytes
/// error" for UTF-16 or wide text that is no Unicode text (a lone surrogate, a value above U+10FFFF).
namespace ZoHmiSrv::UTF8 {

/// The whole text, up to the terminator, is UTF-8.
[[nodiscard]] ZO_EXPORT bool is_utf8(const char* text);
/// The whole vector is UTF-8; a zero inside is a character like any other.
[[nodiscard]] ZO_EXPORT bool is_utf8(const std::vector<unsigned char>& text);

/// Number of code points before the terminator or the first malformed sequence.
[[nodiscard]] ZO_EXPORT std::size_t count_utf8_codepoints(const char* text);

/// A byte below 32, or 127, is in the text.
[[nodiscard]] ZO_EXPORT bool has_non_printable(const std::string& text);

[[nodiscard]] ZO_EXPORT std::u16string to_u16string(std::string_view text);
[[nodiscard]] ZO_EXPORT std::string from_u16string(std::u16string_view text);
[[nodiscard]] ZO_EXPORT std::wstring to_wstring(std::string_view text);
[[nodiscard]] ZO_EXPORT std::string from_wstring(std::wstring_view text);

/// The text reads the same in Windows-1252 and in UTF-8: all its bytes are ASCII.
[[nodiscard]] ZO_EXPORT bool no_conversion_between_windows1252_and_utf8_needed(const char* text);
/// Every byte gives a character; the five bytes without one in the code page (0x81, 0x8D, 0x8F, 0x90, 0x9D) give the
/// control character of the same number.
[[nodiscard]] ZO_EXPORT std::string windows1252_to_utf8(std::string_view text);
/// Characters that the code page lacks are dropped. Throws as the other conversions do for malformed UTF-8.
[[nodiscard]] ZO_EXPORT std::string utf8_to_windows1252(std::string_view text);

/// The text of an exception as UTF-8, which it already is on this platform.
[[nodiscard]] ZO_EXPORT std::string exception_to_utf8(std::string_view text);

/// Frees an argument vector of `count` entries: each entry and the vector come from new[]. Null does nothing, and a
/// negative count stands for no entries.
ZO_EXPORT void clear_winmain(char** argv, int count);

} // namespace ZoHmiSrv::UTF8
