#pragma once

#include "extension/host/event.h"
#include "extension/host/event_payload.h"

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>

namespace server {

/// A value as JSON: a Map or Struct is an object, a Vector an array, a Binary its base64 text, times and lengths of
/// time are numbers of nanoseconds.
[[nodiscard]] nlohmann::ordered_json value_json(const ZoHmiSrv::Value& value);

/// Numbers, times and parameters of an alarm, without its name and domain.
[[nodiscard]] nlohmann::ordered_json alarm_json(const ZoHmiSrv::Alarm& alarm);

/// Name, domain and time received of an event, and under "alarm" or "message" what is inside.
[[nodiscard]] nlohmann::ordered_json event_json(const ZoHmiSrv::Event& event);

/// The text of a JSON value on one line that is safe to print; bytes that are no UTF-8 become U+FFFD.
[[nodiscard]] std::string json_line(const nlohmann::ordered_json& json);

} // namespace server
