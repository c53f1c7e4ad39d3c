#pragma once

#include "binding/event_sink.h"
#include "targets/target_system_base.h"

#include <string>
#include <vector>

namespace ZoHmiEventLogger {

/// Makes a target the event sink of its logger, and adds the caches that need the logger's newer interfaces.
template <class T>
class TargetSystemPlatformSpecific
    : public TargetSystemBase,
      public ZoAtlCom::IDispEventSimpleImpl<0, T, &ZoEventLoggerFdxProxyLib::IID__IZoEventLoggerEvents> {
protected:
    using TargetSystemBase::TargetSystemBase;
    ~TargetSystemPlatformSpecific() = default;

    LocalizationCache<EventKindKey, std::vector<CauseRemedy>> cause_remedies_;
    LocalizationCache<SourceNameKey, std::string> source_names_;
    LocalizationCache<EventKindKey, std::vector<Detail>> details_;
};

} // namespace ZoHmiEventLogger
