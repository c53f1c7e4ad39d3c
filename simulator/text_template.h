#pragma once

#include "simulator/argument_block.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace zo_sim {

// Texts with placeholders: "{name}"; "{name:2}" for a number with two decimals (0 to 9); "{{" for a brace.

/// Checks a text against the names of its event's arguments. Returns the error; empty if there is none. [any thread]
std::optional<std::string> check_template(std::string_view text, std::span<const std::string> names);

/// Replaces the placeholder `names[i]` by `arguments[i]`, and a missing argument by "?". Numbers have a decimal point
/// in every language. [any thread]
std::string fill_template(std::string_view text, std::span<const std::string> names,
                          std::span<const Argument> arguments);

} // namespace zo_sim
