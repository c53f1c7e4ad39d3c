#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace fdx {

/// Returns the completions of an incomplete word.
using Completions = std::function<std::vector<std::string>(const std::string& start)>;

/// Reads the next line from the terminal, with history and tab completion. Returns nothing at the end of the input.
/// [one thread]
[[nodiscard]] std::optional<std::string> prompt_line(const std::string& prompt, const Completions& completions);

} // namespace fdx
