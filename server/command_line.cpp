#include "server/command_line.h"

#include "console/text.h"

#include <algorithm>
#include <optional>
#include <set>
#include <utility>

namespace server {

namespace {

/// Returns the words of a line, or nothing when a closing quote is missing.
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

std::string wrong_arguments(const CommandKind& kind, const std::vector<std::string>& words) {
    const auto arguments = arguments_of(kind);
    const auto required =
        std::count_if(arguments.begin(), arguments.end(), [](const Argument& a) { return !a.optional; });
    if (std::cmp_less(words.size(), required) || words.size() > arguments.size()) return "usage: " + usage(kind);
    for (std::size_t i = 0; i < words.size(); ++i) {
        const ArgumentRule& rule = rule_of(arguments[i].kind);
        if (!rule.accepts(words[i])) return quoted_name(words[i]) + " " + std::string(rule.refusal);
    }
    return {};
}

bool begins(const std::vector<std::string>& words, const std::vector<std::string_view>& command) {
    return words.size() >= command.size() && std::equal(command.begin(), command.end(), words.begin());
}

} // namespace

CommandLine parse_command(std::string_view line, bool interactive) {
    CommandLine parsed;
    const std::size_t start = line.find_first_not_of(" \t\r\n");
    if (start == line.npos || line[start] == ';') return parsed;
    const auto words = split(line);
    if (!words) {
        parsed.error = "missing closing quote";
        return parsed;
    }
    const auto kinds = command_kinds();
    const auto kind = std::find_if(kinds.begin(), kinds.end(),
                                   [&](const CommandKind& k) { return begins(*words, console::pieces(k.words, ' ')); });
    if (kind == kinds.end()) {
        parsed.error = "unknown command " + quoted_name(words->front()) + "; see help";
        if (words->front() == "config") {
            parsed.error = "usage: config set NAME ADDRESS ENABLED, or config delete NAME";
        }
        return parsed;
    }
    parsed.kind = &*kind;
    parsed.arguments.assign(words->begin() + static_cast<std::ptrdiff_t>(console::pieces(kind->words, ' ').size()),
                            words->end());
    parsed.error = interactive && kind->script_only ? std::string(kind->words) + " works in scripts only"
                                                    : wrong_arguments(*kind, parsed.arguments);
    return parsed;
}

std::vector<std::string> complete(std::string_view line, const Candidates& candidates) {
    // The last word begins after the last blank outside quotes.
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
    for (const CommandKind& kind : command_kinds()) {
        if (kind.script_only) continue;
        const auto command = console::pieces(kind.words, ' ');
        const auto arguments = arguments_of(kind);
        if (before->size() < command.size()) {
            if (std::equal(before->begin(), before->end(), command.begin()))
                offer(std::string(command[before->size()]));
        } else if (begins(*before, command) && before->size() - command.size() < arguments.size()) {
            for (const std::string& text : candidates(arguments[before->size() - command.size()].kind)) {
                if (console::printable(text) == text) offer(quoted(text));
            }
        }
    }
    return {found.begin(), found.end()};
}

std::string quoted_name(std::string_view text) {
    return "\"" + console::printable(text) + "\"";
}

} // namespace server
