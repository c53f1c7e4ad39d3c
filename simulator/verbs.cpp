#include "simulator/verbs.h"

#include "platform/link/protocol.h"
#include "simulator/device_verbs.h"
#include "simulator/verb_words.h"
#include "support/utf8.h"

#include <algorithm>
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
    {"short", VerbKind::shorten},
    {"long", VerbKind::lengthen},
    {"replace", VerbKind::replace},
    {"peek", VerbKind::peek},
    {"poke", VerbKind::poke},
    {"step", VerbKind::step},
    {"online-change", VerbKind::online_change},
    {"device-state", VerbKind::device_state},
    {"limits", VerbKind::limits},
    {"group", VerbKind::group},
    {"item", VerbKind::item},
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

constexpr std::string_view device_operations[] = {
    zo_link::op::read, zo_link::op::write, zo_link::op::read_write, zo_link::op::device_state, zo_link::op::device_info,
};

constexpr std::uint64_t max_flood = 10000000;
constexpr std::int64_t max_milliseconds = 86400000;
constexpr std::uint32_t max_bytes = std::uint32_t{64} << 20;

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
            verb_.code = unsigned_number(words_, "result code");
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
        case VerbKind::shorten:
        case VerbKind::lengthen:
        case VerbKind::replace:
            parse_operation();
            if (verb_.operation != zo_link::op::read && verb_.operation != zo_link::op::read_write)
                throw VerbError("only answers of read and read_write have bytes");
            if (verb_.kind == VerbKind::replace)
                verb_.bytes = hex_word(words_);
            else
                verb_.number = number<std::uint32_t>(words_, "number of bytes", 1, max_bytes);
            parse_count();
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
            if (is_device_verb(verb_.kind)) verb_.device = parse_device_verb(verb_.kind, words_);
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

    // KIND, KIND@LANGUAGE or KIND@GROUP
    void parse_operation() {
        std::string word = words_.next("kind of request");
        const std::size_t at = word.find('@');
        const bool has_group = at != std::string::npos && is_device_operation(word.substr(0, at));
        if (has_group) {
            std::uint32_t group = 0;
            if (!read_unsigned(std::string_view(word).substr(at + 1), group))
                throw VerbError("no number of a group in " + in_quotes(word));
            verb_.group = group;
            word.resize(at);
        } else if (at != std::string::npos) {
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
    return std::ranges::find(operations, word) != std::end(operations) || is_device_operation(word);
}

bool is_device_operation(std::string_view word) {
    return std::ranges::find(device_operations, word) != std::end(device_operations);
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
