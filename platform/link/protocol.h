#pragma once

#include <cstddef>
#include <cstdint>

/// The target link's constants; docs/target-link.md describes them.
namespace zo_link {

inline constexpr std::uint32_t protocol_version = 1;

/// Limits, the same on both sides.
inline constexpr std::size_t max_frame_size = std::size_t{16} << 20;
inline constexpr std::size_t max_nesting = 16;
/// The limit for the memory of a received frame. Each data item and each key counts `item_memory` bytes; a text or byte
/// string adds its length. A list or map can need a hundred times as much memory as its frame.
inline constexpr std::size_t max_frame_memory = std::size_t{32} << 20;
inline constexpr std::size_t item_memory = 96;
inline constexpr std::size_t max_outstanding_requests = 256;
inline constexpr std::size_t max_unsent_bytes = std::size_t{64} << 20;
inline constexpr std::size_t max_list_items = std::size_t{1} << 20;
inline constexpr std::size_t max_list_bytes = std::size_t{256} << 20;
/// A list answer is cut into parts of about this many bytes. Each part has at most this many items and this much
/// memory.
inline constexpr std::size_t list_part_size = std::size_t{4} << 20;
inline constexpr std::size_t list_part_items = std::size_t{64} << 10;
inline constexpr std::size_t list_part_memory = max_frame_memory / 2;

/// Result codes of the link, as unsigned HRESULT values.
namespace code {
inline constexpr std::uint32_t ok = 0;
inline constexpr std::uint32_t no_route = 0x98110007;
inline constexpr std::uint32_t host_unreachable = 0x9811001b;
inline constexpr std::uint32_t refused = 0x9811001f;
inline constexpr std::uint32_t not_supported = 0x98110701;
inline constexpr std::uint32_t too_large = 0x98110705;
inline constexpr std::uint32_t busy = 0x98110708;
inline constexpr std::uint32_t not_found = 0x9811070c;
inline constexpr std::uint32_t incompatible = 0x9811070e;
inline constexpr std::uint32_t aborted = 0x9811071f;
inline constexpr std::uint32_t timeout = 0x98110745;
inline constexpr std::uint32_t not_connected = 0x98110748;
inline constexpr std::uint32_t bad_answer = 0x98110754;
} // namespace code

/// Returns whether a code is a failure, that is, negative as a signed 32-bit number.
constexpr bool failed(std::uint32_t result) {
    return (result & 0x80000000u) != 0;
}

/// Operations of requests.
namespace op {
inline constexpr char hello[] = "hello";
inline constexpr char ping[] = "ping";
inline constexpr char get_active_alarms[] = "get_active_alarms";
inline constexpr char get_logged_events[] = "get_logged_events";
inline constexpr char clear_logged_events[] = "clear_logged_events";
inline constexpr char get_text[] = "get_text";
inline constexpr char class_name[] = "class_name";
inline constexpr char source_name[] = "source_name";
inline constexpr char causes_remedies[] = "causes_remedies";
inline constexpr char details[] = "details";
inline constexpr char confirm[] = "confirm";
// Of the role "device".
inline constexpr char read[] = "read";
inline constexpr char write[] = "write";
inline constexpr char read_write[] = "read_write";
inline constexpr char device_state[] = "device_state";
inline constexpr char device_info[] = "device_info";
} // namespace op

/// Kinds of notifications.
namespace note {
inline constexpr char message[] = "message";
inline constexpr char alarm_raised[] = "alarm_raised";
inline constexpr char alarm_cleared[] = "alarm_cleared";
inline constexpr char alarm_confirmed[] = "alarm_confirmed";
inline constexpr char database_changed[] = "database_changed";
} // namespace note

} // namespace zo_link
