#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace ZoHmiSrv::Base64 {

std::string encode(const void* data, std::size_t size);
/// Requires padding. Refuses other characters and stray bits at the end.
std::optional<std::string> decode(std::string_view text);

} // namespace ZoHmiSrv::Base64
