#pragma once

#include "platform/link/event_record.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace zo_sim {

// Event records as JSON text, for the state file and for `list`: as they travel, but with the argument block in
// hexadecimal digits. [any thread]
nlohmann::json record_to_text_json(const zo_link::EventRecord& record);
// False when it is no such record.
bool record_from_text_json(nlohmann::json map, zo_link::EventRecord& record);

// Bytes as hexadecimal digits, and back; empty for what is no even number of digits. [any thread]
std::string to_hex(const std::vector<std::uint8_t>& bytes);
std::optional<std::vector<std::uint8_t>> from_hex(std::string_view digits);

} // namespace zo_sim
