#pragma once

#include "binding/connection_points.h"
#include "targets/scoped_event_pointer.h"

#include <cstdint>

namespace ZoHmiEventLogger {

/// One callback that arrived while an import was fetching, recorded for the replay.
struct RecordedCallback {
    enum Kind : std::uint8_t { OnMessageSent, OnAlarmRaised, OnAlarmCleared, OnAlarmConfirmed, OnDatabaseChanged };

    using IZoAlarm = ZoEventLoggerFdxProxyLib::IZoAlarm;
    using IZoMessage = ZoEventLoggerFdxProxyLib::IZoMessage;
    using Reason = ZoEventLoggerFdxProxyLib::tagDatabaseChangeReasonEnum;

    explicit RecordedCallback(IZoMessage* sent) : kind(OnMessageSent), message(sent) {}
    RecordedCallback(Kind which, IZoAlarm* changed, std::int16_t was_removed)
        : kind(which), alarm(changed), removed(was_removed) {}
    explicit RecordedCallback(Reason why) : kind(OnDatabaseChanged), reason(why) {}

    Kind kind;
    ScopedEventPointer<IZoAlarm> alarm;     // the three kinds of alarms only
    ScopedEventPointer<IZoMessage> message; // OnMessageSent only
    std::int16_t removed = 0;               // OnAlarmCleared and OnAlarmConfirmed only; true at exactly -1
    Reason reason = Reason::Undefined;      // OnDatabaseChanged only
};

} // namespace ZoHmiEventLogger
