#pragma once

#include <array>
#include <cstddef>
#include <string_view>

/// The sets of special characters that the path operations search for.
namespace ZoHmiFdx::PathMarks {

inline constexpr std::string_view separators = ".#";
inline constexpr std::string_view levels = "#,.[";
inline constexpr std::string_view operators = "^`";
inline constexpr std::string_view indices_or_operators = "[^`";
inline constexpr std::string_view behind_array_access = "^`.#";
inline constexpr std::string_view reduced_away = "^`[]";

/// A set with constant-time look-up, for loops over every character.
class Table {
public:
    constexpr explicit Table(std::string_view marks) {
        for (const char mark : marks)
            is_mark_[static_cast<unsigned char>(mark)] = true;
    }
    constexpr bool contains(char c) const noexcept { return is_mark_[static_cast<unsigned char>(c)]; }
    constexpr std::size_t count_in(std::string_view text) const noexcept {
        std::size_t count = 0;
        for (const char c : text)
            count += contains(c);
        return count;
    }

private:
    std::array<bool, 256> is_mark_{};
};

inline constexpr Table separator_table{separators};
inline constexpr Table level_table{levels};
inline constexpr Table reduced_away_table{reduced_away};

/// True if the text without trailing operators and separators ends in "]".
constexpr bool ends_in_array_access(std::string_view text) noexcept {
    const std::size_t last = text.find_last_not_of(behind_array_access);
    return last != std::string_view::npos && text[last] == ']';
}

} // namespace ZoHmiFdx::PathMarks
