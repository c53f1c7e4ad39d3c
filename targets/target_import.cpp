#include "targets/target_system.h"

#include "extension/host/event.h"
#include "extension/host/event_payload.h"
#include "extension/host/value.h"
#include "targets/conversion.h"
#include "targets/getters.h"
#include "targets/logging_functions.h"
#include "targets/trace_message.h"

#include <algorithm>
#include <unordered_set>

namespace ZoHmiEventLogger {

using namespace ZoEventLoggerFdxProxyLib;
using ZoAtlCom::CAtlException;
using ZoAtlCom::CComPtr;
using ZoHmiSrv::Event;
using ZoHmiSrv::MutexLock;
using ZoHmiSrv::Timestamp;
using ZoHmiSrv::ValueType;

namespace {

// The logger's counts are not trusted: no more than this is reserved for them.
constexpr std::int32_t max_reserved = 65'536;

// An alarm of the log that is still active is imported with the active alarms.
bool is_still_active_alarm(IZoLoggedEvent& item) {
    const auto extended = query<IZoLoggedEvent2>(item);
    return extended && get(item, &IZoEvent::GetEventType) == EventTypeAlarm &&
           get(*extended, &IZoLoggedEvent2::GetIsActive) != VARIANT_FALSE;
}

EventKey logged_key(IZoLoggedEvent& item, const Timestamp& raised) {
    const auto id = unique_id_of(item);
    const auto event_class = get(item, &IZoEvent::GetEventClass);
    return {id, raised.nanoseconds(), event_class, get(item, &IZoEvent::GetEventId)};
}

} // namespace

// One import. Fetching: the logger sends its lists, and callbacks are recorded. Filling and Replaying: callbacks wait
// for the lock that the import has taken. The destructor abandons an import that is not over.
class TargetSystem::Import {
public:
    // Requires an empty `recorded`. The caller destroys its remaining records after the lock is released.
    Import(TargetSystem& target, CallbackLock& callbacks, CallbackRecorder::Records& recorded)
        : target_(target), callbacks_(callbacks), recorded_(recorded) {}
    ~Import();
    Import(const Import&) = delete;
    Import& operator=(const Import&) = delete;

    // Returns false when the logger's database changed meanwhile. Leaves `callbacks` locked.
    bool run();

private:
    enum class State { Fetching, Filling, Replaying, Over };

    void fetch() ZO_REQUIRES(target_.event_mutex_);
    void lock_callbacks() ZO_REQUIRES(target_.event_mutex_);
    void add_logged_events() ZO_REQUIRES(target_.event_mutex_);
    void add_active_alarms() ZO_REQUIRES(target_.event_mutex_);
    bool replay();
    void finish();

    TargetSystem& target_;
    CallbackLock& callbacks_;
    CallbackRecorder::Records& recorded_;
    State state_ = State::Over;

