#include "extension/zo_hmi_event_logger.h"

#include "extension/host/command.h"
#include "extension/host/event_payload.h"
#include "extension/host/value.h"
#include "targets/target_system.h"

namespace ZoHmiEventLogger {

using namespace ZoHmiSrv;

int ZoHmiEventLogger::on_get_events(const Context&, Value& events) {
    for (const std::string& name : targets_.names())
        if (const auto target = targets_.find(name)) target->list_events(events);
    return 0;
}

ErrorValue ZoHmiEventLogger::on_confirm_alarm(const Context&, Alarm&) {
    return HMI_E_FAIL;
}

ErrorValue ZoHmiEventLogger::on_localize_event(const Context&, const char*, EventPayload&, String&) {
    return HMI_E_FAIL;
}

void ZoHmiEventLogger::on_request(const Context&, CommandGroup& commands) {
    for (auto command = commands.begin_vector(); command != commands.end_vector(); ++command)
        command->set_extension_result(HMI_E_FAIL);
}

} // namespace ZoHmiEventLogger
