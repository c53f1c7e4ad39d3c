#pragma once

#include "simulator/argument_block.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace zo_sim {

// Texts with placeholders: "{name}", "{name:2}" for a number with that many decimals (0 to 9), "{{" for a brace.

// What is wrong with a text, given the names of its event's arguments; empty when nothing is. [any thread]
std::optional<std::string> check_template(std::string_view text, std::span<const std::string> names);

// Fills in the arguments, `arguments[i]` for `names[i]`; "?" stands for one that is missing. Numbers have a decimal
// point in every language. [any thread]
std::string fill_template(std::string_view text, std::span<const std::string> names,
                          std::span<const Argument> arguments);

} // namespace zo_sim
