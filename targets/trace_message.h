#pragma once

#include "extension/host/event_payload.h"
#include "extension/host/value.h"

#include <initializer_list>

namespace ZoHmiEventLogger {

/// The severities of the extension's own messages.
inline constexpr ZoHmiSrv::Severity trace_severity{-1};
inline constexpr ZoHmiSrv::Severity failure_severity{3};

/// A diagnostic message raised now. Its parameters, at most ten, are numbered "0", "1", "2" and so on; "0" is the
/// target's name, where there is one. The sender sets the domain. [any thread]
ZoHmiSrv::Message trace_message(const char* name, std::initializer_list<ZoHmiSrv::Value> parameters,
                                ZoHmiSrv::Severity severity = trace_severity);

} // namespace ZoHmiEventLogger
