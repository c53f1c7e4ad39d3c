#pragma once

#include <cstdint>

/// Index groups and ports of the device protocol that this library uses.
namespace ZoHmiFdx {

inline constexpr std::uint32_t group_handle_by_name = 0xF003;
inline constexpr std::uint32_t group_value_by_name = 0xF004;
inline constexpr std::uint32_t group_value_by_handle = 0xF005; ///< the offset is the handle
inline constexpr std::uint32_t group_release_handle = 0xF006;
inline constexpr std::uint32_t group_info_by_name = 0xF009;
inline constexpr std::uint32_t group_symbol_upload = 0xF00B;
inline constexpr std::uint32_t group_datatype_upload = 0xF00E;
inline constexpr std::uint32_t group_upload_info = 0xF00F;
inline constexpr std::uint32_t group_masked_value_by_handle = 0xF018; ///< the offset is the handle
inline constexpr std::uint32_t group_sum_read = 0xF080;
inline constexpr std::uint32_t group_sum_write = 0xF081;
inline constexpr std::uint32_t group_sum_read_write = 0xF082;

inline constexpr std::uint16_t router_port = 1;
inline constexpr std::uint16_t identity_port = 30;
inline constexpr std::uint16_t system_service_port = 10000;

} // namespace ZoHmiFdx
