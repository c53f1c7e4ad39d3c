#include "platform/server_api/base64.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace ZoHmiSrv::Base64 {

namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint32_t invalid = 64;

constexpr auto values = [] {
    std::array<std::uint8_t, 256> table{};
    table.fill(invalid);
    for (std::size_t i = 0; i < alphabet.size(); ++i)
        table[static_cast<unsigned char>(alphabet[i])] = static_cast<std::uint8_t>(i);
    return table;
}();

} // namespace

std::string encode(const void* data, std::size_t size) {
    const auto* bytes = static_cast<const unsigned char*>(data);
    std::string text;
    text.reserve((size + 2) / 3 * 4);
    for (std::size_t i = 0; i < size; i += 3) {
        const std::size_t count = std::min<std::size_t>(3, size - i);
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k)
            group = group << 8 | (k < count ? bytes[i + k] : 0U);
        for (std::size_t k = 0; k < 4; ++k)
            text += k <= count ? alphabet[group >> (18 - 6 * k) & 63U] : '=';
    }
    return text;
}

std::optional<std::string> decode(std::string_view text) {
    if (text.size() % 4 != 0) return std::nullopt;
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3);
    for (std::size_t i = 0; i < text.size(); i += 4) {
        std::size_t padding = 0;
        if (i + 4 == text.size()) padding = text[i + 3] != '=' ? 0 : text[i + 2] != '=' ? 1 : 2;
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 4; ++k) {
            const std::uint32_t value = k < 4 - padding ? values[static_cast<unsigned char>(text[i + k])] : 0U;
            if (value == invalid) return std::nullopt;
            group = group << 6 | value;
        }
        if ((group & ((1U << (8 * padding)) - 1)) != 0) return std::nullopt;
        for (std::size_t k = 0; k < 3 - padding; ++k)
            bytes += static_cast<char>(group >> (16 - 8 * k) & 255U);
    }
    return bytes;
}

} // namespace ZoHmiSrv::Base64
