#include "simulator/text_answers.h"

#include "platform/link/event_record.h"
#include "platform/link/protocol.h"
#include "simulator/text_template.h"

#include <array>
#include <vector>

namespace zo_sim {

namespace {

using nlohmann::json;
using zo_link::read_field;

TextAnswer malformed() {
    TextAnswer answer;
    answer.malformed = true;
    return answer;
}

TextAnswer failure(std::uint32_t result) {
    TextAnswer answer;
    answer.result = result;
    return answer;
}

TextAnswer text(std::string text) {
    TextAnswer answer;
    answer.body = {{"text", std::move(text)}};
    return answer;
}

const EventDefinition* find_event(const Scenario& scenario, const GUID& guid, std::uint32_t id) {
    const EventClass* event_class = scenario.find_class(guid);
    if (event_class == nullptr) return nullptr;
    const auto event = event_class->events.find(id);
    return event == event_class->events.end() ? nullptr : &event->second;
}

TextAnswer event_text(const Scenario& scenario, const EventDefinition& event, std::int32_t language,
                      const json& fields) {
    std::array<std::uint32_t, 5> descriptor{};
    std::vector<std::uint8_t> block;
    if (!read_field(fields, "args", descriptor) || !read_field(fields, "block", block)) return malformed();
    // Without a readable block every placeholder is without its argument.
    const auto arguments = unpack_arguments(descriptor, block).value_or(std::vector<Argument>());
    return text(fill_template(scenario.in_language(event.text, language), event.argument_names, arguments));
}

TextAnswer source_name(const Scenario& scenario, std::int32_t language, const json& fields) {
    std::string name;
    GUID guid{};
    if (!read_field(fields, "guid", guid) || !read_field(fields, "name", name)) return malformed();
    // The GUID is the source's own or, for a source without one, that of the event's class: the name decides.
    for (const auto& [key, source] : scenario.sources)
        if (source.name == name) return text(scenario.in_language(source.text, language));
    return text("");
}

TextAnswer advice(const Scenario& scenario, const std::vector<Advice>& list, std::int32_t language) {
    TextAnswer answer;
    answer.list = true;
    answer.body = json::array();
    for (const Advice& item : list)
        answer.body.push_back(json::array(
            {item.id, scenario.in_language(item.text, language), scenario.in_language(item.remark, language)}));
    return answer;
}

} // namespace

bool is_text_operation(const std::string& operation) {
    return operation == zo_link::op::get_text || operation == zo_link::op::class_name ||
           operation == zo_link::op::source_name || operation == zo_link::op::causes_remedies ||
           operation == zo_link::op::details;
}

TextAnswer answer_text(const Scenario& scenario, const std::string& operation, const json& fields) {
    std::int32_t language = 0;
    if (!read_field(fields, "language", language)) return malformed();
    if (operation == zo_link::op::source_name) return source_name(scenario, language, fields);

    GUID guid{};
    if (!read_field(fields, "class", guid)) return malformed();
    if (operation == zo_link::op::class_name) {
        const EventClass* event_class = scenario.find_class(guid);
        if (event_class == nullptr) return failure(zo_link::code::not_found);
        return text(scenario.in_language(event_class->name, language));
    }
    std::uint32_t id = 0;
    if (!read_field(fields, "event", id)) return malformed();
    const EventDefinition* event = find_event(scenario, guid, id);
    if (event == nullptr) return failure(zo_link::code::not_found);
    if (operation == zo_link::op::get_text) return event_text(scenario, *event, language, fields);
    return advice(scenario, operation == zo_link::op::details ? event->details : event->causes, language);
}

} // namespace zo_sim
