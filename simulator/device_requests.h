#pragma once

#include "simulator/controller/system.h"
#include "simulator/plans.h"

#include <cstdint>
#include <optional>
#include <string>

#include <nlohmann/json_fwd.hpp>

namespace zo_sim {

/// Returns the fields of the answer to a request of the role "device", with all planned faults. Empty if a field of the
/// request is missing or has a wrong type. [io thread]
std::optional<nlohmann::json> answer_device(DeviceSystem& devices, const std::string& operation,
                                            const nlohmann::json& fields, const RequestPlan& plan);

/// Returns a text such as "@0xF005"; "@other" for a group that no service has. [any thread]
std::string group_text(std::uint32_t group);

} // namespace zo_sim
