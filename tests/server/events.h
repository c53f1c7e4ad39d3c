#pragma once

#include "extension/host/event.h"
#include "extension/host/event_payload.h"
#include "extension/host/value.h"
#include "server/event_rows.h"

#include <initializer_list>

// Events as an extension makes them, for the tests of the list and of what shows it.
namespace events {

inline ZoHmiSrv::Alarm alarm(int id, long raised, long cleared = 0, const char* target = "Target") {
    ZoHmiSrv::Alarm alarm;
    alarm.set_name("ZOEVENTLOGGER_ALARM");
    alarm.set_id(id);
    alarm.set_time_raised(ZoHmiSrv::Timestamp(raised));
    alarm.set_time_cleared(ZoHmiSrv::Timestamp(cleared));
    alarm.parameters().insert("targetName", target);
    return alarm;
}

inline ZoHmiSrv::Message message(long raised, double id = 1, const char* target = "Target") {
    ZoHmiSrv::Message message;
    message.set_name("ZOEVENTLOGGER_MESSAGE");
    message.set_time_raised(ZoHmiSrv::Timestamp(raised));
    message.parameters().insert("targetName", target);
    message.parameters().insert("eventId", id);
    return message;
}

inline void list(ZoHmiSrv::Value& out, std::initializer_list<ZoHmiSrv::Event> events) {
    out.set_type(ZoHmiSrv::ValueType::Vector);
    for (const ZoHmiSrv::Event& event : events)
        out << ZoHmiSrv::Value(event);
}

} // namespace events
