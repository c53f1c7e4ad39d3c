#pragma once

#include "binding/event_objects.h"
#include "extension/host/event_payload.h"

#include <cstdint>
#include <string>

namespace ZoHmiSrv {
class Event;
}

/// Converts the logger's objects to the server's records. All three kinds fill the same parameters. Throws
/// CAtlException when a call of the proxy fails; the record is partly filled then. [any thread]
namespace ZoHmiEventLogger {

/// 0 to 4 stay; larger numbers become 1.
ZoHmiSrv::Severity clamp_severity(unsigned severity);
/// 1 to 4 stay; other numbers become 0.
ZoHmiSrv::AlarmConfirmationState clamp_confirmation_state(int state);

/// An entry of the log. Sets only the domain when the entry is neither alarm nor message.
void convert_logged_event(ZoHmiSrv::Event& event, ZoEventLoggerFdxProxyLib::IZoLoggedEvent* item,
                          const std::string& domain, const std::string& target_name, int id);

/// A live alarm. Updates an alarm that is already in the event. Keeps its state, and with `keep_id` also its id.
void convert_alarm(ZoHmiSrv::Event& event, ZoEventLoggerFdxProxyLib::IZoAlarm* alarm, const std::string& domain,
                   const std::string& target_name, int id, bool keep_id);

void convert_message(ZoHmiSrv::Message& message, ZoEventLoggerFdxProxyLib::IZoMessage* proxy, const std::string& domain,
                     const std::string& target_name);

} // namespace ZoHmiEventLogger
