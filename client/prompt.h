#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace fdx {

/// Completions of a word that was begun.
using Completions = std::function<std::vector<std::string>(const std::string& start)>;

/// Reads the next line on the terminal, with history and with completion by the tabulator; nothing at the end of the
/// input. [one thread]
[[nodiscard]] std::optional<std::string> prompt_line(const std::string& prompt, const Completions& completions);

} // namespace fdx