    CComPtr<IZoLoggedEventCollection> logged_;
    CComPtr<IZoAlarmCollection> active_;
    std::int32_t logged_count_ = 0;
    std::int32_t skipped_count_ = 0;
    std::int32_t active_count_ = 0;
    // These keys identify the recorded callbacks whose events are already in the lists.
    EventKeySet logged_messages_;
    EventKeySet logged_alarms_;
    std::unordered_set<const IZoAlarm*> active_alarms_;
};

LockHolder TargetSystem::import_events() {
    CallbackRecorder::Records recorded;
    CallbackLock callbacks(callbacks_.mutex());
    return import_events(callbacks, recorded) ? callbacks.make_holder() : LockHolder();
}

// Rebuilds the store from the logger. `callbacks` is locked on return, also from a failed import: the caller decides
// how long callbacks wait. Ticks and server threads import. The second thread blocks without any other lock.
bool TargetSystem::import_events(CallbackLock& callbacks, CallbackRecorder::Records& recorded) {
    const MutexLock one_at_a_time(import_mutex_);
    try {
        return Import(*this, callbacks, recorded).run();
    } catch (const CAtlException& exception) {
        listener_->log_exception(name_, exception);
    } catch (...) {
        listener_->log_unknown_exception(name_);
    }
    return false;
}

bool TargetSystem::Import::run() {
    target_.callbacks_.start_recording();
    state_ = State::Fetching;
    {
        const MutexLock events(target_.event_mutex_);
        target_.events_.set_notify(false);
        target_.clear_events();
        fetch();
        lock_callbacks();
        add_logged_events();
        add_active_alarms();
        target_.saved_alarm_ids_.clear();
    }
    state_ = State::Replaying;
    const bool complete = replay();
    if (complete)
        target_.listener_->log_message(trace_message("GETLOGGEDEVENTS_GETACTIVEALARMS",
                                                     {target_.name_.c_str(), static_cast<double>(target_.event_limit_),
                                                      logged_count_, skipped_count_, active_count_}));
    finish();
    return complete;
}

TargetSystem::Import::~Import() {
    if (state_ == State::Over) return;
    if (state_ == State::Fetching) {
        if (!callbacks_.owns_lock()) callbacks_.lock();
        target_.callbacks_.stop_recording(callbacks_, recorded_);
    }
    finish();
}

void TargetSystem::Import::finish() {
    const MutexLock events(target_.event_mutex_);
    target_.events_.set_notify(true);
    state_ = State::Over;
}

void TargetSystem::Import::fetch() {
    IZoEventLogger* const logger = target_.connection_.proxy();
    ZoAtlCom::throw_if_failed(logger->GetLoggedEvents(target_.event_limit_, logged_.put()));
    ZoAtlCom::throw_if_failed(logger->GetActiveAlarms(active_.put()));
    if (!logged_ || !active_) throw CAtlException(E_POINTER);
}

// Everywhere else the callback mutex is locked before the event mutex. Here the event mutex is already locked. That is
// safe: until this function returns, a callback with the callback mutex only records. It does not lock the event mutex.
void TargetSystem::Import::lock_callbacks() {
    callbacks_.lock();
    target_.callbacks_.stop_recording(callbacks_, recorded_);
    state_ = State::Filling;
}

void TargetSystem::Import::add_logged_events() {
    logged_count_ = get(*logged_, &IZoCollection<IZoLoggedEvent>::GetCount);
    active_count_ = get(*active_, &IZoCollection<IZoAlarm>::GetCount);
    const auto keys = static_cast<std::size_t>(std::clamp(logged_count_, 0, max_reserved));
    logged_messages_.reserve(keys);
    logged_alarms_.reserve(keys);

    for (std::int32_t index = 0; index < logged_count_; ++index) {
        const auto item = item_at<IZoLoggedEvent>(*logged_, index);
        if (item && is_still_active_alarm(*item)) {
            ++skipped_count_;
            continue;
        }
        Event event;
        const int id = target_.take_event_id();
        if (item) {
            convert_logged_event(event, item.get(), target_.domain_, target_.name_, id);
            if (event.payload().type() == ValueType::Message)
                logged_messages_.add(logged_key(*item, event.payload().get_message().time_raised()));
            else if (event.payload().type() == ValueType::Alarm)
                logged_alarms_.add(logged_key(*item, event.payload().get_alarm().time_raised()));
        }
        target_.events_.add(event, nullptr, true, target_.event_limit_, 0, false);
    }
}

// An alarm that was active before the connection was lost keeps its id.
void TargetSystem::Import::add_active_alarms() {
    for (std::int32_t index = 0; index < active_count_; ++index) {
        const auto alarm = item_at<IZoAlarm>(*active_, index);
        if (!alarm) throw CAtlException(E_POINTER);
        const auto saved = target_.saved_alarm_ids_.find(AlarmKey::of(*alarm));
        const int id = saved ? *saved : target_.take_event_id();
        Event event;
        convert_alarm(event, alarm.get(), target_.domain_, target_.name_, id, false);
        target_.events_.add(event, alarm.get(), true, target_.event_limit_, 0, false);
        active_alarms_.insert(alarm.get());
    }
}

// Handles the recorded callbacks whose events are not in the lists. The listener gets none of these events: the server
// lists them later. A database change makes all later records invalid.
bool TargetSystem::Import::replay() {
    std::unordered_set<const IZoAlarm*> raised;
    for (; !recorded_.empty(); recorded_.pop_front()) {
        const RecordedCallback& record = *recorded_.front();
        if (record.kind == RecordedCallback::OnMessageSent) {
            if (!logged_messages_.contains(record.message.key())) target_.handle_message(record.message.get(), true);
            continue;
        }
        if (record.kind == RecordedCallback::OnDatabaseChanged) {
            const auto reason = record.reason;
            recorded_.clear();
            target_.handle_database_changed(reason, false);
            return false;
        }
        IZoAlarm* const alarm = record.alarm.get();
        if (active_alarms_.contains(alarm) || logged_alarms_.contains(record.alarm.key())) continue;
        // If the lists do not show an alarm, its first change creates the alarm.
        if (record.kind == RecordedCallback::OnAlarmRaised || !raised.contains(alarm)) {
            target_.handle_alarm_raised(alarm, true);
            raised.insert(alarm);
        }
        if (record.kind == RecordedCallback::OnAlarmConfirmed)
            target_.handle_alarm_confirmed(alarm, record.removed, true);
        else if (record.kind == RecordedCallback::OnAlarmCleared)
            target_.handle_alarm_cleared(alarm, record.removed, true);
    }
    return true;
}

} // namespace ZoHmiEventLogger
