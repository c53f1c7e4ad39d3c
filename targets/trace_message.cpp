#include "targets/trace_message.h"

namespace ZoHmiEventLogger {

ZoHmiSrv::Message trace_message(const char* name, std::initializer_list<ZoHmiSrv::Value> parameters,
                                ZoHmiSrv::Severity severity) {
    ZoHmiSrv::Message message;
    message.set_name(name);
    char key[] = "0";
    for (const ZoHmiSrv::Value& parameter : parameters) {
        message.parameters().insert(key, parameter);
        ++key[0];
    }
    message.set_severity(severity);
    message.set_time_raised(ZoHmiSrv::Timestamp::now());
    return message;
}

} // namespace ZoHmiEventLogger
