#pragma once

#include "extension/host/export.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Helpers of the server's library. No exceptions but `std::bad_alloc`; a null `const char*` counts as "". [any thread]
namespace ZoHmiSrv::Algorithm {

ZOHMISRV_API bool equals(const char* left, const char* right) noexcept;
ZOHMISRV_API bool empty(const char* text) noexcept;

/// Replaces all occurrences that do not overlap, from left to right. Replacements are not searched. An empty search
/// text does nothing.
ZOHMISRV_API void replace(std::string& text, std::string_view search, std::string_view replacement);

/// Splits at each separator, left to right: "a,,b" has an empty part. An empty text has no parts. An empty separator
/// does not split.
ZOHMISRV_API std::vector<std::string> split(std::string_view text, std::string_view separator);

/// Splits a path at "::": "a::" gives "a" and "", "" gives nothing.
ZOHMISRV_API std::vector<std::string> split_symbol_name(const char* path);

/// Reads the whole text: an optional sign and decimal digits, in range.
ZOHMISRV_API std::optional<std::int64_t> try_as_int64(std::string_view text) noexcept;

ZOHMISRV_API std::string to_string(long number);
ZOHMISRV_API std::string to_string(unsigned long number);
/// Rounds to at most `decimals` digits after the point, or with `keep_zeros` to exactly as many: 7 with 2 is "7", or
/// "7.00".
ZOHMISRV_API std::string to_string(double number, int decimals, bool keep_zeros);

/// Copies `count` bytes into a buffer of `size`. Returns 0, or EINVAL for a null pointer, or ERANGE for a buffer that
/// is too small. A failure copies nothing and fills the buffer with zeros.
ZOHMISRV_API int hmi_memcpy_s(void* to, std::size_t size, const void* from, std::size_t count) noexcept;
/// Sets `count` bytes of a buffer of `size`. Returns 0, or EINVAL for a null pointer, or ERANGE for a buffer that is
/// too small: all of it is set then.
ZOHMISRV_API int hmi_memset_s(void* to, std::size_t size, int byte, std::size_t count) noexcept;

} // namespace ZoHmiSrv::Algorithm
