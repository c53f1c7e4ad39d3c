#include "simulator/verbs.h"

#include "platform/link/protocol.h"
#include "support/utf8.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <limits>
#include <vector>

namespace zo_sim {

namespace {

struct Name {
    std::string_view word;
    VerbKind kind;
};

constexpr Name verb_names[] = {
    {"raise", VerbKind::raise},
    {"clear", VerbKind::clear},
    {"confirm", VerbKind::confirm},
    {"reset", VerbKind::reset},
    {"message", VerbKind::message},
    {"flood", VerbKind::flood},
    {"clear-log", VerbKind::clear_log},
    {"database-changed", VerbKind::database_changed},
    {"set", VerbKind::set},
    {"drop", VerbKind::drop},
    {"stall", VerbKind::stall},
    {"resume", VerbKind::resume},
    {"fail", VerbKind::fail},
    {"slow", VerbKind::slow},
    {"truncate", VerbKind::truncate},
    {"during", VerbKind::during},
    {"after", VerbKind::after},
    {"normal", VerbKind::normal},
    {"list", VerbKind::list},
    {"sessions", VerbKind::sessions},
    {"requests", VerbKind::requests},
    {"quit", VerbKind::quit},
};

constexpr std::string_view operations[] = {
    zo_link::op::hello,
    zo_link::op::get_active_alarms,
    zo_link::op::get_logged_events,
    zo_link::op::clear_logged_events,
    zo_link::op::get_text,
    zo_link::op::class_name,
    zo_link::op::source_name,
    zo_link::op::causes_remedies,
    zo_link::op::details,
    zo_link::op::confirm,
};

constexpr std::uint64_t max_flood = 10000000;
constexpr std::int64_t max_milliseconds = 86400000;

std::string in_quotes(std::string_view word) {
    return "'" + std::string(word) + "'";
}

/// The words of a line. A word, or the value behind its '=', is literal or a JSON string.
class Words {
public:
    explicit Words(std::string_view line) : rest_(line) { skip_spaces(); }

    bool empty() const { return rest_.empty(); }
    std::string_view rest() const { return rest_; }

    std::string next(const char* what) {
        if (rest_.empty()) throw VerbError(std::string("missing ") + what);
        std::string word = part(" \t");
        end_word();
        return word;
    }
    /// Takes NAME=VALUE; false, and nothing is taken, if the next word has no '='.
    bool next_assignment(std::string& name, std::string& value) {
        const std::size_t end = rest_.find_first_of(" \t\"=");
        if (end == std::string_view::npos || end == 0 || rest_[end] != '=') return false;
        name = rest_.substr(0, end);
        rest_.remove_prefix(end + 1);
        value = part(" \t");
        end_word();
        return true;
    }
    void expect_end() const {
        if (!rest_.empty()) throw VerbError("unexpected " + in_quotes(rest_));
    }

private:
    void skip_spaces() { rest_.remove_prefix(std::min(rest_.find_first_not_of(" \t"), rest_.size())); }
    void end_word() {
        if (!rest_.empty() && rest_[0] != ' ' && rest_[0] != '\t') throw VerbError("a quote ends inside a word");
        skip_spaces();
    }
    std::string part(const char* separators) {
        if (!rest_.starts_with('"')) {
            const std::string_view word = rest_.substr(0, rest_.find_first_of(separators));
            rest_.remove_prefix(word.size());
            return std::string(word);
        }
        std::size_t end = 1;
        while (end < rest_.size() && rest_[end] != '"')
            end += rest_[end] == '\\' ? 2 : 1;
        if (end >= rest_.size()) throw VerbError("a quote is not closed");
        const auto text = nlohmann::json::parse(rest_.substr(0, end + 1), nullptr, false);
        if (!text.is_string()) throw VerbError("the quoted text is not a JSON string");
        rest_.remove_prefix(end + 1);
        return text.get<std::string>();
    }

