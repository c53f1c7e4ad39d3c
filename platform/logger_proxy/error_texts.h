#pragma once

#include "platform/link/protocol.h"

#include <cstdint>

namespace zo_logger_proxy {

/// The texts of the link's own codes. The caller has the texts of all other codes.
struct ErrorText {
    std::uint32_t code;
    const char* text;
};

inline constexpr ErrorText error_texts[] = {
    {zo_link::code::no_route, "The target has no route."},
    {zo_link::code::host_unreachable, "The target's host cannot be reached."},
    {zo_link::code::refused, "The target refused the connection."},
    {zo_link::code::aborted, "The connect was ended by a disconnect."},
    {zo_link::code::timeout, "The target did not answer in time."},
    {zo_link::code::not_connected, "The connection to the target is lost."},
    {zo_link::code::bad_answer, "The target's answer could not be read."},
};

} // namespace zo_logger_proxy
