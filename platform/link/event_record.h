#pragma once

#include "support/guid.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace zo_link {

/// One logged event, alarm or message on the link. Times are file times (100 ns since 1601); 0 means "not set".
struct EventRecord {
    GUID event_class{};
    std::uint32_t event_id = 0;
    std::uint32_t severity = 0;
    std::int32_t type = 0; // 1 alarm, 0 message
    std::optional<std::uint32_t> source_id;
    std::optional<GUID> source_guid;
    std::optional<std::string> source_name;
    std::int64_t raised = 0;
    std::int64_t cleared = 0;
    std::int64_t confirmed = 0;
    std::int16_t with_confirmation = 0; // -1 true, 0 false; other numbers are passed on
    std::int32_t confirmation = 0;
    std::int16_t active = 0;          // -1 true, 0 false; other numbers are passed on
    std::optional<std::uint32_t> uid; // none: no identity interface
    bool extended = true;             // logged events: the extended interface is offered
    // Number of arguments, types offset, types size, data offset, data size; unchecked numbers from the logger.
    std::array<std::uint32_t, 5> args{};
    std::vector<std::uint8_t> block;
    std::optional<std::string> json; // none: no JSON interface
    std::uint64_t handle = 0;        // alarms; 0 is none

    friend bool operator==(const EventRecord&, const EventRecord&) = default;
};

/// Returns the record as a map, without fields that have their default value. [any thread]
nlohmann::json event_to_json(const EventRecord& record);

/// Reads a map of a peer. Returns false, with `record` partly filled, if a field is missing or has a wrong type or
/// range. Also returns false if `alarm` is set and there is no handle. [any thread]
bool event_from_json(const nlohmann::json& map, bool alarm, EventRecord& record);

/// Reads one field of a peer's map. Returns false if it is missing or has a wrong type or range. [any thread]
bool read_field(const nlohmann::json& map, const char* name, std::uint32_t& value);
bool read_field(const nlohmann::json& map, const char* name, std::int32_t& value);
bool read_field(const nlohmann::json& map, const char* name, std::uint64_t& value);
bool read_field(const nlohmann::json& map, const char* name, std::int64_t& value);
bool read_field(const nlohmann::json& map, const char* name, std::string& value);
bool read_field(const nlohmann::json& map, const char* name, std::vector<std::uint8_t>& value);
bool read_field(const nlohmann::json& map, const char* name, GUID& value);
bool read_field(const nlohmann::json& map, const char* name, std::array<std::uint32_t, 5>& value);
/// Reads a bool (true is -1) or a 16-bit integer. [any thread]
bool read_flag(const nlohmann::json& map, const char* name, std::int16_t& value);

} // namespace zo_link
