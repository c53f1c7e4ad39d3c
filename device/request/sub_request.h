#pragma once

#include <bit>
#include <cstdint>

namespace ZoHmiFdx {

/// A sub-request of a sum of reads or of writes, in wire format.
struct FdxReq {
    FdxReq() = default;
    FdxReq(std::uint32_t group, std::uint32_t offset, std::uint32_t bytes)
        : index_group(group), index_offset(offset), length(bytes) {}

    std::uint32_t index_group = 0;
    std::uint32_t index_offset = 0;
    std::uint32_t length = 0; ///< bytes
};

/// A sub-request of a sum of read-writes, in wire format.
struct FdxReqWrite {
    FdxReqWrite() = default;
    FdxReqWrite(std::uint32_t group, std::uint32_t offset, std::uint32_t bytes_read, std::uint32_t bytes_written)
        : index_group(group), index_offset(offset), read_length(bytes_read), write_length(bytes_written) {}

    std::uint32_t index_group = 0;
    std::uint32_t index_offset = 0;
    std::uint32_t read_length = 0;  ///< bytes
    std::uint32_t write_length = 0; ///< bytes
};

static_assert(sizeof(FdxReq) == 12 && sizeof(FdxReqWrite) == 16);
static_assert(std::endian::native == std::endian::little, "the wire is little-endian");

} // namespace ZoHmiFdx
