#pragma once

#include "binding/event_sink.h"
#include "targets/target_system_base.h"

namespace ZoHmiEventLogger {

/// Makes a target the event sink of its logger, and adds the caches that need the logger's newer interfaces.
template <class T>
class TargetSystemPlatformSpecific
    : public TargetSystemBase,
      public ZoAtlCom::IDispEventSimpleImpl<0, T, &ZoEventLoggerFdxProxyLib::IID__IZoEventLoggerEvents> {
protected:
    using TargetSystemBase::TargetSystemBase;
    ~TargetSystemPlatformSpecific() = default;

    LocalizationCache<EventKindKey> cause_remedies_; // each a Vector, as in an event
    LocalizationCache<SourceNameKey> source_names_;
    LocalizationCache<EventKindKey> details_; // each a Struct
};

} // namespace ZoHmiEventLogger
