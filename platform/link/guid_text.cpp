#include "platform/link/guid_text.h"

#include <cstddef>

namespace zo_link {

namespace {

int hex_digit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool is_dash(std::size_t position) {
    return position == 8 || position == 13 || position == 18 || position == 23;
}

constexpr std::size_t text_size = 36;

} // namespace

bool parse_guid(std::string_view text, Guid& guid) {
    if (text.size() != text_size) return false;
    std::array<std::uint8_t, 16> bytes{}; // in the order of the text
    std::size_t nibble = 0;
    for (std::size_t i = 0; i < text_size; ++i) {
        if (is_dash(i)) {
            if (text[i] != '-') return false;
            continue;
        }
        const int digit = hex_digit(text[i]);
        if (digit < 0) return false;
        bytes[nibble / 2] = static_cast<std::uint8_t>(bytes[nibble / 2] << 4 | digit);
        ++nibble;
    }
    guid.data1 =
        std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 | std::uint32_t{bytes[2]} << 8 | bytes[3];
    guid.data2 = static_cast<std::uint16_t>(bytes[4] << 8 | bytes[5]);
    guid.data3 = static_cast<std::uint16_t>(bytes[6] << 8 | bytes[7]);
    for (std::size_t i = 0; i < guid.data4.size(); ++i)
        guid.data4[i] = bytes[8 + i];
    return true;
}

std::string format_guid(const Guid& guid) {
    std::array<std::uint8_t, 16> bytes{};
    for (std::size_t i = 0; i < 4; ++i)
        bytes[i] = static_cast<std::uint8_t>(guid.data1 >> (24 - 8 * i));
    for (std::size_t i = 0; i < 2; ++i) {
        bytes[4 + i] = static_cast<std::uint8_t>(guid.data2 >> (8 - 8 * i));
        bytes[6 + i] = static_cast<std::uint8_t>(guid.data3 >> (8 - 8 * i));
    }
    for (std::size_t i = 0; i < guid.data4.size(); ++i)
        bytes[8 + i] = guid.data4[i];

    static constexpr char digits[] = "0123456789abcdef";
    std::string text;
    text.reserve(text_size);
    for (const std::uint8_t byte : bytes) {
        if (is_dash(text.size())) text += '-';
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

} // namespace zo_link
