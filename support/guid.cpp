#include "support/guid.h"

#include <array>
#include <bit>
#include <cstddef>

namespace ZoHmiSrv::Algorithm {

namespace {

constexpr std::size_t text_length = 36;

constexpr std::size_t dashes[] = {8, 13, 18, 23};
/// Where the two digits of each byte stand.
constexpr std::size_t digits_of[] = {0, 2, 4, 6, 9, 11, 14, 16, 19, 21, 24, 26, 28, 30, 32, 34};

constexpr std::uint8_t no_digit = 0x80;

/// The value of each character as a hexadecimal digit. A table, since every event that is read passes through here.
constexpr auto digit_values = [] {
    std::array<std::uint8_t, 256> values{};
    values.fill(no_digit);
    for (std::uint8_t i = 0; i < 10; ++i)
        values[static_cast<std::size_t>('0' + i)] = i;
    for (std::uint8_t i = 10; i < 16; ++i)
        values[static_cast<std::size_t>('a' + i - 10)] = values[static_cast<std::size_t>('A' + i - 10)] = i;
    return values;
}();

std::uint8_t digit_value(char c) {
    return digit_values[static_cast<unsigned char>(c)];
}

/// Eight bytes, the first as the highest. `seen` gets `no_digit` when there is anything but digits.
std::uint64_t read_bytes(std::string_view text, const std::size_t* places, std::uint8_t& seen) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < 8; ++i) {
        const std::uint8_t high = digit_value(text[places[i]]);
        const std::uint8_t low = digit_value(text[places[i] + 1]);
        seen |= high | low;
        value |= std::uint64_t{static_cast<std::uint8_t>(high << 4 | low)} << (56 - 8 * i);
    }
    return value;
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

    for (const std::size_t dash : dashes)
        if (text[dash] != '-') return std::nullopt;
    std::uint8_t seen = 0;
    const std::uint64_t first = read_bytes(text, digits_of, seen);
    const std::uint64_t last = read_bytes(text, digits_of + 8, seen);
    if (seen & no_digit) return std::nullopt;

    // In one piece rather than field by field, since whoever copies it or takes a hash of it reads it so, and a
    // processor is slow to read in one piece what was written in several.
    using Halves [[gnu::vector_size(sizeof(GUID))]] = std::uint64_t;
    static_assert(std::endian::native == std::endian::little);
    return std::bit_cast<GUID>(Halves{first >> 32 | (first & 0xFFFF0000) << 16 | first << 48, __builtin_bswap64(last)});
}

} // namespace ZoHmiSrv::Algorithm
