#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// Text for a terminal. Names and texts come from devices, so nothing of them may move the cursor or hide a line.
namespace server {

/// UTF-8 that is safe to print on one line: control characters, text direction marks and malformed sequences become
/// U+FFFD.
[[nodiscard]] std::string printable(std::string_view text);

/// JSON with the characters that `printable` replaces written as "\u1234" instead. They can stand in its strings only,
/// so it means the same.
[[nodiscard]] std::string json_escaped(std::string json);

/// Terminal columns that printable text takes: East Asian wide characters take two, combining marks none.
[[nodiscard]] std::size_t columns(std::string_view text);

/// Printable text in exactly `width` columns: padded with blanks, or cut between two characters and ended by "…".
[[nodiscard]] std::string fit(std::string_view text, std::size_t width);

/// A point in time, nanoseconds since 1970, as "2024-05-01 12:34:56.789" in UTC; 0, which means "not set", as "".
[[nodiscard]] std::string time_text(std::int64_t nanoseconds);

} // namespace server
