#pragma once

#include "server/command_table.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// Lines of commands, without their actions. All functions are [any thread].
namespace server {

/// A parsed line. For an empty line or a comment, kind and error are both empty.
struct CommandLine {
    const CommandKind* kind = nullptr;
    std::vector<std::string> arguments;
    std::string error; ///< printable; set when the command is unknown or its arguments are wrong
};

/// Words are separated by blanks. A word in double quotes may contain blanks or be empty; inside, a backslash precedes
/// a quote or backslash. A line that begins with ";" is a comment.
[[nodiscard]] CommandLine parse_command(std::string_view line, bool interactive);

/// Returns the known values of an argument kind; empty if every text is valid.
using Candidates = std::function<std::vector<std::string>(ArgumentKind kind)>;

/// Returns the completions of the last word of an interactive line, sorted, and quoted where needed.
[[nodiscard]] std::vector<std::string> complete(std::string_view line, const Candidates& candidates);

/// Returns a printable text in double quotes.
[[nodiscard]] std::string quoted_name(std::string_view text);

} // namespace server