    std::string_view rest_;
};

template <typename Number>
bool read_number(std::string_view word, Number& number, int base = 10) {
    const char* end = word.data() + word.size();
    std::from_chars_result parsed;
    if constexpr (std::is_floating_point_v<Number>)
        parsed = std::from_chars(word.data(), end, number);
    else
        parsed = std::from_chars(word.data(), end, number, base);
    return parsed.ec == std::errc() && parsed.ptr == end;
}

template <typename Number>
Number number(Words& words, const char* what, Number lowest, Number highest) {
    const std::string word = words.next(what);
    Number number{};
    if (!read_number(word, number) || number < lowest || number > highest)
        throw VerbError(in_quotes(word) + " is no " + what + " from " + std::to_string(lowest) + " to " +
                        std::to_string(highest));
    return number;
}

/// Reads a result code in decimal or, with 0x, hexadecimal digits.
std::uint32_t result_code(Words& words) {
    const std::string word = words.next("code");
    std::uint32_t code = 0;
    const bool hex = word.starts_with("0x");
    if (!read_number(std::string_view(word).substr(hex ? 2 : 0), code, hex ? 16 : 10))
        throw VerbError(in_quotes(word) + " is no result code");
    return code;
}

bool on_or_off(std::string_view word, std::string_view on, std::string_view off) {
    if (word != on && word != off)
        throw VerbError(in_quotes(word) + " is neither " + std::string(on) + " nor " + std::string(off));
    return word == on;
}

Argument argument_value(const Argument& like, const std::string& name, const std::string& word) {
    bool valid = true;
    Argument value = like;
    if (auto* integer = std::get_if<std::int32_t>(&value))
        valid = read_number(word, *integer);
    else if (auto* real = std::get_if<double>(&value))
        valid = read_number(word, *real);
    else if (auto* text = std::get_if<std::string>(&value))
        *text = word;
    else
        value = on_or_off(word, "true", "false");
    if (!valid) throw VerbError(in_quotes(word) + " is no number for " + in_quotes(name));
    return value;
}

class Parser {
public:
    Parser(std::string_view line, const Scenario& scenario) : words_(line), scenario_(scenario) { verb_.text = line; }

    Verb parse(bool nested) {
        const std::string word = words_.next("verb");
        const Name* name =
            std::find_if(std::begin(verb_names), std::end(verb_names), [&](const Name& n) { return n.word == word; });
        if (name == std::end(verb_names)) throw VerbError("unknown verb " + in_quotes(word));
        verb_.kind = name->kind;
        parse_rest(nested);
        words_.expect_end();
        return std::move(verb_);
    }

private:
    void parse_rest(bool nested) {
        switch (verb_.kind) {
        case VerbKind::raise:
        case VerbKind::message:
            parse_event_verb();
            if (verb_.alarm != (verb_.kind == VerbKind::raise))
                throw VerbError(verb_.alarm ? "that event is an alarm" : "that event is a message");
            break;
        case VerbKind::flood:
            verb_.count = number<std::uint64_t>(words_, "count", 1, max_flood);
            parse_event_verb();
            break;
        case VerbKind::clear:
        case VerbKind::confirm:
        case VerbKind::reset:
            parse_alarm_verb();
            break;
        case VerbKind::database_changed:
            verb_.reason = number<std::int32_t>(words_, "reason", std::numeric_limits<std::int32_t>::min(),
                                                std::numeric_limits<std::int32_t>::max());
            break;
        case VerbKind::set:
            parse_setting();
            break;
        case VerbKind::stall:
            if (!words_.empty()) verb_.milliseconds = number<std::int64_t>(words_, "time", 1, max_milliseconds);
            break;
        case VerbKind::fail:
            parse_operation();
            verb_.code = result_code(words_);
            parse_count();
            break;
        case VerbKind::slow:
            parse_operation();
            verb_.milliseconds = number<std::int64_t>(words_, "time", 1, max_milliseconds);
            parse_count();
            break;
        case VerbKind::truncate:
            parse_operation();
            break;
        case VerbKind::during:
        case VerbKind::after:
            if (nested) throw VerbError("'during' and 'after' do not nest");
            parse_operation();
            verb_.inner = std::make_shared<const Verb>(Parser(words_.rest(), scenario_).parse(true));
            words_ = Words("");
            break;
        case VerbKind::normal:
            if (!words_.empty()) parse_operation();
            break;
        default: // the others have no arguments
            break;
        }
    }

