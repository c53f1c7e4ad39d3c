#pragma once

#include "platform/link/event_record.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace zo_sim {

/// Returns an event record for the state file and for `list`: the map of the link, with the argument block in
/// hexadecimal digits. [any thread]
nlohmann::json record_to_text_json(const zo_link::EventRecord& record);
/// Reads such a record. Returns false if the map is not a record. [any thread]
bool record_from_text_json(nlohmann::json map, zo_link::EventRecord& record);

/// Returns bytes as hexadecimal digits. [any thread]
std::string to_hex(const std::vector<std::uint8_t>& bytes);
/// Reads hexadecimal digits, two for each byte; empty for any other text. [any thread]
std::optional<std::vector<std::uint8_t>> from_hex(std::string_view digits);

} // namespace zo_sim
