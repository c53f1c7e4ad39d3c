#include "simulator/scenario.h"

#include "platform/link/event_record.h"
#include "platform/link/regular_file.h"
#include "simulator/record_text.h"
#include "simulator/text_template.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <initializer_list>
#include <limits>
#include <utility>

namespace zo_sim {

namespace {

using nlohmann::json;

constexpr std::int64_t max_log_size = 1000000;
constexpr std::int64_t max_milliseconds = std::int64_t{1} << 40;
constexpr int max_depth = 100;
constexpr std::size_t largest_file = std::size_t{64} << 20;

/// A value of the file, with its place for errors.
class Node {
public:
    Node(const json& value, std::string place) : value_(&value), place_(std::move(place)) {}

    [[noreturn]] void fail(const std::string& what) const {
        throw ScenarioError((place_.empty() ? "the scenario" : place_) + ": " + what);
    }

    /// Requires an object with no other members than these.
    const Node& object(std::initializer_list<const char*> names) const {
        if (!value_->is_object()) fail("must be an object");
        for (const auto& [name, value] : value_->items()) {
            bool known = false;
            for (const char* allowed : names)
                known = known || name == allowed;
            if (!known) fail("unknown key '" + name + "'");
        }
        return *this;
    }
    std::optional<Node> find(const char* name) const {
        const auto member = value_->find(name);
        if (member == value_->end()) return std::nullopt;
        return Node(*member, inside(name));
    }
    Node at(const char* name) const {
        std::optional<Node> member = find(name);
        if (!member) fail("'" + std::string(name) + "' is missing");
        return *member;
    }

    template <typename Visit>
    void each_member(Visit visit) const {
        if (!value_->is_object()) fail("must be an object");
        for (const auto& [name, value] : value_->items())
            visit(name, Node(value, inside(name)));
    }
    template <typename Visit>
    void each_item(Visit visit) const {
        if (!value_->is_array()) fail("must be an array");
        for (std::size_t i = 0; i < value_->size(); ++i)
            visit(Node((*value_)[i], place_ + "[" + std::to_string(i) + "]"));
    }

    bool is_text() const { return value_->is_string(); }
    const std::string& text() const {
        if (!value_->is_string()) fail("must be a text");
        return value_->get_ref<const std::string&>();
    }
    bool flag() const {
        if (!value_->is_boolean()) fail("must be true or false");
        return value_->get<bool>();
    }
    double real() const {
        if (!value_->is_number()) fail("must be a number");
        return value_->get<double>();
    }
    std::int64_t integer(std::int64_t lowest, std::int64_t highest) const {
        const bool integer = value_->is_number_integer();
        const bool huge = value_->is_number_unsigned() && value_->get<std::uint64_t>() >> 63 != 0;
        if (!integer || huge || value_->get<std::int64_t>() < lowest || value_->get<std::int64_t>() > highest)
            fail("must be an integer from " + std::to_string(lowest) + " to " + std::to_string(highest));
        return value_->get<std::int64_t>();
    }
    std::uint32_t u32() const {
        return static_cast<std::uint32_t>(integer(0, std::numeric_limits<std::uint32_t>::max()));
    }
    GUID guid() const {
        const auto guid = ZoHmiSrv::Algorithm::guid_from_string(text(), false);
        if (!guid) fail("must be a GUID without braces");
        return *guid;
    }
    /// Returns a text unchanged, any other value as JSON.
    std::string text_or_json() const { return value_->is_string() ? text() : value_->dump(); }
    const json& value() const { return *value_; }

private:
    std::string inside(const std::string& name) const { return place_.empty() ? name : place_ + "." + name; }

    const json* value_;
    std::string place_;
};

class Parser {
public:
    Scenario parse(const Node& root) {
        root.object(
            {"languages", "default_language", "interfaces", "max_log", "sources", "classes", "history", "schedule"});
        parse_languages(root);
        if (const auto interfaces = root.find("interfaces")) parse_interfaces(*interfaces);
        if (const auto size = root.find("max_log"))
            scenario_.max_log = static_cast<std::size_t>(size->integer(1, max_log_size));
        if (const auto sources = root.find("sources"))
            sources->each_member([this](const std::string& key, const Node& node) {
                check_key(key, node);
                scenario_.sources[key] = source(node);
            });
        root.at("classes").each_member([this](const std::string& key, const Node& node) {
            check_key(key, node);
            scenario_.classes[key] = event_class(node);
        });
        if (const auto history = root.find("history")) parse_history(*history);
        if (const auto schedule = root.find("schedule"))
            schedule->each_item([this](const Node& node) { scenario_.schedule.push_back(schedule_item(node)); });
        return std::move(scenario_);
    }

private:
    /// Requires one word of a verb.
    static void check_key(const std::string& key, const Node& node) {
        if (key.empty() || key.find_first_of(" \t\"=") != std::string::npos)
            node.fail("a key is one word without '=' and quotes");
    }

