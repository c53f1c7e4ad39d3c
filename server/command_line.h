#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// What an operator can say, without the doing of it.
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

/// A row of the table of commands.
struct CommandKind {
    Verb verb;
    std::string_view words;     ///< what the line begins with, one or two words
    std::string_view arguments; ///< their kinds, blanks between; those in brackets may be left out
    bool script_only;
    std::string_view help;
};

[[nodiscard]] std::span<const CommandKind> command_kinds();

/// A line as it was understood. No kind and no error: a line that says nothing, empty or a comment.
struct CommandLine {
    const CommandKind* kind = nullptr;
    std::vector<std::string> arguments;
    std::string error; ///< one printable sentence when the line cannot be done, arguments of the wrong kind included
};

/// Words are separated by blanks. One in double quotes may hold blanks or be empty, and a quote or backslash behind a
/// backslash. A line that begins with ";" is a comment.
[[nodiscard]] CommandLine parse_command(std::string_view line, bool interactive);

/// What could stand in an argument of a kind, as "NAME"; empty when anything could.
using Candidates = std::function<std::vector<std::string>(std::string_view kind)>;

/// The words, sorted and quoted where needed, that the last word of an interactive line could become.
[[nodiscard]] std::vector<std::string> complete(std::string_view line, const Candidates& candidates);

/// The table of commands as lines for people.
[[nodiscard]] std::string help_text();

} // namespace server
