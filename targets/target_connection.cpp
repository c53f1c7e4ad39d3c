#include "targets/target_system.h"

#include "binding/call_gate.h"
#include "binding/counted_string.h"
#include "extension/host/event_payload.h"
#include "extension/host/value.h"
#include "support/guid.h"
#include "support/numeric.h"
#include "targets/logging_functions.h"
#include "targets/trace_message.h"

#include <algorithm>
#include <limits>
#include <map>

namespace ZoHmiEventLogger {

using namespace ZoEventLoggerFdxProxyLib;
using ZoAtlCom::CAtlException;
using ZoAtlCom::throw_if_failed;
using ZoHmiSrv::Algorithm::integer_to_hex;

namespace {

// The logger of an older target, which knows no connection settings.
constexpr HRESULT settings_not_supported = hresult(0x98110701);

std::string code_text(HRESULT code) {
    return integer_to_hex<int>(code, true, true, true);
}

std::uint32_t timeout_milliseconds(const ZoHmiSrv::Timespan& timeout) {
    return static_cast<std::uint32_t>(
        std::clamp<std::int64_t>(timeout.milliseconds(), 0, std::numeric_limits<std::uint32_t>::max()));
}

} // namespace

TargetSystem::TargetSystem(std::string domain, ILoggingFunctions* listener, std::string name, std::string net_id,
                           const ZoHmiSrv::Timespan& timeout, std::uint32_t event_limit,
                           std::shared_ptr<const std::atomic<bool>> stopping,
                           std::shared_ptr<std::atomic<std::uint32_t>> next_event_id)
    : TargetSystemPlatformSpecific(std::move(domain), listener, std::move(name), std::move(net_id), event_limit,
                                   std::move(stopping), std::move(next_event_id)) {
    events_.set_removal_callback([this](long key, const ZoHmiSrv::Event& event) { forget_event(key, event); });
    create_proxy(timeout);
}

void TargetSystem::create_proxy(const ZoHmiSrv::Timespan& timeout) {
    const HRESULT code = CreateInstance(CLSID_ZoEventLogger, IID_IZoEventLogger, proxy_.put_void());
    if (failed(code) || !proxy_) {
        (void)proxy_.detach(); // a failing call hands out nothing that could be held
        listener_->log_message(
            trace_message("CAN_NOT_CREATE_PROXY", {name_.c_str(), code_text(code).c_str()}, failure_severity));
        return;
    }
    DispEventAdvise(proxy_.get());
    proxy_created_ = true;
    try {
        ZoAtlCom::CComQIPtr<IZoEventLoggerTimeout> timeout_setting;
        throw_if_failed(timeout_setting.query(proxy_.get()));
        if (!timeout_setting) throw CAtlException(E_NOINTERFACE);
        throw_if_failed(timeout_setting->SetTimeout(timeout_milliseconds(timeout)));
    } catch (...) {
        // The subscription knows this object, which is about to be gone.
        DispEventUnadvise(proxy_.get());
        wait_until_idle();
        throw;
    }
}

TargetSystem::~TargetSystem() {
    if (!proxy_) return;
    try {
        const std::lock_guard lock(connection_mutex_);
        disconnect_step();
    } catch (...) { // the listener's own failure, which nobody is left to hear of
    }
    // For a target that was never connected this is the only unsubscription.
    DispEventUnadvise(proxy_.get());
    wait_until_idle();
    proxy_.release();
}

void TargetSystem::destroy(TargetSystem* target) {
    ZoAtlCom::CallGate::run_outside([target] { delete target; });
}

// Called with the connection mutex held. What is remembered is changed only where it says otherwise.
ConnectionStatus TargetSystem::query_state() {
    if (!disabled_) {
        VARIANT_BOOL connected = VARIANT_FALSE;
        throw_if_failed(proxy_->IsConnected(&connected));
        if (connected == VARIANT_TRUE) {
            if (status_) {
                status_->connected = true;
                status_->has_error = false;
            }
            return {true, 0, true};
        }
    }
    if (status_ && !status_->connected) return {false, status_->error, status_->has_error};
    return {false, 0, true};
}

bool TargetSystem::connect(LockHolder& holder) {
    {
        const std::lock_guard lock(connection_mutex_);
        if (!proxy_) return false;
        if (query_state().connected) return true;
        const bool preload_translations = listener_->preload_translations();
        disabled_ = false;
        if (!open_connection(preload_translations)) return false;
    }
    listener_->log_message(trace_message("TARGET_SYSTEM_CONNECTED", {name_.c_str()}));
    holder = import_events();
    return holder != nullptr;
}

// Called with the connection mutex held. A connect that answers a failing code is remembered; anything that is thrown
// on the way to it is only reported.
bool TargetSystem::open_connection(bool preload_translations) {
    ZoAtlCom::CComPtr<IZoConnectionSettings> settings;
    HRESULT code = S_OK;
    try {
        code = CreateInstance(CLSID_ZoConnectionSettings, IID_IZoConnectionSettings, settings.put_void());
        if (succeeded(code) && !settings) code = E_POINTER;
        if (succeeded(code)) {
            throw_if_failed(settings->SetPreloadTranslations(preload_translations ? VARIANT_TRUE : VARIANT_FALSE));
            code = call_connect(*settings);
        }
    } catch (const std::exception& exception) {
        settings.release();
        listener_->log_exception(name_, exception);
        return false;
    } catch (...) {
        settings.release();
        listener_->log_unknown_exception(name_);
        return false;
    }
    if (failed(code)) connect_failed(code);
    return succeeded(code);
}

HRESULT TargetSystem::call_connect(IZoConnectionSettings& settings) {
    try {
        const ZoAtlCom::CountedString address(net_id_.c_str());
        const HRESULT code = proxy_->ConnectWithSettings(&settings, address.get());
        return code == settings_not_supported ? proxy_->Connect(address.get()) : code;
    } catch (const CAtlException& no_memory) {
        return no_memory.code();
    }
}

// Called with the connection mutex held.
void TargetSystem::connect_failed(HRESULT code) {
    status_ = ConnectionStatus{false, code, true};
    listener_->log_message(trace_message("TARGET_SYSTEM_CONNECT_FAILED", {name_.c_str(), code_text(code).c_str()}));
}

bool TargetSystem::poll(LockHolder& holder) {
    bool changed = false;
    bool disabled = false;
    bool connected = false;
    bool was_connected = false;
    {
        const std::lock_guard lock(connection_mutex_);
        connected = query_state().connected;
        disabled = disabled_;
        if (disabled && connected) {
            disconnect_step();
            changed = true;
        }
        was_connected = status_ && status_->connected;
    }
    if (!disabled && !connected) {
        if (connect(holder)) {
            changed = true;
        } else if (was_connected) {
            // Lost since the last tick, and not to be had back at once.
            clear_events_and_report();
            changed = true;
        }
    }
    const std::lock_guard lock(connection_mutex_);
    status_ = query_state();
    return changed;
}

ConnectionStatus TargetSystem::connection_status() {
    const std::lock_guard lock(connection_mutex_);
    return query_state();
}

void TargetSystem::disconnect() {
    const std::lock_guard lock(connection_mutex_);
    disconnect_step();
}

// Called with the connection mutex held.
void TargetSystem::disconnect_step() {
    if (disabled_) return;
    DispEventUnadvise(proxy_.get());
    call_logger(&IZoEventLogger::Disconnect);
    clear_events_and_report();
}

HRESULT TargetSystem::force_disconnect() {
    return call_logger(&IZoEventLogger::Disconnect);
}

HRESULT TargetSystem::clear_logged_events() {
    return call_logger(&IZoEventLogger::ClearLoggedEvents);
}

HRESULT TargetSystem::call_logger(HRESULT (IZoEventLogger::*operation)()) {
    try {
        return throw_if_failed(proxy_ ? (proxy_.get()->*operation)() : E_POINTER);
    } catch (...) {
        report_current_exception();
        return E_FAIL;
    }
}

void TargetSystem::report_current_exception() {
    try {
        throw;
    } catch (const CAtlException& exception) {
        listener_->log_exception(name_, exception);
    } catch (...) {
        listener_->log_unknown_exception(name_);
    }
}

// Called with the event mutex held. It is what clear_state of an import does, too.
void TargetSystem::clear_events() {
    save_alarm_ids();
    empty_store();
}

// Keeps the ids of the live alarms, by which they are known again after a reconnect. Asks the proxy.
void TargetSystem::save_alarm_ids() {
    std::map<AlarmKey, int> ids;
    events_.for_each_live([&ids](const ZoHmiSrv::Event& event, IZoAlarm* alarm) {
        ids.emplace(AlarmKey::of(*alarm), event.payload().get_alarm().id());
    });
    saved_alarm_ids_.add(ids);
}

// Texts depend on the event alone and stay.
void TargetSystem::empty_store() {
    events_.clear();
    class_names_.clear();
    cause_remedies_.clear();
    source_names_.clear();
    details_.clear();
}

// The store is emptied even when the ids cannot be saved, since the connection is gone in any case.
void TargetSystem::clear_events_and_report() {
    std::unique_lock lock(event_mutex_);
    try {
        clear_events();
    } catch (...) {
        empty_store();
        lock.unlock();
        report_current_exception();
    }
}

} // namespace ZoHmiEventLogger
