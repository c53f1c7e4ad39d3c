#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>

/// The operator's commands as data. All functions are [any thread].
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

/// A row of the table of arguments.
struct ArgumentRule {
    ArgumentKind kind;
    std::string_view name; ///< in usage and help
    bool (*accepts)(std::string_view word);
    std::string_view refusal; ///< follows the quoted word
};

[[nodiscard]] std::span<const CommandKind> command_kinds();
[[nodiscard]] const ArgumentRule& rule_of(ArgumentKind kind);

/// Returns the arguments of a command without the unused places after them.
[[nodiscard]] std::span<const Argument> arguments_of(const CommandKind& kind);

/// Returns a form such as "confirm ID" or "events [LANG]".
[[nodiscard]] std::string usage(const CommandKind& kind);

/// Returns the table of commands as lines for people.
[[nodiscard]] std::string help_text();

} // namespace server
