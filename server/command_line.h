#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// The operator's commands as lines of text, without their actions. All functions are [any thread].
namespace server {

enum class Verb {
    events,
    show,
    confirm,
    diagnostics,
    targets,
    reconnect,
    clear,
    config_set,
    config_delete,
    watch,
    sleep,
    wait,
    help,
    quit
};

enum class ArgumentKind { none, alarm, event, language, target, address, enabled, yes, milliseconds, call, seconds };

struct Argument {
    ArgumentKind kind = ArgumentKind::none;
    bool optional = false;
};

/// A row of the table of commands.
struct CommandKind {
    Verb verb;
    std::string_view words; ///< the line begins with these one or two words
    std::array<Argument, 3> arguments;
    bool script_only;
    std::string_view help;
};

[[nodiscard]] std::span<const CommandKind> command_kinds();

/// A parsed line. An empty line or a comment has neither kind nor error.
struct CommandLine {
    const CommandKind* kind = nullptr;
    std::vector<std::string> arguments;
    std::string error; ///< printable; set when the command is unknown or its arguments are wrong
};

/// Words are separated by blanks. A word in double quotes may contain blanks or be empty; inside, a backslash stands
/// before a quote or backslash. A line that begins with ";" is a comment.
[[nodiscard]] CommandLine parse_command(std::string_view line, bool interactive);

/// Returns possible arguments of a kind; empty when any text could stand there.
using Candidates = std::function<std::vector<std::string>(ArgumentKind kind)>;

/// Returns the completions of the last word of an interactive line, sorted, and quoted where needed.
[[nodiscard]] std::vector<std::string> complete(std::string_view line, const Candidates& candidates);

/// Returns the table of commands as lines for people.
[[nodiscard]] std::string help_text();

/// Returns a printable text in double quotes.
[[nodiscard]] std::string quoted_name(std::string_view text);

} // namespace server
