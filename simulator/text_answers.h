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

/// Returns whether the operation is get_text, class_name, source_name, causes_remedies or details. [any thread]
bool is_text_operation(const std::string& operation);

/// Answers such an operation from the scenario. `fields` are unchecked fields of a client. [any thread]
TextAnswer answer_text(const Scenario& scenario, const std::string& operation, const nlohmann::json& fields);

} // namespace zo_sim
