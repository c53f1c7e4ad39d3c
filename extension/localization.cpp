#include "extension/zo_hmi_event_logger.h"

#include "extension/host/event_payload.h"
#include "extension/host/value.h"
#include "targets/event_reference.h"
#include "targets/locale_id.h"
#include "targets/target_system.h"

#include <cstddef>
#include <optional>
#include <utility>

namespace ZoHmiEventLogger {

using namespace ZoHmiSrv;

namespace {

/// Replaces the text of an event whose target has been deleted.
constexpr char target_not_found[] = "TARGET_NOT_FOUND";

/// Class name, source name, causes with remedies, details.
constexpr std::size_t max_new_parameters = 4;

/// The answers for one event. A Null member needs no write: the event already has that answer. Servers localize the
/// same event for each client and each redraw. Without this rule, writes would be most of the work.
struct Localization {
    String text{""};
    Value class_name, source_name, causes, details;
};

/// Stops at the first failure and returns it.
ErrorValue fetch(TargetSystem& target, const EventReference& event, const Value& present, Localization& fetched) {
    if (const auto result = target.localize_text(event, fetched.text)) return result;
    if (const auto result = target.localize_class_name(event, present["eventClassName"], fetched.class_name))
        return result;
    if (const auto result = target.localize_source_name(event, present["localizedSourceName"], fetched.source_name))
        return result;
    if (const auto result = target.list_causes_and_remedies(event, present["causeRemedy"], fetched.causes))
        return result;
    return target.list_details(event, present["details"], fetched.details);
}

} // namespace

ErrorValue ZoHmiEventLogger::on_localize_event(const Context&, const char* locale, EventPayload& event, String& text) {
    const std::int32_t language = locale_to_lcid(locale ? locale : "");
    if (language == 0) return HMI_E_UNEXPECTED;
    if (event.type() != ValueType::Message && event.type() != ValueType::Alarm) return HMI_E_INVALID_TYPE;

    // Strong guarantee: the event is only read until every answer has arrived.
    Value& parameters = event.parameters();
    const Value& target_name = std::as_const(parameters)["targetName"];
    const auto target = target_name.isset() ? targets_.find(target_name.get_string()) : nullptr;
    if (!target) {
        const String stand_in = target_name.isset() ? target_not_found : event.name();
        parameters.insert_or_update("eventClassName", stand_in.name());
        text = stand_in; // never throws
        return HMI_SUCCESS;
    }

    EventReference reference(parameters, event.type(), language);
    Localization fetched;
    if (const ErrorValue result = fetch(*target, reference, parameters, fetched)) return result;

    // Reserve first: nothing fails after that, so the event gets every parameter or none.
    const bool changes = fetched.class_name.isset() || fetched.source_name.isset() || fetched.causes.isset() ||
                         fetched.details.isset() || reference.converted_types || reference.converted_data;
    if (changes) parameters.reserve(parameters.size() + max_new_parameters);
    text = std::move(fetched.text);
    if (fetched.class_name.isset()) parameters.insert_or_update("eventClassName", std::move(fetched.class_name));
    if (reference.converted_types) parameters.insert_or_update("types", std::move(*reference.converted_types));
    if (reference.converted_data) parameters.insert_or_update("data", std::move(*reference.converted_data));
    if (fetched.source_name.isset()) parameters.insert_or_update("localizedSourceName", std::move(fetched.source_name));
    if (!fetched.causes.empty()) parameters.insert_or_update("causeRemedy", std::move(fetched.causes));
    if (!fetched.details.empty()) parameters.insert_or_update("details", std::move(fetched.details));
    return HMI_SUCCESS;
}

} // namespace ZoHmiEventLogger
