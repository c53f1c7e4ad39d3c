#include "server/command_line.h"

#include "server/language.h"
#include "server/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <limits>
#include <optional>
#include <set>

namespace server {

namespace {

constexpr std::array kinds{
    CommandKind{Verb::events, "events", "[LANG]", false, "all events with their texts"},
    CommandKind{Verb::show, "show", "#N|ID [LANG]", false, "all about the event in row N, or the alarm with that ID"},
    CommandKind{Verb::confirm, "confirm", "#N|ID", false, "confirm an alarm"},
    CommandKind{Verb::diagnostics, "diagnostics", "", false, "the state of every target"},
    CommandKind{Verb::targets, "targets", "", false, "the targets that are not disabled"},
    CommandKind{Verb::reconnect, "reconnect", "NAME", false, "drop the connection of a target; it is made anew"},
    CommandKind{Verb::clear, "clear", "NAME", false, "empty the log of a target"},
    CommandKind{Verb::config_set, "config set", "NAME ADDRESS ENABLED", false,
                "add or change a target, until the configuration is read again"},
    CommandKind{Verb::config_delete, "config delete", "NAME", false, "delete a target likewise"},
    CommandKind{Verb::watch, "watch", "[LANG]", false, "the live table, until a key is pressed"},
    CommandKind{Verb::sleep, "sleep", "MS", true, "wait so many milliseconds"},
    CommandKind{Verb::wait, "wait", "CALL [SECONDS]", true,
                "wait (10 seconds at most) for a message, notify_alarm, forget_event or "
                "reset_temporary_events since the last change"},
    CommandKind{Verb::help, "help", "", false, "this list"},
    CommandKind{Verb::quit, "quit", "", false, "end the server"},
};

constexpr std::int64_t day_in_seconds = 86400;
constexpr std::size_t help_column = 34;

/// The words of a line, nothing when a quote is left open.
std::optional<std::vector<std::string>> split(std::string_view line) {
    std::vector<std::string> words;
    bool quoted = false;
    bool in_word = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        char c = line[i];
        const bool blank = c == ' ' || c == '\t' || c == '\r' || c == '\n';
        if (blank && !quoted) {
            in_word = false;
            continue;
        }
        if (!in_word) words.emplace_back();
        in_word = true;
        if (c == '"') {
            quoted = !quoted;
            continue;
        }
        const bool escapes = quoted && c == '\\' && i + 1 < line.size() && (line[i + 1] == '"' || line[i + 1] == '\\');
        if (escapes) c = line[++i];
        words.back() += c;
    }
    if (quoted) return std::nullopt;
    return words;
}

std::string quoted(std::string_view word) {
    if (!word.empty() && word.find_first_of(" \t\"") == word.npos) return std::string(word);
    std::string text = "\"";
    for (const char c : word) {
        if (c == '"' || c == '\\') text += '\\';
        text += c;
    }
    return text + '"';
}

std::vector<std::string_view> pieces(std::string_view text, char separator) {
    std::vector<std::string_view> pieces;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(separator), text.size());
        pieces.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return pieces;
}

struct Argument {
    std::string_view kind;
    bool optional;
};

std::vector<Argument> arguments_of(const CommandKind& kind) {
    std::vector<Argument> arguments;
    for (const std::string_view piece : pieces(kind.arguments, ' ')) {
        const bool optional = piece.front() == '[';
        arguments.push_back({optional ? piece.substr(1, piece.size() - 2) : piece, optional});
    }
    return arguments;
}

bool is_number(std::string_view text, std::int64_t least, std::int64_t most) {
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() && value >= least && value <= most;
}

bool is_address(std::string_view text) {
    const auto numbers = pieces(text, '.');
    return text.empty() || ((numbers.size() == 4 || numbers.size() == 6) && !text.ends_with('.') &&
                            std::all_of(numbers.begin(), numbers.end(), [](std::string_view number) {
                                return number.size() <= 3 && is_number(number, 0, 255) && number.front() != '-';
                            }));
}

