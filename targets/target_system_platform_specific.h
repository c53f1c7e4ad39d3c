#pragma once

#include "binding/event_sink.h"
#include "extension/host/value.h"
#include "targets/target_system_base.h"

#include <string>

namespace ZoHmiEventLogger {

/// Makes a target the event sink of its logger, and adds the caches that need the logger's newer interfaces.
template <class T>
class TargetSystemPlatformSpecific
    : public TargetSystemBase,
      public ZoAtlCom::IDispEventSimpleImpl<0, T, &ZoEventLoggerFdxProxyLib::IID__IZoEventLoggerEvents> {
protected:
    using TargetSystemBase::TargetSystemBase;
    ~TargetSystemPlatformSpecific() = default;

    // cause_remedies, source_names and details, with cause_remedy_mutex, source_name_mutex and detail_mutex inside.
    LocalizationCache<EventKindKey> cause_remedies_; // as they stand in an event: a Vector
    LocalizationCache<SourceNameKey> source_names_;
    LocalizationCache<EventKindKey> details_; // a Struct
};

} // namespace ZoHmiEventLogger
