#include "console/text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <cwchar>
#include <locale.h>

namespace console {

namespace {

struct Range {
    wchar_t first;
    wchar_t last;
};

/// Characters that a terminal may interpret: control characters, line separators, direction marks.
constexpr std::array unprintable_ranges{
    Range{0x00, 0x1F},     Range{0x7F, 0x9F},     Range{0x061C, 0x061C}, Range{0x200E, 0x200F},
    Range{0x2028, 0x202E}, Range{0x2066, 0x2069}, Range{0xFEFF, 0xFEFF},
};

constexpr wchar_t highest_code_point = 0x10FFFF;
constexpr std::string_view replacement = "\xEF\xBF\xBD";
constexpr std::string_view ellipsis = "\xE2\x80\xA6";

template <std::size_t N>
bool within(const std::array<Range, N>& ranges, wchar_t code) {
    return std::any_of(ranges.begin(), ranges.end(),
                       [code](const Range& range) { return code >= range.first && code <= range.last; });
}

/// During its lifetime, this thread reads and writes UTF-8, whatever locale the process has.
class Utf8Locale {
public:
    Utf8Locale() : before_(uselocale(utf8())) {}
    ~Utf8Locale() { uselocale(before_); }
    Utf8Locale(const Utf8Locale&) = delete;
    Utf8Locale& operator=(const Utf8Locale&) = delete;

private:
    static locale_t utf8() {
        static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", locale_t{});
        return locale;
    }
    locale_t before_;
};

struct Character {
    wchar_t code = 0;
    std::size_t length = 1; ///< in bytes
    bool valid = false;
};

/// Returns the character at the front of a non-empty text; a malformed sequence counts as one invalid byte.
/// Requires a Utf8Locale.
Character first_character(std::string_view text) {
    Character character;
    std::mbstate_t state{};
    const std::size_t length = std::mbrtowc(&character.code, text.data(), text.size(), &state);
    // The library also accepts the old sequences of up to six bytes.
    if (length > 4 || character.code > highest_code_point) return {};
    character.length = std::max<std::size_t>(length, 1); // a zero byte has the length 0
    character.valid = true;
    return character;
}

/// Returns the columns of a character. An unknown character counts as one column.
std::size_t width_of(wchar_t code) {
    const int width = wcwidth(code);
    return width < 0 ? 1 : static_cast<std::size_t>(width);
}

} // namespace

std::string printable(std::string_view text) {
    const Utf8Locale locale;
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
    const Utf8Locale locale;
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
    const Utf8Locale locale;
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
    const Utf8Locale locale;
    std::size_t used = 0;
    std::size_t bytes = 0;
    while (true) {
        const Character character = first_character(text.substr(bytes));
        if (used + width_of(character.code) > width - 1) break;
        used += width_of(character.code);
        bytes += character.length;
    }
    // A wide character that does not fit is replaced by a blank.
    return std::string(text.substr(0, bytes)).append(ellipsis) + std::string(width - 1 - used, ' ');
}

std::vector<std::string_view> pieces(std::string_view text, char separator) {
    std::vector<std::string_view> pieces;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(separator), text.size());
        pieces.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return pieces;
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

} // namespace console
