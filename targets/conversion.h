#pragma once

#include "binding/event_objects.h"
#include "extension/host/event_payload.h"

#include <cstdint>
#include <string>

namespace ZoHmiSrv {
class Event;
}

/// From the logger's objects to the server's records; nothing else looks at an object for its content. All three kinds
/// fill the same parameters. A call that fails throws CAtlException and leaves the record partly filled.
namespace ZoHmiEventLogger {

/// 0 to 4 stay, anything above becomes 1.
ZoHmiSrv::Severity clamp_severity(unsigned severity);
/// 1 to 4 stay, anything else becomes 0.
ZoHmiSrv::AlarmConfirmationState clamp_confirmation_state(int state);

/// An entry of the log. One that is neither alarm nor message leaves the event with its domain alone.
void convert_logged_event(ZoHmiSrv::Event& event, ZoEventLoggerFdxProxyLib::IZoLoggedEvent* item,
                          const std::string& domain, const std::string& target_name, int id);

/// A live alarm. An event that holds an alarm already is updated in place and keeps that alarm's state, and its id
/// with `keep_id`.
void convert_alarm(ZoHmiSrv::Event& event, ZoEventLoggerFdxProxyLib::IZoAlarm* alarm, const std::string& domain,
                   const std::string& target_name, int id, bool keep_id);

void convert_message(ZoHmiSrv::Message& message, ZoEventLoggerFdxProxyLib::IZoMessage* proxy, const std::string& domain,
                     const std::string& target_name);

} // namespace ZoHmiEventLogger
