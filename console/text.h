#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Text for a terminal. Names and texts come from devices, so they must not move the cursor or hide a line. All
/// functions are [any thread].
namespace console {

/// Returns UTF-8 that is safe to print on one line. Control characters, text direction marks and malformed sequences
/// become U+FFFD.
[[nodiscard]] std::string printable(std::string_view text);

/// Returns the JSON with the characters that `printable` replaces written as "\u1234". They occur only in strings, so
/// the meaning is unchanged.
[[nodiscard]] std::string json_escaped(std::string json);

/// Returns the terminal columns of a printable text. Wide characters take two columns, combining marks none.
[[nodiscard]] std::size_t columns(std::string_view text);

/// Returns a printable text in exactly `width` columns. A short text is padded with blanks. A long text is cut between
/// characters and ends with "…".
[[nodiscard]] std::string fit(std::string_view text, std::size_t width);

/// Returns the parts of a text between separators. A separator at the end starts no part.
[[nodiscard]] std::vector<std::string_view> pieces(std::string_view text, char separator);

/// Returns nanoseconds since 1970 as "2024-05-01 12:34:56.789" in UTC. 0 means "not set" and returns "".
[[nodiscard]] std::string time_text(std::int64_t nanoseconds);

} // namespace console
