#include "targets/conversion.h"

#include "extension/host/event.h"
#include "extension/host/value.h"
#include "support/guid.h"
#include "targets/getters.h"

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>

namespace ZoHmiEventLogger {

using namespace ZoEventLoggerFdxProxyLib;
using ZoHmiSrv::Alarm;
using ZoHmiSrv::AlarmConfirmationState;
using ZoHmiSrv::AlarmState;
using ZoHmiSrv::Binary;
using ZoHmiSrv::Event;
using ZoHmiSrv::EventPayload;
using ZoHmiSrv::Message;
using ZoHmiSrv::Severity;
using ZoHmiSrv::Timestamp;
using ZoHmiSrv::Value;
using ZoHmiSrv::ValueType;
using ZoHmiSrv::Algorithm::uuid_to_string;

namespace {

constexpr char alarm_name[] = "ZOEVENTLOGGER_ALARM";
constexpr char message_name[] = "ZOEVENTLOGGER_MESSAGE";

// The parameters of an event, and those that localization adds.
constexpr std::size_t max_parameters = 10 + 4;

// Confirmation states of alarms from the log. The log shows only whether a confirmation was required and given.
constexpr AlarmConfirmationState none{0}, confirmed{3}, not_confirmed{4};

bool has_source_field(IZoEvent& event, SourceField field) {
    VARIANT_BOOL present = VARIANT_FALSE;
    ZoAtlCom::throw_if_failed(event.HasSourceField(field, &present));
    return present != VARIANT_FALSE;
}

void set_identity(Value& parameters, IZoEvent& event, const std::string& target_name) {
    parameters.reserve(max_parameters);
    parameters.insert_or_update("targetName", target_name.c_str());
    parameters.insert_or_update("eventClass", uuid_to_string(get(event, &IZoEvent::GetEventClass), true).c_str());
    parameters.insert_or_update("eventId", static_cast<double>(get(event, &IZoEvent::GetEventId)));
    if (has_source_field(event, SourceFieldId))
        parameters.insert_or_update("sourceId", static_cast<double>(get(event, &IZoEvent::GetSourceId)));
    if (has_source_field(event, SourceFieldName))
        parameters.insert_or_update("sourceName", get_text(event, &IZoEvent::GetSourceName).get());
    if (has_source_field(event, SourceFieldGuid))
        parameters.insert_or_update("sourceGuid", uuid_to_string(get(event, &IZoEvent::GetSourceGuid), true).c_str());
}

template <class Interface>
void set_json_attribute(Value& parameters, IUnknown& event) {
    if (const auto json = query<Interface>(event))
        parameters.insert_or_update("jsonAttribute", get_text(*json, &Interface::GetJsonAttribute).get());
}

// Copies the two ranges of the logger's argument block as they are. Offsets and sizes are not trusted: ranges that are
// not inside the block are omitted.
template <class Interface>
void copy_arguments(Value& parameters, Interface& event) {
    const auto arguments = get(event, &Interface::GetArguments);
    parameters.insert_or_update("numArguments", static_cast<double>(arguments.count));
    const std::uint64_t total = std::uint64_t{arguments.types_size} + arguments.data_size;
    if (arguments.count == 0 || total < 1 || total > std::numeric_limits<std::int32_t>::max()) return;

    // The zeros of calloc cost nothing, even where the proxy fills only a small part of a large block.
    const std::unique_ptr<std::uint8_t, decltype(&std::free)> block(static_cast<std::uint8_t*>(std::calloc(1, total)),
                                                                    &std::free);
    if (!block) throw std::bad_alloc();
    std::uint8_t* bytes = block.get(); // the proxy may change this copy of the address
    ZoAtlCom::throw_if_failed(event.GetArgumentData(&bytes, static_cast<std::uint32_t>(total)));
    const auto inside = [total](std::uint64_t offset, std::uint64_t size) { return offset + size <= total; };
    if (!inside(arguments.types_offset, arguments.types_size) || !inside(arguments.data_offset, arguments.data_size))
        return;
    parameters["types"].set(Binary(block.get() + arguments.types_offset, arguments.types_size));
    parameters["data"].set(Binary(block.get() + arguments.data_offset, arguments.data_size));
}

// The event gets the payload's name. Its time received is the payload's time raised.
template <class Payload>
void complete(Event& event, Payload& payload) {
    event.set_name(payload.name());
    event.set_time_received(payload.time_raised());
}

Alarm& as_logged_alarm(Event& event, IZoLoggedEvent& item, const std::string& domain, int id) {
    event.payload().set(Alarm());
    Alarm& alarm = event.payload().get_alarm();
    alarm.set_name(alarm_name);
    alarm.set_domain(domain.c_str());
    alarm.set_id(id);
    alarm.set_severity(clamp_severity(get(item, &IZoEvent::GetSeverity)));
    alarm.set_time_raised(get_time(item, &IZoEvent::GetTimeRaised));
    alarm.set_time_cleared(get_time(item, &IZoLoggedEvent::GetTimeCleared));
    alarm.set_time_confirmed(get_time(item, &IZoLoggedEvent::GetTimeConfirmed));
    if (get(item, &IZoLoggedEvent::GetWithConfirmation) == VARIANT_TRUE)
        alarm.set_confirmation_state(alarm.time_confirmed().nanoseconds() != 0 ? confirmed : not_confirmed);
    else
        alarm.set_confirmation_state(none);
    if (alarm.time_cleared().nanoseconds() == 0) alarm.set_alarm_state(AlarmState::Invalid);
    return alarm;
}

Message& as_logged_message(Event& event, IZoLoggedEvent& item, const std::string& domain) {
    event.payload().set(Message());
    Message& message = event.payload().get_message();
    message.set_name(message_name);
    message.set_domain(domain.c_str());
    message.set_severity(clamp_severity(get(item, &IZoEvent::GetSeverity)));
    message.set_time_raised(get_time(item, &IZoEvent::GetTimeRaised));
    return message;
}

template <class Payload>
void complete_logged(Event& event, Payload& payload, IZoLoggedEvent& item, const std::string& target_name) {
    Value& parameters = payload.parameters();
    set_identity(parameters, item, target_name);
    if (const auto extended = query<IZoLoggedEvent2>(item))
        copy_arguments(parameters, *extended);
    else
        parameters.insert_or_update("numArguments", 0);
    set_json_attribute<IZoLoggedEventJson>(parameters, item);
    complete(event, payload);
}

} // namespace

Severity clamp_severity(unsigned severity) {
    return Severity(severity <= 4 ? static_cast<std::int32_t>(severity) : 1);
}

AlarmConfirmationState clamp_confirmation_state(int state) {
    return AlarmConfirmationState(state >= 1 && state <= 4 ? state : 0);
}

void convert_logged_event(Event& event, IZoLoggedEvent* item, const std::string& domain, const std::string& target_name,
                          int id) {
    event.set_domain(domain.c_str());
    switch (get(*item, &IZoEvent::GetEventType)) {
    case EventTypeAlarm:
        return complete_logged(event, as_logged_alarm(event, *item, domain, id), *item, target_name);
    case EventTypeMessage:
        return complete_logged(event, as_logged_message(event, *item, domain), *item, target_name);
    default:
        return;
    }
}

void convert_alarm(Event& event, IZoAlarm* proxy, const std::string& domain, const std::string& target_name, int id,
                   bool keep_id) {
    event.set_domain(domain.c_str());
    if (event.payload().type() != ValueType::Alarm) event.payload().set(Alarm());
    Alarm& alarm = event.payload().get_alarm();
    alarm.set_name(alarm_name);
    alarm.set_domain(domain.c_str());
    alarm.set_severity(clamp_severity(get(*proxy, &IZoEvent::GetSeverity)));
    if (!keep_id) alarm.set_id(id);

    Value& parameters = alarm.parameters();
    parameters.clear();
    set_identity(parameters, *proxy, target_name);
    set_json_attribute<IZoAlarmJson>(parameters, *proxy);

    alarm.set_time_raised(get_time(*proxy, &IZoEvent::GetTimeRaised));
    // An alarm that is raised again still has the time of its last clearing.
    const auto cleared = get(*proxy, &IZoAlarm::GetTimeCleared);
    const auto raised = get(*proxy, &IZoEvent::GetTimeRaised);
    alarm.set_time_cleared(Timestamp::from_file_time(cleared <= raised ? 0 : cleared));
    alarm.set_confirmation_state(clamp_confirmation_state(get(*proxy, &IZoAlarm::GetConfirmationState)));
    alarm.set_time_confirmed(get_time(*proxy, &IZoAlarm::GetTimeConfirmed));
    copy_arguments(parameters, *proxy);
    complete(event, alarm);
}

void convert_message(Message& message, IZoMessage* proxy, const std::string& domain, const std::string& target_name) {
    message.set_name(message_name);
    message.set_time_raised(get_time(*proxy, &IZoEvent::GetTimeRaised));
    message.set_severity(clamp_severity(get(*proxy, &IZoEvent::GetSeverity)));
    message.set_domain(domain.c_str());
    Value& parameters = message.parameters();
    set_identity(parameters, *proxy, target_name);
    set_json_attribute<IZoMessageJson>(parameters, *proxy);
    copy_arguments(parameters, *proxy);
}

} // namespace ZoHmiEventLogger
