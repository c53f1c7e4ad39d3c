#pragma once

#include "simulator/scenario.h"

#include <cstdint>
#include <string>

#include <nlohmann/json.hpp>

namespace zo_sim {

struct TextAnswer {
    std::uint32_t result = 0;
    bool malformed = false; // a field is missing or wrong
    bool list = false;      // `body` is the array of items, else the fields
    nlohmann::json body;
};

/// Returns whether the operation is one of get_text, class_name, source_name, causes_remedies and details. [any thread]
bool is_text_operation(const std::string& operation);

/// Answers such an operation from the scenario. `fields` comes from a client. [any thread]
TextAnswer answer_text(const Scenario& scenario, const std::string& operation, const nlohmann::json& fields);

} // namespace zo_sim