    // CLASS EVENT [source=KEY] [json=TEXT] [NAME=VALUE...]
    void parse_event_verb() {
        const EventDefinition& definition = parse_event();
        std::vector<Argument> arguments = definition.arguments;
        std::string source = definition.source;
        verb_.event.severity = definition.severity;
        verb_.event.with_confirmation = definition.confirmation ? -1 : 0;
        verb_.event.json = definition.json;
        verb_.alarm = definition.alarm;
        std::string name;
        std::string value;
        while (words_.next_assignment(name, value)) {
            const auto& names = definition.argument_names;
            const auto found = std::find(names.begin(), names.end(), name);
            if (name == "source")
                source = value;
            else if (name == "json")
                verb_.event.json = value;
            else if (found == names.end())
                throw VerbError("that event has no argument " + in_quotes(name));
            else {
                Argument& argument = arguments[static_cast<std::size_t>(found - names.begin())];
                argument = argument_value(argument, name, value);
            }
        }
        set_source(source);
        const ArgumentBlock block = definition.raw ? *definition.raw : pack_arguments(arguments, definition.layout);
        verb_.event.args = block.descriptor;
        verb_.event.block = block.bytes;
    }

    // CLASS EVENT [source=KEY] or HANDLE
    void parse_alarm_verb() {
        if (read_number(words_.rest(), verb_.handle)) {
            words_ = Words("");
            return;
        }
        const EventDefinition& definition = parse_event();
        if (!definition.alarm) throw VerbError("that event is a message");
        std::string source = definition.source;
        std::string name;
        while (words_.next_assignment(name, source))
            if (name != "source") throw VerbError("unexpected " + in_quotes(name));
        set_source(source);
    }

    const EventDefinition& parse_event() {
        const std::string key = words_.next("class");
        const EventClass* event_class = scenario_.find_class(key);
        if (event_class == nullptr) throw VerbError("unknown class " + in_quotes(key));
        const std::string word = words_.next("event");
        std::uint32_t id = 0;
        const auto found = read_number(word, id) ? event_class->events.find(id) : event_class->events.end();
        if (found == event_class->events.end())
            throw VerbError("class " + in_quotes(key) + " has no event " + in_quotes(word));
        verb_.event.event_class = event_class->guid;
        verb_.event.event_id = id;
        return found->second;
    }

    void set_source(const std::string& key) {
        if (key.empty()) return;
        const auto source = scenario_.sources.find(key);
        if (source == scenario_.sources.end()) throw VerbError("unknown source " + in_quotes(key));
        verb_.event.source_id = source->second.id;
        verb_.event.source_guid = source->second.guid;
        verb_.event.source_name = source->second.name;
    }

    // KIND or KIND@LANGUAGE
    void parse_operation() {
        std::string word = words_.next("kind of request");
        if (const std::size_t at = word.find('@'); at != std::string::npos) {
            const auto language = scenario_.languages.find(word.substr(at + 1));
            if (language == scenario_.languages.end()) throw VerbError("unknown language in " + in_quotes(word));
            verb_.language = language->second;
            word.resize(at);
        }
        if (word == "all") return;
        if (!is_operation(word)) throw VerbError("unknown kind of request " + in_quotes(word));
        verb_.operation = word;
    }

    void parse_count() {
        if (words_.empty()) return;
        if (words_.rest() == "always") {
            words_ = Words("");
            verb_.count = 0;
        } else {
            verb_.count = number<std::uint64_t>(words_, "count", 1, max_flood);
        }
    }

    void parse_setting() {
        const std::string word = words_.next("interface");
        if (word == "identity")
            verb_.interface = &Interfaces::identity;
        else if (word == "extended")
            verb_.interface = &Interfaces::extended;
        else if (word == "json")
            verb_.interface = &Interfaces::json;
        else
            throw VerbError("unknown interface " + in_quotes(word));
        verb_.on = on_or_off(words_.next("on or off"), "on", "off");
    }

    Words words_;
    const Scenario& scenario_;
    Verb verb_;
};

} // namespace

Verb parse_verb(std::string_view line, const Scenario& scenario) {
    if (line.ends_with('\r')) line.remove_suffix(1);
    while (line.ends_with(' ') || line.ends_with('\t'))
        line.remove_suffix(1);
    // Texts go into JSON, which takes UTF-8 only.
    if (!ZoHmiSrv::UTF8::is_utf8(std::vector<unsigned char>(line.begin(), line.end())))
        throw VerbError("the line is not UTF-8");
    return Parser(line, scenario).parse(false);
}

bool is_operation(std::string_view word) {
    return std::find(std::begin(operations), std::end(operations), word) != std::end(operations);
}

bool is_logger_verb(const Verb& verb) {
    switch (verb.kind) {
    case VerbKind::raise:
    case VerbKind::clear:
    case VerbKind::confirm:
    case VerbKind::reset:
    case VerbKind::message:
    case VerbKind::flood:
        return true;
    default:
        return false;
    }
}

} // namespace zo_sim
