#include "targets/target_system.h"

#include "extension/host/event.h"
#include "extension/host/event_payload.h"
#include "extension/host/value.h"
#include "targets/conversion.h"
#include "targets/getters.h"
#include "targets/logging_functions.h"
#include "targets/trace_message.h"

#include <exception>
#include <optional>
#include <utility>
#include <vector>

namespace ZoHmiEventLogger {

using namespace ZoEventLoggerFdxProxyLib;
using ZoHmiSrv::Alarm;
using ZoHmiSrv::Event;
using ZoHmiSrv::Message;
using ZoHmiSrv::MutexLock;
using ZoHmiSrv::Timestamp;
using ZoHmiSrv::Value;

namespace {

const char* reason_text(tagDatabaseChangeReasonEnum reason) {
    switch (reason) {
    case tagDatabaseChangeReasonEnum::Undefined:
        return "Undefined";
    case tagDatabaseChangeReasonEnum::ClearLoggedEvents:
        return "ClearLoggedEvents";
    case tagDatabaseChangeReasonEnum::MaximumSizeReached:
        return "MaximumSizeReached";
    case tagDatabaseChangeReasonEnum::Deleted:
        return "Deleted";
    }
    return nullptr;
}

} // namespace

// The differences between clearing and confirming an alarm.
struct TargetSystem::AlarmChange {
    const char* known;
    const char* unknown;
    HRESULT (IZoAlarm::*get_time)(std::int64_t*);
    void (Alarm::*set_time)(const Timestamp&);
    bool now_for_no_time;
};

// Changes the store, then reports the evicted events to the listener. The host is never called under the event mutex,
// so the mutex is unlocked first. The evicted events come before any other report. They are reported even if `change`
// or a call of the listener throws. Rethrows the first exception.
template <class Change>
void TargetSystem::change_events(Change&& change) {
    std::vector<Event> evicted;
    std::exception_ptr failure;
    const auto attempt = [&failure](auto&& call) {
        try {
            call();
        } catch (...) {
            if (!failure) failure = std::current_exception();
        }
    };
    {
        const MutexLock lock(event_mutex_);
        try {
            change();
        } catch (...) {
            failure = std::current_exception();
        }
        evicted.swap(evicted_);
    }
    for (const Event& event : evicted) {
        attempt([&] { listener_->log_message(trace_message("FORGET_EVENT", {name_.c_str(), event.time_received()})); });
        attempt([&] { listener_->forget_event(event); });
    }
    if (failure) std::rethrow_exception(failure);
}

void TargetSystem::OnMessageSent(IZoMessage* message) {
    callbacks_.receive([&] { return std::make_shared<RecordedCallback>(message); },
                       [&] { handle_message(message, false); });
}

void TargetSystem::OnAlarmRaised(IZoAlarm* alarm) {
    callbacks_.receive([&] { return std::make_shared<RecordedCallback>(RecordedCallback::OnAlarmRaised, alarm, 0); },
                       [&] { handle_alarm_raised(alarm, false); });
}

void TargetSystem::OnAlarmCleared(IZoAlarm* alarm, std::int16_t removed) {
    callbacks_.receive(
        [&] { return std::make_shared<RecordedCallback>(RecordedCallback::OnAlarmCleared, alarm, removed); },
        [&] { handle_alarm_cleared(alarm, removed, false); });
}

void TargetSystem::OnAlarmConfirmed(IZoAlarm* alarm, std::int16_t removed) {
    callbacks_.receive(
        [&] { return std::make_shared<RecordedCallback>(RecordedCallback::OnAlarmConfirmed, alarm, removed); },
        [&] { handle_alarm_confirmed(alarm, removed, false); });
}

void TargetSystem::OnDatabaseChanged(DatabaseChangeReason reason) {
    if (!reason_text(reason)) return;
    callbacks_.receive([&] { return std::make_shared<RecordedCallback>(reason); },
                       [&] { handle_database_changed(reason, false); });
}

void TargetSystem::handle_message(IZoMessage* proxy, bool replay) {
    Message message;
    convert_message(message, proxy, domain_, name_);
    change_events([&]() ZO_REQUIRES(event_mutex_) { events_.add_message(message, event_limit_, 0, false); });
    if (!replay) listener_->on_message(std::move(message));
}

void TargetSystem::handle_alarm_raised(IZoAlarm* proxy, bool replay) {
    const char* trace = nullptr;
    Alarm alarm;
    change_events([&]() ZO_REQUIRES(event_mutex_) {
        Event event;
        if (const auto known = events_.find_pointer(proxy)) {
            trace = "ACTIVE_ALARM_RAISED_AGAIN";
            event = Event(known.event());
            convert_alarm(event, proxy, domain_, name_, take_event_id(), true);
            alarm = std::as_const(event).payload().get_alarm();
            events_.replace_alarm(known, event, proxy, event_limit_);
            // The raised time can have changed meanwhile; the report then shows the alarm as converted.
            if (const auto stored = events_.find_alarm(AlarmKey::of(*proxy)))
                alarm = std::as_const(stored.event()).payload().get_alarm();
        } else {
            trace = "NEW_ALARM_RAISED";
            convert_alarm(event, proxy, domain_, name_, take_event_id(), false);
            alarm = std::as_const(event).payload().get_alarm();
            events_.add(event, proxy, true, event_limit_, 0, false);
        }
    });
    listener_->log_message(trace_message(trace, {name_.c_str(), alarm.id(), alarm.time_raised()}));
    if (!replay) listener_->on_alarm_raised(alarm);
}

void TargetSystem::handle_alarm_cleared(IZoAlarm* alarm, std::int16_t removed, bool replay) {
    // Operators sort by the time cleared, so a cleared alarm always gets one.
    static constexpr AlarmChange cleared{"KNOWN_ALARM_CLEARED", "UNKNOWN_ALARM_CLEARED", &IZoAlarm::GetTimeCleared,
                                         &Alarm::set_time_cleared, true};
    handle_alarm_changed(alarm, removed, replay, cleared);
}

void TargetSystem::handle_alarm_confirmed(IZoAlarm* alarm, std::int16_t removed, bool replay) {
    static constexpr AlarmChange confirmed{"KNOWN_ALARM_CONFIRMED", "UNKNOWN_ALARM_CONFIRMED",
                                           &IZoAlarm::GetTimeConfirmed, &Alarm::set_time_confirmed, false};
    handle_alarm_changed(alarm, removed, replay, confirmed);
}

void TargetSystem::handle_alarm_changed(IZoAlarm* proxy, std::int16_t removed_flag, bool replay,
                                        const AlarmChange& change) {
    const bool removed = removed_flag == VARIANT_TRUE;
    std::optional<Alarm> alarm;
    Timestamp time;
    change_events([&]() ZO_REQUIRES(event_mutex_) {
        const auto position = events_.find_alarm(AlarmKey::of(*proxy));
        if (!position) return;
        Alarm& stored = position.event().payload().get_alarm();
        stored.set_confirmation_state(clamp_confirmation_state(get(*proxy, &IZoAlarm::GetConfirmationState)));
        time = get_time(*proxy, change.get_time);
        if (change.now_for_no_time && time.nanoseconds() == 0) time = Timestamp::now();
        (stored.*change.set_time)(time);
        alarm = stored;
        if (removed) events_.release_alarm(position, event_limit_);
    });
    if (!alarm) {
        const Timestamp raised = get_time(*proxy, &IZoEvent::GetTimeRaised);
        const Timestamp changed = get_time(*proxy, change.get_time);
        listener_->log_message(trace_message(change.unknown, {name_.c_str(), removed, raised, changed}));
        return;
    }
    listener_->log_message(
        trace_message(change.known, {name_.c_str(), removed, alarm->id(), alarm->time_raised(), time}));
    if (!replay) listener_->on_alarm_changed(*alarm, removed);
}

// The next tick detects the lost connection. Its import rebuilds the store.
void TargetSystem::handle_database_changed(DatabaseChangeReason reason, bool) {
    connection_.call(&IZoEventLogger::Disconnect);
    listener_->log_message(trace_message("DATABASE_CHANGED", {name_.c_str(), reason_text(reason)}));
}

// The store calls this during evictions.
void TargetSystem::forget_event(long, const Event& event) {
    evicted_.push_back(event);
}

HRESULT TargetSystem::confirm_alarm(const Alarm& alarm) {
    ZoAtlCom::CComPtr<IZoAlarm> proxy;
    {
        const MutexLock lock(event_mutex_);
        proxy = ZoAtlCom::CComPtr<IZoAlarm>(events_.find_alarm_by_id(alarm.id()));
    }
    if (!proxy) return E_FAIL;
    listener_->log_message(trace_message("CALL_CONFIRM", {name_.c_str(), alarm.id()}));
    try {
        return ZoAtlCom::throw_if_failed(proxy->Confirm());
    } catch (...) {
        connection_.report_current_exception();
        return E_FAIL;
    }
}

void TargetSystem::list_events(Value& out) {
    const MutexLock lock(event_mutex_);
    events_.list(out);
}

EventStore::Counters TargetSystem::counters() {
    const MutexLock lock(event_mutex_);
    return events_.counters();
}

int TargetSystem::take_event_id() {
    return static_cast<int>(next_event_id_->fetch_add(1));
}

} // namespace ZoHmiEventLogger
