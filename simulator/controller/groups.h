#pragma once

#include <cstddef>
#include <cstdint>

/// The numbers of the device protocol that a controller and its system answer.
namespace zo_sim {

namespace group {
inline constexpr std::uint32_t remotes = 3;
inline constexpr std::uint32_t product_version = 0xA0;
inline constexpr std::uint32_t enumerate_remote = 0x323;
inline constexpr std::uint32_t image = 0x4020;
inline constexpr std::uint32_t handle_by_name = 0xF003;
inline constexpr std::uint32_t value_by_name = 0xF004;
inline constexpr std::uint32_t value_by_handle = 0xF005;
inline constexpr std::uint32_t release_handle = 0xF006;
inline constexpr std::uint32_t info_by_name = 0xF009;
inline constexpr std::uint32_t symbol_upload = 0xF00B;
inline constexpr std::uint32_t datatype_upload = 0xF00E;
inline constexpr std::uint32_t upload_info = 0xF00F;
inline constexpr std::uint32_t masked_value = 0xF018;
inline constexpr std::uint32_t sum_read = 0xF080;
inline constexpr std::uint32_t sum_write = 0xF081;
inline constexpr std::uint32_t sum_read_write = 0xF082;
inline constexpr std::uint32_t system_id = 0x01010004;

inline constexpr std::uint32_t all[] = {
    remotes,         product_version, enumerate_remote, image,          handle_by_name,  value_by_name,
    value_by_handle, release_handle,  info_by_name,     symbol_upload,  datatype_upload, upload_info,
    masked_value,    sum_read,        sum_write,        sum_read_write, system_id};
/// Returns whether counters have the group by name. Clients can send any number, so all others share one counter.
constexpr bool is_known(std::uint32_t number) {
    for (const std::uint32_t known : all)
        if (known == number) return true;
    return false;
}
} // namespace group

namespace device_code {
inline constexpr std::uint32_t port_not_found = 0x6;
inline constexpr std::uint32_t not_supported = 0x701;
inline constexpr std::uint32_t invalid_group = 0x702;
inline constexpr std::uint32_t invalid_offset = 0x703;
inline constexpr std::uint32_t invalid_address = 0x704;
inline constexpr std::uint32_t invalid_size = 0x705;
inline constexpr std::uint32_t out_of_memory = 0x70A;
inline constexpr std::uint32_t symbol_not_found = 0x710;
inline constexpr std::uint32_t symbol_version_invalid = 0x711;
inline constexpr std::uint32_t not_found = 0x716; ///< no free handle, or no route
} // namespace device_code

/// Maximum bytes of one answer, because of the maximum frame of the link.
inline constexpr std::size_t max_answer_bytes = std::size_t{16} << 20;
/// Maximum bytes of a path. The text of an entry has a length of 16 bits.
inline constexpr std::size_t max_path_bytes = 4096;

} // namespace zo_sim
