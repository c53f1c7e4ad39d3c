#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>

namespace ZoHmiFdx {

/// A target's announcement of its uploads, in wire format.
struct UploadInfo {
    std::uint32_t symbol_bytes = 0;
    std::uint32_t datatype_bytes = 0;
    std::uint32_t symbols = 0;
    std::uint32_t datatypes = 0;
    std::uint32_t revision = 0;
    std::uint32_t code_page = 0; ///< 0 for the default

    friend bool operator==(const UploadInfo&, const UploadInfo&) = default;

    /// Returns no value if the answer is too short.
    static std::optional<UploadInfo> read(std::span<const unsigned char> bytes) {
        UploadInfo info;
        if (bytes.size() < sizeof info) return std::nullopt;
        std::memcpy(&info, bytes.data(), sizeof info);
        return info;
    }
};
static_assert(sizeof(UploadInfo) == 24 && std::endian::native == std::endian::little, "read where it lies");

} // namespace ZoHmiFdx
