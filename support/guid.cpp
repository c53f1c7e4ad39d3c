#include "support/guid.h"

#include <cstddef>

namespace ZoHmiSrv::Algorithm {

namespace {

constexpr std::size_t text_length = 36;

constexpr bool is_dash_position(std::size_t index) {
    return index == 8 || index == 13 || index == 18 || index == 23;
}

int digit_value(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

} // namespace

std::string uuid_to_string(const GUID& guid, bool braces) {
    // The bytes in the order in which the text shows them: numbers from their most significant byte on.
    const std::uint8_t bytes[16] = {static_cast<std::uint8_t>(guid.Data1 >> 24),
                                    static_cast<std::uint8_t>(guid.Data1 >> 16),
                                    static_cast<std::uint8_t>(guid.Data1 >> 8),
                                    static_cast<std::uint8_t>(guid.Data1),
                                    static_cast<std::uint8_t>(guid.Data2 >> 8),
                                    static_cast<std::uint8_t>(guid.Data2),
                                    static_cast<std::uint8_t>(guid.Data3 >> 8),
                                    static_cast<std::uint8_t>(guid.Data3),
                                    guid.Data4[0],
                                    guid.Data4[1],
                                    guid.Data4[2],
                                    guid.Data4[3],
                                    guid.Data4[4],
                                    guid.Data4[5],
                                    guid.Data4[6],
                                    guid.Data4[7]};
    constexpr char digits[] = "0123456789ABCDEF";

    std::string text;
    text.reserve(text_length + 2);
    if (braces) text += '{';
    for (std::size_t i = 0; i < sizeof bytes; ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
        text += digits[bytes[i] >> 4];
        text += digits[bytes[i] & 0xF];
    }
    if (braces) text += '}';
    return text;
}

std::optional<GUID> guid_from_string(std::string_view text, bool allow_braces) {
    if (allow_braces && text.size() == text_length + 2 && text.front() == '{' && text.back() == '}')
        text = text.substr(1, text_length);
    if (text.size() != text_length) return std::nullopt;

    std::uint8_t bytes[16] = {};
    std::size_t digit_count = 0;
    for (std::size_t i = 0; i < text_length; ++i) {
        if (is_dash_position(i)) {
            if (text[i] != '-') return std::nullopt;
            continue;
        }
        const int value = digit_value(text[i]);
        if (value < 0) return std::nullopt;
        std::uint8_t& byte = bytes[digit_count / 2];
        byte = static_cast<std::uint8_t>(byte << 4 | value);
        ++digit_count;
    }

    GUID guid{static_cast<std::uint32_t>(bytes[0]) << 24 | static_cast<std::uint32_t>(bytes[1]) << 16 |
                  static_cast<std::uint32_t>(bytes[2]) << 8 | bytes[3],
              static_cast<std::uint16_t>(bytes[4] << 8 | bytes[5]),
              static_cast<std::uint16_t>(bytes[6] << 8 | bytes[7]),
              {}};
    for (std::size_t i = 0; i < 8; ++i)
        guid.Data4[i] = bytes[8 + i];
    return guid;
}

} // namespace ZoHmiSrv::Algorithm