/// Why a word cannot be an argument of that kind; empty when it can.
std::string_view why_not(std::string_view kind, std::string_view word) {
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
    constexpr std::int64_t int_least = std::numeric_limits<std::int32_t>::min();
    constexpr std::int64_t int_most = std::numeric_limits<std::int32_t>::max();
    if (kind == "#N|ID") {
        const bool row = word.starts_with('#');
        if (row ? is_number(word.substr(1), 1, most) : is_number(word, int_least, int_most)) return {};
        return "is neither a row such as #3 nor the number of an alarm";
    }
    if (kind == "LANG" && !is_language(word)) return "is no language such as de-DE";
    if (kind == "ADDRESS" && !is_address(word)) return "is no net id such as 5.12.82.40.1.1";
    if (kind == "ENABLED" && word != "true" && word != "false") return "is neither true nor false";
    if (kind == "MS" && !is_number(word, 0, day_in_seconds * 1000)) return "is no number of milliseconds up to a day";
    if (kind == "SECONDS" && !is_number(word, 0, day_in_seconds)) return "is no number of seconds up to a day";
    // Names end at a zero byte elsewhere, and would then be those of another target.
    const bool has_zero = word.find('\0') != word.npos;
    if (kind == "NAME" && (word.empty() || word.find("::") != word.npos || has_zero)) return "is no name of a target";
    return {};
}

std::string named(std::string_view word) {
    return "\"" + printable(word) + "\"";
}

std::string wrong_arguments(const CommandKind& kind, const std::vector<std::string>& words) {
    const auto arguments = arguments_of(kind);
    const auto least = static_cast<std::size_t>(
        std::count_if(arguments.begin(), arguments.end(), [](const Argument& a) { return !a.optional; }));
    if (words.size() < least || words.size() > arguments.size()) {
        const std::string blank = arguments.empty() ? "" : " ";
        return "Say it as: " + std::string(kind.words) + blank + std::string(kind.arguments) + ".";
    }
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string_view reason = why_not(arguments[i].kind, words[i]);
        if (!reason.empty()) return named(words[i]) + " " + std::string(reason) + ".";
    }
    return {};
}

/// True when the first words are those of the command.
bool begins(const std::vector<std::string>& words, const std::vector<std::string_view>& command) {
    return words.size() >= command.size() && std::equal(command.begin(), command.end(), words.begin());
}

} // namespace

std::span<const CommandKind> command_kinds() {
    return kinds;
}

CommandLine parse_command(std::string_view line, bool interactive) {
    CommandLine parsed;
    const std::size_t start = line.find_first_not_of(" \t\r\n");
    if (start == line.npos || line[start] == ';') return parsed;
    const auto words = split(line);
    if (!words) {
        parsed.error = "A quote is not closed.";
        return parsed;
    }
    const auto kind = std::find_if(kinds.begin(), kinds.end(),
                                   [&](const CommandKind& k) { return begins(*words, pieces(k.words, ' ')); });
    if (kind == kinds.end()) {
        parsed.error = "There is no command " + named(words->front()) + "; help lists all.";
        if (words->front() == "config")
            parsed.error = "Say it as: config set NAME ADDRESS ENABLED, or config delete NAME.";
        return parsed;
    }
    parsed.kind = &*kind;
    parsed.arguments.assign(words->begin() + static_cast<std::ptrdiff_t>(pieces(kind->words, ' ').size()),
                            words->end());
    parsed.error = interactive && kind->script_only ? std::string(kind->words) + " is for scripts only."
                                                    : wrong_arguments(*kind, parsed.arguments);
    return parsed;
}

std::vector<std::string> complete(std::string_view line, const Candidates& candidates) {
    // The last word begins behind the last blank outside quotes.
    std::size_t start = 0;
    bool inside = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] == '"') inside = !inside;
        if (!inside && (line[i] == ' ' || line[i] == '\t')) start = i + 1;
    }
    const std::string_view word = line.substr(start);
    const auto before = split(line.substr(0, start));
    if (!before) return {};
    std::set<std::string> found;
    const auto offer = [&](std::string text) {
        if (text.starts_with(word)) found.insert(std::move(text));
    };
    for (const CommandKind& kind : kinds) {
        if (kind.script_only) continue;
        const auto command = pieces(kind.words, ' ');
        const auto arguments = arguments_of(kind);
        if (before->size() < command.size()) {
            if (std::equal(before->begin(), before->end(), command.begin()))
                offer(std::string(command[before->size()]));
        } else if (begins(*before, command) && before->size() - command.size() < arguments.size()) {
            const std::string_view wanted = arguments[before->size() - command.size()].kind;
            for (const std::string& text : candidates(wanted)) {
                if (printable(text) == text) offer(quoted(text));
            }
        }
    }
    return {found.begin(), found.end()};
}

std::string help_text() {
    std::string text;
    for (const CommandKind& kind : kinds) {
        const std::string usage = std::string(kind.words) + " " + std::string(kind.arguments);
        if (!text.empty()) text += '\n';
        text += fit(usage, help_column) + " " + std::string(kind.help) + (kind.script_only ? " (in scripts)" : "");
    }
    return text;
}

} // namespace server
