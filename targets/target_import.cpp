#include "targets/target_system.h"

#include "extension/host/event.h"
#include "extension/host/event_payload.h"
#include "extension/host/value.h"
#include "targets/ask.h"
#include "targets/conversion.h"
#include "targets/logging_functions.h"
#include "targets/trace_message.h"

#include <syslog.h>

#include <algorithm>
#include <unordered_set>

namespace ZoHmiEventLogger {

using namespace ZoEventLoggerFdxProxyLib;
using ZoAtlCom::CAtlException;
using ZoAtlCom::CComPtr;
using ZoHmiSrv::Event;
using ZoHmiSrv::Timestamp;
using ZoHmiSrv::ValueType;

namespace {

// Counts come from outside: more than this is never reserved on their word.
constexpr std::int32_t reserve_bound = 65'536;

// An alarm of the log that is still active comes in through the active alarms.
bool is_still_active_alarm(IZoLoggedEvent& item) {
    const auto extended = query<IZoLoggedEvent2>(item);
    return extended && ask(item, &IZoEvent::GetEventType) == EventTypeAlarm &&
           ask(*extended, &IZoLoggedEvent2::GetIsActive) != VARIANT_FALSE;
}

EventKey logged_key(IZoLoggedEvent& item, const Timestamp& raised) {
    const auto id = unique_id_of(item);
    const auto event_class = ask(item, &IZoEvent::GetEventClass);
    return {id, raised.nanoseconds(), event_class, ask(item, &IZoEvent::GetEventId)};
}

} // namespace

// What one import fetched, and what it brought in, to recognise the recorded callbacks by.
struct TargetSystem::Import {
    CComPtr<IZoLoggedEventCollection> logged;
    CComPtr<IZoAlarmCollection> active;
    std::int32_t logged_count = 0;
    std::int32_t skipped_count = 0;
    std::int32_t active_count = 0;
    EventKeySet logged_messages;
    EventKeySet logged_alarms;
    std::unordered_set<const IZoAlarm*> active_alarms;
};

// Rebuilds the store from the logger. Callbacks are recorded while its lists are fetched, and wait from then on; what
// was recorded is replayed against the lists at the end. On success they keep waiting until the result is released.
LockHolder TargetSystem::import_events() {
    // Ticks and server threads connect. The result of an import outlives this lock, and the next import waits for it
    // right below, where it holds nothing that a callback could want.
    const std::lock_guard one_at_a_time(import_mutex_);
    std::deque<std::shared_ptr<const RecordedCallback>> discarded; // dies outside all other locks
    {
        const std::lock_guard lock(*callback_mutex_);
        recording_ = true;
    }
    LockHolder holder;
    std::unique_lock<std::mutex> callbacks;
    std::size_t recorded = 0;
    std::unique_lock events(event_mutex_);
    const auto abandon = [&] {
        if (!holder && !callbacks) callbacks = lock_callbacks();
        recording_ = false;
        discarded.swap(recorded_);
        if (!events.owns_lock()) events.lock();
        events_.set_notify(true);
        events.unlock();
        trace_sizes(std::max(recorded, discarded.size()));
    };
    try {
        events_.set_notify(false);
        clear_events();
        Import import;
        fetch(import);
        callbacks = lock_callbacks();
        holder = make_holder(callbacks);
        recording_ = false;
        recorded = recorded_.size();
        import_logged_events(import);
        import_active_alarms(import);
        saved_alarm_ids_.clear();
        events.unlock();
        const bool complete = replay(import);
        if (complete)
            listener_->log_message(trace_message("GETLOGGEDEVENTS_GETACTIVEALARMS",
                                                 {name_.c_str(), static_cast<double>(event_limit_), import.logged_count,
                                                  import.skipped_count, import.active_count}));
        set_notify(true);
        trace_sizes(recorded);
        return complete ? holder : nullptr;
    } catch (const CAtlException& exception) {
        abandon();
        listener_->log_exception(name_, exception);
    } catch (...) {
        abandon();
        listener_->log_unknown_exception(name_);
    }
    return {};
}

// Everywhere else the callback mutex is taken before the event mutex, which the import holds here. A callback that
// holds the callback mutex only records, though, and does not want the event mutex: recording is true until this has
// returned.
std::unique_lock<std::mutex> TargetSystem::lock_callbacks() {
    return std::unique_lock(*callback_mutex_);
}

// Takes over the lock. The deleter keeps the mutex alive for as long as it is locked.
LockHolder TargetSystem::make_holder(std::unique_lock<std::mutex>& callbacks) {
    auto* const lock = new std::scoped_lock<std::mutex>(std::adopt_lock, *callbacks.mutex());
    callbacks.release();
    return {lock, [mutex = callback_mutex_](std::scoped_lock<std::mutex>* held) { delete held; }};
}

void TargetSystem::fetch(Import& import) {
    ZoAtlCom::throw_if_failed(proxy_->GetLoggedEvents(event_limit_, import.logged.put()));
    ZoAtlCom::throw_if_failed(proxy_->GetActiveAlarms(import.active.put()));
    if (!import.logged || !import.active) throw CAtlException(E_POINTER);
}

// Called with the event mutex held.
void TargetSystem::import_logged_events(Import& import) {
    import.logged_count = ask(*import.logged, &IZoCollection<IZoLoggedEvent>::GetCount);
    import.active_count = ask(*import.active, &IZoCollection<IZoAlarm>::GetCount);
    const auto keys = static_cast<std::size_t>(std::clamp(import.logged_count, 0, reserve_bound));
    import.logged_messages.reserve(keys);
    import.logged_alarms.reserve(keys);

    for (std::int32_t index = 0; index < import.logged_count; ++index) {
        const auto item = item_at<IZoLoggedEvent>(*import.logged, index);
        if (item && is_still_active_alarm(*item)) {
            ++import.skipped_count;
            continue;
        }
        Event event;
        const int id = take_event_id();
        if (item) {
            convert_logged_event(event, item.get(), domain_, name_, id);
            if (event.payload().type() == ValueType::Message)
                import.logged_messages.add(logged_key(*item, event.payload().get_message().time_raised()));
            else if (event.payload().type() == ValueType::Alarm)
                import.logged_alarms.add(logged_key(*item, event.payload().get_alarm().time_raised()));
        }
        events_.add(event, nullptr, true, event_limit_, 0, false);
    }
}

// Called with the event mutex held. An alarm that was active before the connection was lost keeps its id.
void TargetSystem::import_active_alarms(Import& import) {
    for (std::int32_t index = 0; index < import.active_count; ++index) {
        const auto alarm = item_at<IZoAlarm>(*import.active, index);
        if (!alarm) throw CAtlException(E_POINTER);
        const auto saved = saved_alarm_ids_.find(AlarmKey::of(*alarm));
        const int id = saved ? *saved : take_event_id();
        Event event;
        convert_alarm(event, alarm.get(), domain_, name_, id, false);
        events_.add(event, alarm.get(), true, event_limit_, 0, false);
        import.active_alarms.insert(alarm.get());
    }
}

// Called with the callback mutex held. Handles the recorded callbacks that the lists do not show yet, without telling
// the listener of the events: the server gets them with the listing. False when the logger's database changed, which
// makes everything behind it void.
bool TargetSystem::replay(const Import& import) {
    std::unordered_set<const IZoAlarm*> raised;
    for (; !recorded_.empty(); recorded_.pop_front()) {
        const RecordedCallback& record = *recorded_.front();
        if (record.kind == RecordedCallback::OnMessageSent) {
            if (!import.logged_messages.contains(record.message.key())) handle_message(record.message.get(), true);
            continue;
        }
        if (record.kind == RecordedCallback::OnDatabaseChanged) {
            const auto reason = record.reason;
            recorded_.clear();
            handle_database_changed(reason, false);
            return false;
        }
        IZoAlarm* const alarm = record.alarm.get();
        if (import.active_alarms.contains(alarm) || import.logged_alarms.contains(record.alarm.key())) continue;
        // A change of an alarm that the lists did not show creates it first.
        if (record.kind == RecordedCallback::OnAlarmRaised || !raised.contains(alarm)) {
            handle_alarm_raised(alarm, true);
            raised.insert(alarm);
        }
        if (record.kind == RecordedCallback::OnAlarmConfirmed)
            handle_alarm_confirmed(alarm, record.removed, true);
        else if (record.kind == RecordedCallback::OnAlarmCleared)
            handle_alarm_cleared(alarm, record.removed, true);
    }
    return true;
}

void TargetSystem::set_notify(bool notify) {
    const std::lock_guard lock(event_mutex_);
    events_.set_notify(notify);
}

// The two things of a target that have no bound, for whoever looks for where the memory went.
void TargetSystem::trace_sizes(std::size_t recorded) {
    syslog(LOG_DEBUG, "Target %s: import over, %zu callbacks recorded meanwhile, %zu alarms live.", name_.c_str(),
           recorded, static_cast<std::size_t>(counters().active_alarms));
}

} // namespace ZoHmiEventLogger
