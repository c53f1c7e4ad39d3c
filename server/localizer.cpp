#include "server/localizer.h"

#include "extension/host/event_payload.h"
#include "extension/host/string_holder.h"
#include "server/host.h"

#include <utility>

namespace server {

using namespace ZoHmiSrv;

namespace {

constexpr auto time_for_one_drawing = std::chrono::milliseconds(200);
constexpr auto pause_after_failure = std::chrono::seconds(2);

std::string text_of(const Value& value) {
    return Value(value).convert(ValueType::String).get_string();
}

EventPayload* payload_of(Event& event) {
    if (alarm_of(event) != nullptr) return &event.payload().get_alarm();
    if (message_of(event) != nullptr) return &event.payload().get_message();
    return nullptr;
}

/// The identifiers of an event.
EventTexts own_texts(const Event& event) {
    const Value& parameters = parameters_of(event);
    return {HMI_SUCCESS, event.name(), text_of(parameters["eventClass"]), text_of(parameters["sourceName"])};
}

} // namespace

EventTexts localize(Host& host, Event& event, const std::string& language) {
    EventTexts texts = own_texts(event);
    EventPayload* payload = payload_of(event);
    String text;
    texts.result = payload == nullptr ? HMI_E_INVALID_TYPE : host.localize(language.c_str(), *payload, text);
    if (texts.result != HMI_SUCCESS) return texts;
    const Value& parameters = parameters_of(event);
    texts.text = text.name();
    if (parameters["eventClassName"].isset()) texts.class_name = text_of(parameters["eventClassName"]);
    if (parameters["localizedSourceName"].isset()) texts.source_name = text_of(parameters["localizedSourceName"]);
    return texts;
}

std::vector<EventTexts> ShownTexts::of(const std::vector<EventRow>& rows) {
    const auto start = Clock::now();
    std::map<std::uint64_t, Known> known;
    std::vector<EventTexts> all;
    for (const EventRow& row : rows) {
        auto node = known_.extract(row.number);
        const Timestamp raised = row.event.time_received();
        const bool fresh = node.empty() || node.mapped().raised != raised;
        Known entry = fresh ? Known{own_texts(row.event), raised, start} : std::move(node.mapped());
        const auto now = Clock::now();
        if (now >= entry.retry_at && now - start < time_for_one_drawing) {
            Event event = row.event;
            entry.texts = localize(host_, event, language_);
            entry.retry_at =
                entry.texts.result == HMI_SUCCESS ? Clock::time_point::max() : Clock::now() + pause_after_failure;
        }
        all.push_back(entry.texts);
        known.insert_or_assign(row.number, std::move(entry));
    }
    known_ = std::move(known);
    return all;
}

} // namespace server
