#include "extension/zo_hmi_event_logger.h"

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

ErrorValue ZoHmiEventLogger::on_confirm_alarm(const Context&, Alarm& alarm) {
    const Value& parameters = alarm.parameters();
    const auto target = targets_.find(parameters["targetName"].get_string());
    if (!target) return HMI_E_ENTRY_NOT_FOUND;
    return failed(target->confirm_alarm(alarm)) ? HMI_E_FAIL : HMI_SUCCESS;
}

} // namespace ZoHmiEventLogger
