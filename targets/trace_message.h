#pragma once

#include "extension/host/event_payload.h"
#include "extension/host/value.h"

#include <initializer_list>

namespace ZoHmiEventLogger {

/// Severities of the extension's own messages.
inline constexpr ZoHmiSrv::Severity trace_severity{-1};
inline constexpr ZoHmiSrv::Severity failure_severity{3};

/// A diagnostic message raised now, its parameters numbered "0", "1", "2" and so on ("0" is the target's name, where
/// there is one). The domain is left to whoever sends it. At most ten parameters.
ZoHmiSrv::Message trace_message(const char* name, std::initializer_list<ZoHmiSrv::Value> parameters,
                                ZoHmiSrv::Severity severity = trace_severity);

} // namespace ZoHmiEventLogger
