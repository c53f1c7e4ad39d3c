#pragma once

#include "support/export.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Text in UTF-8, UTF-16, wide strings (UTF-32) and Windows-1252. UTF-8 is read strictly: no overlong forms, no encoded
/// surrogates, nothing above U+10FFFF, no truncated sequence. A null pointer counts as "". [any thread]
///
/// Conversions throw std::range_error. Malformed UTF-8 gives "wstring_convert: from_bytes error". A text that is only
/// the incomplete start of one character gives "successful conversion converted nothing". UTF-16 or wide text with a
/// lone surrogate or a value above U+10FFFF gives "wstring_convert: to_bytes error".
namespace ZoHmiSrv::UTF8 {

/// Returns true if the text up to the terminator is UTF-8.
[[nodiscard]] ZO_EXPORT bool is_utf8(const char* text);
/// Returns true if the whole vector is UTF-8; a zero is a character like any other.
[[nodiscard]] ZO_EXPORT bool is_utf8(const std::vector<unsigned char>& text);

/// Returns the number of code points before the terminator or the first malformed sequence.
[[nodiscard]] ZO_EXPORT std::size_t count_utf8_codepoints(const char* text);

/// Returns true if the text has a byte below 32 or a byte 127.
[[nodiscard]] ZO_EXPORT bool has_non_printable(const std::string& text);

[[nodiscard]] ZO_EXPORT std::u16string to_u16string(std::string_view text);
[[nodiscard]] ZO_EXPORT std::string from_u16string(std::u16string_view text);
[[nodiscard]] ZO_EXPORT std::wstring to_wstring(std::string_view text);
[[nodiscard]] ZO_EXPORT std::string from_wstring(std::wstring_view text);

/// Returns true if all bytes are ASCII: the text is then the same in Windows-1252 and UTF-8.
[[nodiscard]] ZO_EXPORT bool no_conversion_between_windows1252_and_utf8_needed(const char* text);
/// Returns one character for each byte. The five undefined bytes (0x81, 0x8D, 0x8F, 0x90, 0x9D) give the control
/// character of the same number.
[[nodiscard]] ZO_EXPORT std::string windows1252_to_utf8(std::string_view text);
/// Drops characters that are not in the code page. Throws as the other conversions do for malformed UTF-8.
[[nodiscard]] ZO_EXPORT std::string utf8_to_windows1252(std::string_view text);

/// Returns the text of an exception unchanged: on this platform it is UTF-8.
[[nodiscard]] ZO_EXPORT std::string exception_to_utf8(std::string_view text);

/// Frees an argument vector of `count` entries. Requires that the vector and each entry come from new[]. Does nothing
/// for null; a negative count means no entries.
ZO_EXPORT void clear_winmain(char** argv, int count);

} // namespace ZoHmiSrv::UTF8
