#include "server/text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>

namespace server {

namespace {

struct Range {
    char32_t first;
    char32_t last;
};

constexpr std::array wide_ranges{
    Range{0x1100, 0x115F},   Range{0x2E80, 0x303E},   Range{0x3041, 0xA4CF},   Range{0xAC00, 0xD7A3},
    Range{0xF900, 0xFAFF},   Range{0xFE30, 0xFE6F},   Range{0xFF00, 0xFF60},   Range{0xFFE0, 0xFFE6},
    Range{0x1F300, 0x1F64F}, Range{0x1F900, 0x1F9FF}, Range{0x20000, 0x3FFFD},
};

constexpr std::array combining_ranges{
    Range{0x0300, 0x036F}, Range{0x1AB0, 0x1AFF}, Range{0x200B, 0x200D},
    Range{0x20D0, 0x20FF}, Range{0xFE00, 0xFE0F}, Range{0xFE20, 0xFE2F},
};

/// What a terminal may act on instead of showing it: control characters, line separators, direction marks.
constexpr std::array unprintable_ranges{
    Range{0x00, 0x1F},     Range{0x7F, 0x9F},     Range{0x061C, 0x061C}, Range{0x200E, 0x200F},
    Range{0x2028, 0x202E}, Range{0x2066, 0x2069}, Range{0xFEFF, 0xFEFF},
};

constexpr std::string_view replacement = "\xEF\xBF\xBD";
constexpr std::string_view ellipsis = "\xE2\x80\xA6";

template <std::size_t N>
bool within(const std::array<Range, N>& ranges, char32_t code) {
    return std::any_of(ranges.begin(), ranges.end(),
                       [code](const Range& range) { return code >= range.first && code <= range.last; });
}

struct Character {
    char32_t code = 0;
    std::size_t length = 1; ///< bytes taken from the text
    bool valid = false;
};

/// The character at the front of a non-empty text; a malformed sequence counts as one invalid byte.
Character first_character(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned lead = byte(0);
    if (lead < 0x80) return {lead, 1, true};
    std::size_t length = 0;
    if (lead >= 0xC2 && lead <= 0xDF) length = 2;
    if (lead >= 0xE0 && lead <= 0xEF) length = 3;
    if (lead >= 0xF0 && lead <= 0xF4) length = 4;
    if (length == 0 || text.size() < length) return {};
    char32_t code = lead & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return {};
        code = code << 6 | (byte(i) & 0x3F);
    }
    constexpr std::array<char32_t, 5> lowest{0, 0, 0x80, 0x800, 0x10000};
    if (code < lowest[length] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return {};
    return {code, length, true};
}

std::size_t width_of(char32_t code) {
    if (code < 0x300) return 1;
    if (within(combining_ranges, code)) return 0;
    return within(wide_ranges, code) ? 2 : 1;
}

} // namespace

std::string printable(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        const Character character = first_character(text);
        const bool shown = character.valid && !within(unprintable_ranges, character.code);
        out += shown ? text.substr(0, character.length) : replacement;
        text.remove_prefix(character.length);
    }
    return out;
}

std::string json_escaped(std::string json) {
    const auto harmless = [](char c) { return c >= ' ' && c < '\x7F'; };
    if (std::all_of(json.begin(), json.end(), harmless)) return json;
    std::string out;
    for (std::string_view rest = json; !rest.empty();) {
        const Character character = first_character(rest);
        if (character.valid && within(unprintable_ranges, character.code)) {
            std::array<char, 8> escape{};
            std::snprintf(escape.data(), escape.size(), "\\u%04x", static_cast<unsigned>(character.code));
            out += escape.data();
        } else {
            out += rest.substr(0, character.length);
        }
        rest.remove_prefix(character.length);
    }
    return out;
}

std::size_t columns(std::string_view text) {
    std::size_t sum = 0;
    while (!text.empty()) {
        const Character character = first_character(text);
        sum += width_of(character.code);
        text.remove_prefix(character.length);
    }
    return sum;
}

std::string fit(std::string_view text, std::size_t width) {
    const std::size_t all = columns(text);
    if (all <= width) return std::string(text) + std::string(width - all, ' ');
    if (width == 0) return {};
    std::size_t used = 0;
    std::size_t bytes = 0;
    while (true) {
        const Character character = first_character(text.substr(bytes));
        if (used + width_of(character.code) > width - 1) break;
        used += width_of(character.code);
        bytes += character.length;
    }
    // A wide character that does not fit leaves a blank.
    return std::string(text.substr(0, bytes)).append(ellipsis) + std::string(width - 1 - used, ' ');
}

std::string time_text(std::int64_t nanoseconds) {
    if (nanoseconds == 0) return {};
    constexpr std::int64_t second = 1'000'000'000;
    std::int64_t seconds = nanoseconds / second;
    std::int64_t rest = nanoseconds % second;
    if (rest < 0) {
        rest += second;
        --seconds;
    }
    const std::time_t time = seconds;
    std::tm parts{};
    gmtime_r(&time, &parts);
    std::array<char, 64> buffer{};
    std::snprintf(buffer.data(), buffer.size(), "%04d-%02d-%02d %02d:%02d:%02d.%03d", parts.tm_year + 1900,
                  parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec,
                  static_cast<int>(rest / 1'000'000));
    return buffer.data();
}

} // namespace server