    void parse_languages(const Node& root) {
        const auto languages = root.find("languages");
        if (!languages) return;
        languages->each_member([this](const std::string& tag, const Node& node) {
            scenario_.languages[tag] = static_cast<std::int32_t>(node.integer(1, 0xfffff));
        });
        const Node chosen = root.at("default_language");
        const auto language = scenario_.languages.find(chosen.text());
        if (language == scenario_.languages.end()) chosen.fail("is not among the languages");
        scenario_.default_language = language->second;
    }

    void parse_interfaces(const Node& node) {
        node.object({"identity", "extended", "json"});
        if (const auto flag = node.find("identity")) scenario_.interfaces.identity = flag->flag();
        if (const auto flag = node.find("extended")) scenario_.interfaces.extended = flag->flag();
        if (const auto flag = node.find("json")) scenario_.interfaces.json = flag->flag();
    }

    LocalizedText localized(const Node& node) const {
        if (node.is_text()) return {{scenario_.default_language, node.text()}};
        LocalizedText text;
        node.each_member([&](const std::string& tag, const Node& member) {
            const auto language = scenario_.languages.find(tag);
            if (language == scenario_.languages.end()) member.fail("is not among the languages");
            text[language->second] = member.text();
        });
        if (!text.contains(scenario_.default_language)) node.fail("has no text in the default language");
        return text;
    }

    Source source(const Node& node) const {
        node.object({"id", "guid", "name", "text"});
        Source source;
        if (const auto id = node.find("id")) source.id = id->u32();
        if (const auto guid = node.find("guid")) source.guid = guid->guid();
        if (const auto name = node.find("name")) source.name = name->text();
        if (const auto text = node.find("text")) source.text = localized(*text);
        return source;
    }

    EventClass event_class(const Node& node) const {
        node.object({"guid", "name", "events"});
        EventClass result;
        result.guid = node.at("guid").guid();
        for (const auto& [key, other] : scenario_.classes)
            if (other.guid == result.guid) node.fail("has the GUID of '" + key + "'");
        result.name = localized(node.at("name"));
        node.at("events").each_member([&](const std::string& key, const Node& event) {
            std::uint32_t id = 0;
            const char* end = key.data() + key.size();
            const auto parsed = std::from_chars(key.data(), end, id);
            if (parsed.ec != std::errc() || parsed.ptr != end) event.fail("an event's key is its number");
            EventDefinition definition = this->event(event);
            definition.id = id;
            if (!result.events.emplace(id, std::move(definition)).second) event.fail("comes twice");
        });
        return result;
    }

    EventDefinition event(const Node& node) const {
        node.object({"kind", "severity", "confirmation", "source", "text", "arguments", "layout", "raw", "json",
                     "causes", "details"});
        EventDefinition event;
        const std::string& kind = node.at("kind").text();
        event.alarm = kind == "alarm";
        if (!event.alarm && kind != "message") node.at("kind").fail("must be 'alarm' or 'message'");
        if (const auto severity = node.find("severity")) event.severity = severity->u32();
        if (const auto flag = node.find("confirmation")) event.confirmation = flag->flag();
        if (event.confirmation && !event.alarm) node.fail("a message is not confirmed");
        if (const auto key = node.find("source")) {
            event.source = key->text();
            if (!scenario_.sources.contains(event.source)) key->fail("unknown source");
        }
        if (const auto arguments = node.find("arguments"))
            arguments->each_item([&](const Node& argument) { add_argument(event, argument); });
        if (const auto layout = node.find("layout")) {
            event.layout = layout->text() == "data_first" ? BlockLayout::data_first : BlockLayout::types_first;
            if (layout->text() != "data_first" && layout->text() != "types_first")
                layout->fail("must be 'types_first' or 'data_first'");
        }
        if (const auto raw = node.find("raw")) event.raw = raw_block(*raw);
        if (const auto attribute = node.find("json")) event.json = attribute->text_or_json();
        event.text = localized(node.at("text"));
        for (const auto& [language, text] : event.text)
            if (const auto fault = check_template(text, event.argument_names)) node.at("text").fail(*fault);
        if (const auto causes = node.find("causes"))
            causes->each_item([&](const Node& item) { event.causes.push_back(advice(item, "cause", "remedy")); });
        if (const auto details = node.find("details"))
            details->each_item([&](const Node& item) { event.details.push_back(advice(item, "text", "comment")); });
        return event;
    }

