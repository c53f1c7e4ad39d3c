#include "support/utf8.h"

#include "support/detail/windows1252.h"

#include <algorithm>
#include <stdexcept>

namespace ZoHmiSrv::UTF8 {

namespace {

constexpr const char* from_bytes_error = "wstring_convert: from_bytes error";
constexpr const char* to_bytes_error = "wstring_convert: to_bytes error";
constexpr const char* nothing_converted = "successful conversion converted nothing";

constexpr char32_t highest_code_point = 0x10FFFF;

constexpr bool is_surrogate(char32_t c) {
    return c >= 0xD800 && c <= 0xDFFF;
}

constexpr bool is_ascii(char c) {
    return static_cast<unsigned char>(c) < 0x80;
}

enum class Decoded : unsigned char { character, truncated, malformed };

/// Removes one character from the front of `text`, which must not be empty. A sequence is truncated if only its last
/// bytes are missing. After a truncated or malformed sequence `text` is unchanged.
Decoded decode_one(std::string_view& text, char32_t& character) {
    const auto lead = static_cast<unsigned char>(text.front());
    if (lead < 0x80) {
        character = lead;
        text.remove_prefix(1);
        return Decoded::character;
    }
    // The range of the second byte depends on the lead. It excludes overlong forms, surrogates and numbers above the
    // highest code point. Every later byte is from 0x80 to 0xBF.
    std::size_t length = 0;
    unsigned char second_min = 0x80;
    unsigned char second_max = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        if (lead == 0xE0) second_min = 0xA0;
        if (lead == 0xED) second_max = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        if (lead == 0xF0) second_min = 0x90;
        if (lead == 0xF4) second_max = 0x8F;
    } else {
        return Decoded::malformed;
    }

    char32_t value = lead & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if (i == text.size()) return Decoded::truncated;
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte < second_min || byte > second_max) return Decoded::malformed;
        second_min = 0x80;
        second_max = 0xBF;
        value = value << 6 | (byte & 0x3Fu);
    }
    character = value;
    text.remove_prefix(length);
    return Decoded::character;
}

/// Calls `sink` with every character of a UTF-8 text.
template <typename Sink>
void decode(std::string_view text, Sink sink) {
    const std::size_t whole = text.size();
    while (!text.empty()) {
        char32_t character = 0;
        switch (decode_one(text, character)) {
        case Decoded::character:
            sink(character);
            break;
        case Decoded::truncated:
            throw std::range_error(text.size() == whole ? nothing_converted : from_bytes_error);
        case Decoded::malformed:
            throw std::range_error(from_bytes_error);
        }
    }
}

bool is_valid(std::string_view text) {
    char32_t character = 0;
    while (!text.empty()) {
        if (decode_one(text, character) != Decoded::character) return false;
    }
    return true;
}

void append_utf8(std::string& text, char32_t c) {
    const auto tail = [c](int shift) { return static_cast<char>(0x80 | (c >> shift & 0x3F)); };
    if (c < 0x80) {
        text += static_cast<char>(c);
    } else if (c < 0x800) {
        text += static_cast<char>(0xC0 | c >> 6);
        text += tail(0);
    } else if (c < 0x10000) {
        text += static_cast<char>(0xE0 | c >> 12);
        text += tail(6);
        text += tail(0);
    } else {
        text += static_cast<char>(0xF0 | c >> 18);
        text += tail(12);
        text += tail(6);
        text += tail(0);
    }
}

std::string_view view_of(const char* text) {
    return text == nullptr ? std::string_view() : std::string_view(text);
}

} // namespace

bool is_utf8(const char* text) {
    return is_valid(view_of(text));
}

bool is_utf8(const std::vector<unsigned char>& text) {
    return is_valid({reinterpret_cast<const char*>(text.data()), text.size()});
}

std::size_t count_utf8_codepoints(const char* text) {
    std::string_view rest = view_of(text);
    std::size_t count = 0;
    char32_t character = 0;
    while (!rest.empty() && decode_one(rest, character) == Decoded::character)
        ++count;
    return count;
}

bool has_non_printable(const std::string& text) {
    return std::ranges::any_of(text, [](char c) { return static_cast<unsigned char>(c) < 32 || c == 127; });
}

std::u16string to_u16string(std::string_view text) {
    std::u16string result;
    result.reserve(text.size());
    decode(text, [&result](char32_t c) {
        if (c < 0x10000) {
            result += static_cast<char16_t>(c);
        } else {
            result += static_cast<char16_t>(0xD7C0 + (c >> 10));
            result += static_cast<char16_t>(0xDC00 + (c & 0x3FF));
        }
    });
    return result;
}

std::string from_u16string(std::u16string_view text) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t c = text[i];
        if (is_surrogate(c)) {
            const bool is_pair = c < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF;
            if (!is_pair) throw std::range_error(to_bytes_error);
            c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00u);
        }
        append_utf8(result, c);
    }
    return result;
}

std::wstring to_wstring(std::string_view text) {
    std::wstring result;
    result.reserve(text.size());
    decode(text, [&result](char32_t c) { result += static_cast<wchar_t>(c); });
    return result;
}

std::string from_wstring(std::wstring_view text) {
    std::string result;
    result.reserve(text.size());
    for (const wchar_t wide : text) {
        const auto c = static_cast<char32_t>(wide);
        if (c > highest_code_point || is_surrogate(c)) throw std::range_error(to_bytes_error);
        append_utf8(result, c);
    }
    return result;
}

bool no_conversion_between_windows1252_and_utf8_needed(const char* text) {
    return std::ranges::all_of(view_of(text), is_ascii);
}

std::string windows1252_to_utf8(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        append_utf8(result, byte >= 0x80 && byte <= 0x9F ? windows1252_upper_controls[byte - 0x80] : byte);
    }
    return result;
}

std::string utf8_to_windows1252(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    decode(text, [&result](char32_t c) {
        if (c < 0x80 || (c >= 0xA0 && c <= 0xFF)) {
            result += static_cast<char>(c);
        } else if (c > 0xFF) {
            // The table has the undefined bytes under their own number, from 0x80 to 0x9F. These characters are
            // dropped.
            const auto* found = std::ranges::find(windows1252_upper_controls, c);
            if (found != std::end(windows1252_upper_controls))
                result += static_cast<char>(0x80 + (found - std::begin(windows1252_upper_controls)));
        }
    });
    return result;
}

std::string exception_to_utf8(std::string_view text) {
    return std::string(text);
}

void clear_winmain(char** argv, int count) {
    if (argv == nullptr) return;
    for (int i = 0; i < count; ++i)
        delete[] argv[i];
    delete[] argv;
}

} // namespace ZoHmiSrv::UTF8
