#pragma once

#include "simulator/scenario.h"

#include <cstdint>
#include <string>

#include <nlohmann/json.hpp>

namespace zo_sim {

struct TextAnswer {
    std::uint32_t result = 0;
    bool malformed = false; // a field lacks or is wrong
    bool list = false;      // `body` is the array of items, else the fields
    nlohmann::json body;
};

// Whether the operation asks for texts: get_text, class_name, source_name, causes_remedies, details. [any thread]
bool is_text_operation(const std::string& operation);

// Answers it from the scenario. `fields` is a client's. [any thread]
TextAnswer answer_text(const Scenario& scenario, const std::string& operation, const nlohmann::json& fields);

} // namespace zo_sim
