#include "server/command_table.h"

#include "console/text.h"
#include "server/language.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>

namespace server {

namespace {

constexpr std::int64_t day_in_seconds = 86400;
constexpr std::size_t help_column = 37;

bool is_number(std::string_view text, std::int64_t min, std::int64_t max) {
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() && value >= min && value <= max;
}

bool is_alarm(std::string_view word) {
    return is_number(word, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max());
}

bool is_event(std::string_view word) {
    if (!word.starts_with('m')) return is_alarm(word);
    return is_number(word.substr(1), 1, std::numeric_limits<std::int64_t>::max());
}

/// In the rest of the program a name ends at a zero byte. A name with a zero byte would mean another target.
bool is_target(std::string_view word) {
    return !word.empty() && word.find("::") == word.npos && word.find('\0') == word.npos;
}

bool is_address(std::string_view text) {
    const auto numbers = console::pieces(text, '.');
    return text.empty() || ((numbers.size() == 4 || numbers.size() == 6) && !text.ends_with('.') &&
                            std::all_of(numbers.begin(), numbers.end(), [](std::string_view number) {
                                return number.size() <= 3 && is_number(number, 0, 255) && number.front() != '-';
                            }));
}

bool is_enabled(std::string_view word) {
    return word == "true" || word == "false";
}

bool is_yes(std::string_view word) {
    return word == "--yes";
}

bool is_milliseconds(std::string_view word) {
    return is_number(word, 0, day_in_seconds * 1000);
}

bool is_seconds(std::string_view word) {
    return is_number(word, 0, day_in_seconds);
}

bool is_anything(std::string_view /*word*/) {
    return true;
}

/// In the order of ArgumentKind.
constexpr std::array argument_rules{
    ArgumentRule{ArgumentKind::none, "", is_anything, ""},
    ArgumentRule{ArgumentKind::alarm, "ID", is_event, "is not the id of an alarm, such as 17"},
    ArgumentRule{ArgumentKind::event, "ID|mN", is_event,
                 "is neither the id of an alarm, such as 17, nor the number of a message, such as m3"},
    ArgumentRule{ArgumentKind::language, "LANG", is_language, "is not a language such as de-DE"},
    ArgumentRule{ArgumentKind::target, "NAME", is_target, "is not the name of a target"},
    ArgumentRule{ArgumentKind::address, "ADDRESS", is_address, "is not a net id such as 5.12.82.40.1.1"},
    ArgumentRule{ArgumentKind::enabled, "ENABLED", is_enabled, "is neither true nor false"},
    ArgumentRule{ArgumentKind::yes, "--yes", is_yes, "is not --yes"},
    ArgumentRule{ArgumentKind::milliseconds, "MS", is_milliseconds, "is not a number of milliseconds up to a day"},
    ArgumentRule{ArgumentKind::call, "CALL", is_anything, ""},
    ArgumentRule{ArgumentKind::seconds, "SECONDS", is_seconds, "is not a number of seconds up to a day"},
};

constexpr bool rules_are_in_order() {
    for (std::size_t i = 0; i < argument_rules.size(); ++i)
        if (argument_rules[i].kind != static_cast<ArgumentKind>(i)) return false;
    return true;
}
static_assert(rules_are_in_order());

constexpr Argument alarm{ArgumentKind::alarm};
constexpr Argument event{ArgumentKind::event};
constexpr Argument target{ArgumentKind::target};
constexpr Argument address{ArgumentKind::address};
constexpr Argument enabled{ArgumentKind::enabled};
constexpr Argument milliseconds{ArgumentKind::milliseconds};
constexpr Argument call{ArgumentKind::call};
constexpr Argument optional_language{ArgumentKind::language, true};
constexpr Argument optional_yes{ArgumentKind::yes, true};
constexpr Argument optional_seconds{ArgumentKind::seconds, true};

constexpr std::array kinds{
    CommandKind{Verb::events, "events", {optional_language}, false, "all events with their texts"},
    CommandKind{Verb::show, "show", {event, optional_language}, false, "all fields of an alarm or message"},
    CommandKind{Verb::confirm, "confirm", {alarm}, false, "confirm an alarm"},
    CommandKind{Verb::diagnostics, "diagnostics", {}, false, "the state of every target"},
    CommandKind{Verb::targets, "targets", {}, false, "the names of the enabled targets"},
    CommandKind{Verb::reconnect, "reconnect", {target}, false, "disconnect a target and connect it again"},
    CommandKind{Verb::clear, "clear", {target, optional_yes}, false, "empty the log of a target; scripts need --yes"},
    CommandKind{Verb::config_set,
                "config set",
                {target, address, enabled},
                false,
                "add or change a target, until the configuration is reloaded"},
    CommandKind{
        Verb::config_delete, "config delete", {target}, false, "delete a target, until the configuration is reloaded"},
    CommandKind{Verb::watch, "watch", {optional_language}, false, "the live table, until a key is pressed"},
    CommandKind{Verb::sleep, "sleep", {milliseconds}, true, "wait for some milliseconds"},
    CommandKind{Verb::wait,
                "wait",
                {call, optional_seconds},
                true,
                "wait (10 seconds at most) for a message, notify_alarm, forget_event or "
                "reset_temporary_events since the last change"},
    CommandKind{Verb::help, "help", {}, false, "this list"},
    CommandKind{Verb::quit, "quit", {}, false, "end the server"},
};

} // namespace

std::span<const CommandKind> command_kinds() {
    return kinds;
}

const ArgumentRule& rule_of(ArgumentKind kind) {
    return argument_rules[static_cast<std::size_t>(kind)];
}

std::span<const Argument> arguments_of(const CommandKind& kind) {
    const auto none = [](const Argument& argument) { return argument.kind == ArgumentKind::none; };
    return {kind.arguments.begin(), std::find_if(kind.arguments.begin(), kind.arguments.end(), none)};
}

std::string usage(const CommandKind& kind) {
    std::string text(kind.words);
    for (const Argument& argument : arguments_of(kind)) {
        const std::string name(rule_of(argument.kind).name);
        text += argument.optional ? " [" + name + "]" : " " + name;
    }
    return text;
}

std::string help_text() {
    std::string text;
    for (const CommandKind& kind : kinds) {
        if (!text.empty()) text += '\n';
        text += console::fit(usage(kind), help_column) + " " + std::string(kind.help) +
                (kind.script_only ? " (in scripts)" : "");
    }
    return text;
}

} // namespace server
