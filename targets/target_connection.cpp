#include "targets/target_system.h"

#include "binding/call_gate.h"
#include "extension/host/event_payload.h"
#include "extension/host/value.h"
#include "targets/logging_functions.h"
#include "targets/trace_message.h"

#include <map>

namespace ZoHmiEventLogger {

using ZoEventLoggerFdxProxyLib::IZoEventLogger;
using ZoHmiSrv::MutexLock;

TargetSystem::TargetSystem(std::string domain, ILoggingFunctions* listener, std::string name, std::string net_id,
                           const ZoHmiSrv::Timespan& timeout, std::uint32_t event_limit,
                           std::shared_ptr<const std::atomic<bool>> stopping,
                           std::shared_ptr<std::atomic<std::uint32_t>> next_event_id)
    : TargetSystemPlatformSpecific(std::move(domain), listener, std::move(name), std::move(net_id), event_limit,
                                   std::move(stopping), std::move(next_event_id)) {
    events_.set_removal_callback([this](long key, const ZoHmiSrv::Event& event)
                                     ZO_REQUIRES(event_mutex_) { forget_event(key, event); });
    if (!connection_.create_proxy()) return;
    DispEventAdvise(connection_.proxy());
    try {
        connection_.set_timeout(timeout);
    } catch (...) {
        // The subscription refers to this object, which is destroyed here.
        DispEventUnadvise(connection_.proxy());
        wait_until_idle();
        throw;
    }
}

TargetSystem::~TargetSystem() {
    if (!connection_.proxy()) return;
    try {
        const MutexLock lock(connection_.mutex());
        disconnect_step();
    } catch (...) { // the listener failed, and there is no one else to report to
    }
    // For a target that was never connected this is the only unsubscription.
    DispEventUnadvise(connection_.proxy());
    wait_until_idle();
    connection_.release_proxy();
}

void TargetSystem::destroy(TargetSystem* target) {
    ZoAtlCom::CallGate::run_outside([target] { delete target; });
}

bool TargetSystem::connect(LockHolder& holder) {
    const Opening opening = open_connection();
    if (opening == Opening::Opened) holder = import_events();
    return opening == Opening::AlreadyOpen || (opening == Opening::Opened && holder);
}

TargetSystem::Opening TargetSystem::open_connection() {
    {
        const MutexLock lock(connection_.mutex());
        if (!connection_.proxy()) return Opening::Failed;
        if (connection_.query().connected) {
            callbacks_.link_is_up();
            return Opening::AlreadyOpen;
        }
        const bool preload_translations = listener_->preload_translations();
        connection_.enable();
        if (!connection_.open(preload_translations)) return Opening::Failed;
        callbacks_.link_opened(); // first, so that a later exception cannot leave the callbacks dropped
    }
    listener_->log_message(trace_message("TARGET_SYSTEM_CONNECTED", {name_.c_str()}));
    return Opening::Opened;
}

bool TargetSystem::poll(LockHolder& holder) {
    bool changed = false;
    bool disabled = false;
    bool connected = false;
    bool loss_due = false;
    std::uint64_t link = 0;
    {
        const MutexLock lock(connection_.mutex());
        connected = connection_.query().connected;
        disabled = connection_.disabled();
        if (disabled && connected) {
            disconnect_step();
            changed = true;
        }
        if (connected) callbacks_.link_is_up();
        loss_due = connected ? loss_due_ == Loss::Failed : loss_due_ != Loss::None || connection_.was_connected();
        loss_due_ = loss_due ? Loss::Failed : Loss::None; // until this poll has handled it
        link = callbacks_.link();
    }
    if (connected ? loss_due : !disabled) {
        CallbackRecorder::Records discarded; // outlives the lock, so that no object is released under it
        CallbackLock callbacks(callbacks_.mutex());
        if (connected) {
            // The failed poll opened this link. The rows are unknown, as after a failed import.
            clear_lost_link(std::nullopt, callbacks, holder);
            changed = true;
        } else {
            const Opening opening = open_connection();
            const bool imported = opening == Opening::Opened && import_events(callbacks, discarded);
            connected = opening != Opening::Failed;
            changed = imported || opening == Opening::AlreadyOpen;
            if (changed)
                holder = callbacks.make_holder();
            else if (loss_due && !clear_lost_link(link, callbacks, holder))
                connected = true; // the link of another thread counts as seen
            changed |= loss_due;
        }
    }
    const MutexLock lock(connection_.mutex());
    const ConnectionStatus status = connection_.query();
    connection_.remember(status);
    // This poll saw the link up, and the link is down now. The next poll cannot detect this loss from the status alone.
    loss_due_ = connected && !status.connected ? Loss::Seen : Loss::None;
    return changed;
}

// Empties the store after the loss of a link. `holder` blocks live callbacks until the caller has reset the server.
// After a failed import `callbacks` is already locked and the link is up: blocked callbacks are handled later. The same
// is true without a `link`. Otherwise the callbacks of the link are dropped until another link is opened, so that none
// is reported after the reset. Returns false, with the store unchanged, if another thread opened a link meanwhile. The
// import mutex comes first: an import on another thread locks the callback mutex while it has the event mutex.
bool TargetSystem::clear_lost_link(std::optional<std::uint64_t> link, CallbackLock& callbacks, LockHolder& holder) {
    if (callbacks.owns_lock()) {
        holder = callbacks.make_holder();
        clear_events_and_report();
        return true;
    }
    const MutexLock no_import(import_mutex_);
    callbacks.lock();
    const bool still_lost = !link || callbacks_.drop_callbacks_of(*link, callbacks);
    holder = callbacks.make_holder();
    if (still_lost) clear_events_and_report();
    return still_lost;
}

ConnectionStatus TargetSystem::connection_status() {
    const MutexLock lock(connection_.mutex());
    return connection_.query();
}

void TargetSystem::disconnect() {
    const MutexLock lock(connection_.mutex());
    disconnect_step();
}

void TargetSystem::disconnect_step() {
    if (connection_.disabled()) return;
    DispEventUnadvise(connection_.proxy());
    connection_.call(&IZoEventLogger::Disconnect);
    clear_events_and_report();
}

HRESULT TargetSystem::force_disconnect() {
    return connection_.call(&IZoEventLogger::Disconnect);
}

HRESULT TargetSystem::clear_logged_events() {
    return connection_.call(&IZoEventLogger::ClearLoggedEvents);
}

void TargetSystem::clear_events() {
    save_alarm_ids();
    empty_store();
}

// Saves the ids of the live alarms, which keep them over a reconnect. Asks the proxy.
void TargetSystem::save_alarm_ids() {
    std::map<AlarmKey, int> ids;
    events_.for_each_live([&ids](const ZoHmiSrv::Event& event, IZoAlarm* alarm) {
        ids.emplace(AlarmKey::of(*alarm), event.payload().get_alarm().id());
    });
    saved_alarm_ids_.add(ids);
}

// The texts stay: they depend on the event alone.
void TargetSystem::empty_store() {
    events_.clear();
    class_names_.clear();
    cause_remedies_.clear();
    source_names_.clear();
    details_.clear();
}

// Empties the store even when the ids cannot be saved: the connection is lost in any case.
void TargetSystem::clear_events_and_report() {
    MutexLock lock(event_mutex_);
    try {
        clear_events();
    } catch (...) {
        empty_store();
        lock.unlock();
        connection_.report_current_exception();
    }
}

} // namespace ZoHmiEventLogger