    static void add_argument(EventDefinition& event, const Node& node) {
        node.object({"name", "type", "value"});
        const Node name = node.at("name");
        check_key(name.text(), name);
        for (const std::string& other : event.argument_names)
            if (other == name.text()) name.fail("comes twice");
        if (name.text() == "source" || name.text() == "json") name.fail("is reserved in verbs");
        event.argument_names.push_back(name.text());
        const std::string& type = node.at("type").text();
        const Node value = node.at("value");
        if (type == "int32")
            event.arguments.emplace_back(static_cast<std::int32_t>(
                value.integer(std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max())));
        else if (type == "double")
            event.arguments.emplace_back(value.real());
        else if (type == "text")
            event.arguments.emplace_back(value.text());
        else if (type == "bool")
            event.arguments.emplace_back(value.flag());
        else
            node.at("type").fail("must be 'int32', 'double', 'text' or 'bool'");
    }

    static ArgumentBlock raw_block(const Node& node) {
        node.object({"args", "block"});
        ArgumentBlock block;
        if (!zo_link::read_field(node.value(), "args", block.descriptor))
            node.at("args").fail("must be five unsigned 32-bit numbers");
        std::optional<std::vector<std::uint8_t>> bytes = from_hex(node.at("block").text());
        if (!bytes) node.at("block").fail("must be hexadecimal digits, two a byte");
        block.bytes = std::move(*bytes);
        return block;
    }

    Advice advice(const Node& node, const char* text, const char* remark) const {
        node.object({"id", text, remark});
        return {node.at("id").text(), localized(node.at(text)), localized(node.at(remark))};
    }

    void parse_history(const Node& history) {
        history.each_item([this](const Node& node) {
            node.object({"ago", "verb"});
            HistoryItem item{node.at("ago").real(), node.at("verb").text()};
            constexpr double hundred_years = 100.0 * 366 * 86400;
            if (!(item.ago >= 0 && item.ago <= hundred_years)) node.at("ago").fail("must be from 0 to 100 years");
            if (!scenario_.history.empty() && item.ago > scenario_.history.back().ago)
                node.at("ago").fail("is earlier than the item before it");
            scenario_.history.push_back(std::move(item));
        });
    }

    static ScheduleItem schedule_item(const Node& node) {
        node.object({"at", "every", "verb"});
        ScheduleItem item;
        item.at = node.at("at").integer(0, max_milliseconds);
        if (const auto every = node.find("every")) item.every = every->integer(1, max_milliseconds);
        item.verb = node.at("verb").text();
        return item;
    }

    Scenario scenario_;
};

} // namespace

const EventClass* Scenario::find_class(std::string_view name) const {
    const auto found = classes.find(std::string(name));
    if (found != classes.end()) return &found->second;
    const auto guid = ZoHmiSrv::Algorithm::guid_from_string(name, false);
    return guid ? find_class(*guid) : nullptr;
}

const EventClass* Scenario::find_class(const GUID& guid) const {
    for (const auto& [key, event_class] : classes)
        if (event_class.guid == guid) return &event_class;
    return nullptr;
}

const std::string& Scenario::in_language(const LocalizedText& text, std::int32_t language) const {
    static const std::string none;
    constexpr std::int32_t primary_language = 0x3ff;
    if (const auto exact = text.find(language); exact != text.end()) return exact->second;
    for (const auto& [number, variant] : text)
        if ((number & primary_language) == (language & primary_language)) return variant;
    const auto fallback = text.find(default_language);
    return fallback == text.end() ? none : fallback->second;
}

Scenario parse_scenario(std::string_view text) {
    json document;
    try {
        document = json::parse(text, [](int depth, json::parse_event_t, const json&) {
            if (depth > max_depth) throw ScenarioError("is nested too deeply");
            return true;
        });
    } catch (const json::exception& error) {
        // The library's own number and its quote of the input, which may be most of the file, are cut off.
        std::string_view what = error.what();
        what.remove_prefix(std::min(what.find("] ") + 2, what.size()));
        throw ScenarioError("not JSON: " + std::string(what.substr(0, what.find("; last read: "))));
    }
    return Parser().parse(Node(document, ""));
}

Scenario load_scenario(const std::string& path) {
    try {
        return parse_scenario(zo_link::read_regular_file(path, largest_file));
    } catch (const zo_link::FileError& error) {
        throw ScenarioError(error.what());
    }
}

} // namespace zo_sim
