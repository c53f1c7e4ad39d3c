#pragma once

#include <cstdint>
#include <string_view>

/// Returns the CRC-32 of zlib and most tools. With it a test asserts a large table as a whole.
inline std::uint32_t crc32(std::string_view text) {
    std::uint32_t crc = 0xFFFFFFFF;
    for (const char c : text) {
        crc ^= static_cast<unsigned char>(c);
        for (int bit = 0; bit < 8; ++bit)
            crc = crc >> 1 ^ ((crc & 1) != 0 ? 0xEDB88320 : 0);
    }
    return ~crc;
}
