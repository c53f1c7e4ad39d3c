#pragma once

#include "extension/host/event.h"
#include "extension/host/event_payload.h"

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>

namespace server {

/// Returns a value as JSON. A Map or Struct becomes an object, a Vector an array, a Binary base64 text. Times and time
/// spans become nanoseconds. All functions here are [any thread].
[[nodiscard]] nlohmann::ordered_json value_json(const ZoHmiSrv::Value& value);

/// Returns numbers, times and parameters of an alarm, without its name and domain.
[[nodiscard]] nlohmann::ordered_json alarm_json(const ZoHmiSrv::Alarm& alarm);

/// Returns name, domain and time received of an event, and its payload as "alarm" or "message".
[[nodiscard]] nlohmann::ordered_json event_json(const ZoHmiSrv::Event& event);

/// Returns a JSON value as one line that is safe to print. Bytes that are not UTF-8 become U+FFFD.
[[nodiscard]] std::string json_line(const nlohmann::ordered_json& json);

} // namespace server
