#include "extension/zo_hmi_event_logger.h"

#include "binding/error.h"
#include "extension/host/event_payload.h"
#include "extension/host/host.h"
#include "extension/host/value.h"
#include "targets/target_system.h"
#include "targets/trace_message.h"

#include <chrono>
#include <exception>
#include <thread>

namespace ZoHmiEventLogger {

using namespace ZoHmiSrv;

namespace {

constexpr long tick_ms = 500;
constexpr long stop_timeout_ms = 5000;
constexpr char no_target[] = "";

ILicenseHost* license_part(IZoHmiSrvExtHost* host) {
    return host ? dynamic_cast<ILicenseHost*>(host) : nullptr;
}

} // namespace

/// Runs a step that concerns no target and reports its exception. Returns false when the step threw.
template <class Step>
bool ZoHmiEventLogger::guard(Step&& step) {
    try {
        step();
        return true;
    } catch (...) {
        report_current_exception(no_target);
        return false;
    }
}

ZoHmiEventLogger::ZoHmiEventLogger(IZoHmiSrvExtHost* host) : host_(host), license_host_(license_part(host)) {
}

ZoHmiEventLogger::~ZoHmiEventLogger() {
    *stopping_ = true;
}

String ZoHmiEventLogger::extension_info() {
    return "";
}

ResultPair ZoHmiEventLogger::init(const Context& context) {
    context_ = context;
    host_->set_display_name(context, "Zorvane EventLogger");
    const Value config = host_->get_config_value(context, "");
    if (!config.isset()) {
        *stopping_ = true;
        stop_threads();
        return HMI_E_INVALID_PARAMETER;
    }
    const Value timeout = config["TIMEOUT"];
    if (timeout.type() != ValueType::TimeSpan) return HMI_E_INIT; // the workers run until the destructor

    std::vector<std::shared_ptr<TargetSystem>> started; // no target is destroyed before init ends
    try {
        register_listeners(context);
        if (!start_targets(timeout.get_timespan(), started)) {
            stop_threads();
            return HMI_E_INIT;
        }
        arm_timer();
        register_config_listener();
    } catch (...) { // catches every exception since the first registration
        *stopping_ = true;
        unregister_listeners(context);
        stop_threads();
        targets_.clear();
        return HMI_E_INIT;
    }
    return {};
}

// A shutdown can arrive once its listener is registered. It cannot unregister the listeners that follow.
void ZoHmiEventLogger::register_listeners(const Context& context) {
    host_->register_listener(context, static_cast<IZoHmiSrvAlarmProviderListener*>(this));
    host_->register_listener(context, static_cast<IZoHmiSrvEventLocalizationListener*>(this));
    host_->register_listener(context, static_cast<IZoHmiSrvShutdownListener*>(this));
    host_->register_listener(context, static_cast<IZoHmiSrvRequestListener*>(this));
    if (*stopping_) unregister_listeners(context);
}

/// Returns false when a proxy could not be created. The targets started before it stay.
bool ZoHmiEventLogger::start_targets(const Timespan& timeout, std::vector<std::shared_ptr<TargetSystem>>& started) {
    const auto configs = read_target_configs();
    const auto event_limit = read_event_limit();
    const std::string local = get_local_net_id();
    for (const TargetConfig& config : configs) {
        licensed_.insert(actualize(config.address, local, false));
        const auto target = create_target(config, actualize(config.address, local, true), timeout, event_limit);
        if (!target->proxy_created()) return false;
        started.push_back(target);
        if (targets_.insert_or_replace(config.name, target, *stopping_) && config.enabled)
            connect_first(*target, config.name);
    }
    if (license_host_) licence_targets(licensed_, local);
    return true;
}

void ZoHmiEventLogger::connect_first(TargetSystem& target, const std::string& name) {
    try {
        LockHolder holder;
        target.connect(holder);
    } catch (...) {
        report_current_exception(name);
    }
}

void ZoHmiEventLogger::register_config_listener() {
    Value filter;
    filter.set_type(ValueType::Struct);
    filter.insert("flags", 48); // changes and deletions
    filter.insert("paths", Value().set_type(ValueType::Vector) << "TARGET_SYSTEMS::*");
    host_->register_config_listener(context_, this, Value().set_type(ValueType::Vector) << filter);
    if (*stopping_) unregister(context_, static_cast<IZoHmiSrvConfigListener*>(this)); // as in register_listeners
}

// One-shot: each tick arms the next one as its last step, so ticks never overlap.
void ZoHmiEventLogger::arm_timer() {
    threading_.start_new_timer(tick_ms, [this, context = context_](TimerError error) {
        try {
            on_timer(error, context);
        } catch (...) { // already reported; the chain of ticks ends
        }
    });
}

void ZoHmiEventLogger::on_timer(TimerError error, const Context& context) {
    if (error == TimerError::cancelled) return;
    std::vector<LockedTarget> slots;
    std::exception_ptr failed_poll;
    guard([&] { failed_poll = run_tick(context, slots); });
    if (failed_poll) std::rethrow_exception(failed_poll);
    bool armed = guard([this] { arm_timer(); });
    // Live callbacks of new connections come after the reset. All locks are released before any target is destroyed,
    // because destruction can take long.
    for (LockedTarget& slot : slots)
        slot.holder.reset();
    // Only a tick reconnects: when the next timer cannot be allocated, try again later.
    while (!armed && !*stopping_) {
        std::this_thread::sleep_for(std::chrono::milliseconds(tick_ms));
        armed = guard([this] { arm_timer(); });
    }
}

/// Returns the exception of a failed state query, which ends this tick and the chain of ticks.
std::exception_ptr ZoHmiEventLogger::run_tick(const Context& context, std::vector<LockedTarget>& slots) {
    if (license_host_) guard([this] { licence_targets(licensed_, get_local_net_id()); });
    const auto names = targets_.names();
    slots.resize(names.size());
    bool changed = false;
    // A shutdown waits for the poll of one target, not of all.
    for (std::size_t index = 0; index < names.size() && !*stopping_; ++index) {
        LockedTarget& slot = slots[index];
        slot.target = targets_.find(names[index]);
        if (!slot.target) continue;
        try {
            if (slot.target->poll(slot.holder)) changed = true;
        } catch (const ZoAtlCom::CAtlException&) { // a failed state query: nothing else ends the chain
            report_current_exception(names[index]);
            return std::current_exception();
        } catch (...) { // the server threw, or memory ran out: the chain continues
            report_current_exception(names[index]);
            changed = changed || slot.holder;
        }
    }
    if (changed || reset_due_) send_reset_temporary_events(context);
    return nullptr;
}

// The next tick repeats a refused reset. Otherwise the server would keep showing events of lost targets.
void ZoHmiEventLogger::send_reset_temporary_events(const Context& context) {
    reset_due_ = false; // cleared before the calls, so that a refusal on another thread is not lost
    try {
        log_message(trace_message("RESET_TEMPORARY_EVENTS", {}));
        host_->reset_temporary_events(context);
    } catch (...) {
        reset_due_ = true;
        throw;
    }
}

int ZoHmiEventLogger::on_shutdown(const Context& context) {
    *stopping_ = true;
    unregister_listeners(context);
    unregister(context, static_cast<IZoHmiSrvConfigListener*>(this));
    stop_threads();
    targets_.clear();
    return 0;
}

void ZoHmiEventLogger::unregister_listeners(const Context& context) {
    unregister(context, static_cast<IZoHmiSrvAlarmProviderListener*>(this));
    unregister(context, static_cast<IZoHmiSrvEventLocalizationListener*>(this));
    unregister(context, static_cast<IZoHmiSrvShutdownListener*>(this));
    unregister(context, static_cast<IZoHmiSrvRequestListener*>(this));
}

// An exception of the server must not keep the threads running.
void ZoHmiEventLogger::unregister(const Context& context, IZoHmiSrvListener* listener) {
    guard([&] { host_->unregister_listener(context, listener); });
}

void ZoHmiEventLogger::stop_threads() {
    threading_.stop(stop_timeout_ms, InterruptMode::join, false);
}

} // namespace ZoHmiEventLogger
