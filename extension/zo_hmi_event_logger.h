#pragma once

#include "extension/fdx_helper.h"
#include "extension/host/context.h"
#include "extension/host/listeners.h"
#include "extension/target_config.h"
#include "extension/target_table.h"
#include "support/mutex.h"
#include "support/threading.h"
#include "targets/logging_functions.h"

#include <atomic>
#include <cstdint>
#include <exception>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace ZoHmiSrv {
class Command;
class IZoHmiSrvExtHost;
class ILicenseHost;
class Timespan;
} // namespace ZoHmiSrv

namespace ZoHmiEventLogger {

/// The extension. The order of the bases and of the virtual operations is part of the binary interface. The server has
/// a pointer to the IZoHmiSrvExt part, which is not the start of the object.
///
/// The server calls the listeners on its own threads, several at once. The tick runs on a worker of `threading_`, the
/// callbacks of the targets on threads of their proxies.
class ZoHmiEventLogger : public ILoggingFunctions,
                         public ZoHmiSrv::IZoHmiSrvExt,
                         public ZoHmiSrv::IZoHmiSrvShutdownListener,
                         public ZoHmiSrv::IZoHmiSrvAlarmProviderListener,
                         public ZoHmiSrv::IZoHmiSrvEventLocalizationListener,
                         public ZoHmiSrv::IZoHmiSrvRequestListener,
                         public ZoHmiSrv::ZoHmiSrvConfigListener,
                         public FdxHelper {
public:
    /// Makes no host call and starts no timer. The host is not owned.
    explicit ZoHmiEventLogger(ZoHmiSrv::IZoHmiSrvExtHost* host);
    /// Requires that `on_shutdown` ran; unregisters nothing.
    ~ZoHmiEventLogger() override;

    /// Confirms a live alarm at the logger of its target; the alarm's parameters name the target. A callback reports
    /// the change later. Returns HMI_E_ENTRY_NOT_FOUND for an unknown target, HMI_E_FAIL when the logger refuses.
    /// [server thread]
    ZoHmiSrv::ErrorValue on_confirm_alarm(const ZoHmiSrv::Context& context, ZoHmiSrv::Alarm& alarm) override;
    /// Appends the events of all targets, one target after the other in the order of their names. [server thread]
    int on_get_events(const ZoHmiSrv::Context& context, ZoHmiSrv::Value& events) override;
    /// Returns an empty text. [any thread]
    ZoHmiSrv::String extension_info() override;
    /// Reads the configuration, creates and connects the targets and starts the tick. An unreachable target is no
    /// failure. [server thread]
    ZoHmiSrv::ResultPair init(const ZoHmiSrv::Context& context) override;
    /// Stops the ticks and drops the targets. Blocks up to 5 s for each worker, then until all calls of the proxy
    /// return, without a maximum. Requires that the caller is not inside a callback of a target. The tick can wait for
    /// that callback, and this call waits for the tick. [server thread]
    int on_shutdown(const ZoHmiSrv::Context& context) override;
    /// Stores the event's text in the language of a locale, and adds class name, source name, causes and details to its
    /// parameters. On failure event and text are unchanged. [server thread]
    ZoHmiSrv::ErrorValue on_localize_event(const ZoHmiSrv::Context& context, const char* locale,
                                           ZoHmiSrv::EventPayload& event, ZoHmiSrv::String& text) override;
    /// Both apply only to paths of two parts, "TARGET_SYSTEMS::name". All other paths are ignored. [server thread]
    ZoHmiSrv::ResultPair on_config_delete(const ZoHmiSrv::Context& context, const char* path) override;
    ZoHmiSrv::ResultPair on_config_change(const ZoHmiSrv::Context& context, const char* path) override;
    /// Runs "Diagnostics", "ForceReconnect", "ListEnabledTargetSystems" and "ClearLoggedEvents". Each command has its
    /// own result. Throws when "Diagnostics" cannot query the state of a connection. [server thread]
    void on_request(const ZoHmiSrv::Context& context, ZoHmiSrv::CommandGroup& commands) override;

    // ILoggingFunctions [any thread]
    void log_message(ZoHmiSrv::Message message) override;
    void log_exception(const std::string& target_name, const std::exception& exception) override;
    void log_unknown_exception(const std::string& target_name) override;
    void on_message(ZoHmiSrv::Message message) override;
    void on_alarm_raised(const ZoHmiSrv::Alarm& alarm) override;
    void on_alarm_changed(const ZoHmiSrv::Alarm& alarm, bool removed) override;
    void forget_event(const ZoHmiSrv::Event& event) override;
    bool preload_translations() override;

    /// One step of the periodic work, 500 ms after the end of the step before. Arms the next timer, unless this one was
    /// cancelled. If the state of a connection cannot be queried, reports and throws the error and arms no timer. All
    /// other exceptions are reported, and the chain of ticks continues. [tick]
    void on_timer(ZoHmiSrv::TimerError error, const ZoHmiSrv::Context& context);

private:
    // lifecycle.cpp
    void register_listeners(const ZoHmiSrv::Context& context);
    bool start_targets(const ZoHmiSrv::Timespan& timeout, std::vector<std::shared_ptr<TargetSystem>>& started);
    void connect_first(TargetSystem& target, const std::string& name);
    void arm_timer();
    std::exception_ptr run_tick(const ZoHmiSrv::Context& context, std::vector<LockedTarget>& slots);
    template <class Step>
    bool guard(Step&& step);
    void send_reset_temporary_events(const ZoHmiSrv::Context& context);
    void register_config_listener();
    void unregister_listeners(const ZoHmiSrv::Context& context);
    void unregister(const ZoHmiSrv::Context& context, ZoHmiSrv::IZoHmiSrvListener* listener);
    void stop_threads();

    // reporting.cpp
    void report_current_exception(const std::string& target_name);
    void send_error(const std::string& target_name, const char* text);

    // commands.cpp
    struct Handler {
        const char* mapping;
        ZoHmiSrv::ErrorValue (ZoHmiEventLogger::*run)(ZoHmiSrv::Command&);
    };
    static const Handler handlers[];
    void run(ZoHmiSrv::Command& command);
    ZoHmiSrv::ErrorValue diagnostics(ZoHmiSrv::Command& command);
    ZoHmiSrv::ErrorValue force_reconnect(ZoHmiSrv::Command& command);
    ZoHmiSrv::ErrorValue list_enabled_target_systems(ZoHmiSrv::Command& command);
    ZoHmiSrv::ErrorValue clear_logged_events(ZoHmiSrv::Command& command);
    ZoHmiSrv::Value diagnose(TargetSystem& target);

    // configuration.cpp
    std::vector<TargetConfig> read_target_configs();
    std::uint32_t read_event_limit();
    std::string get_local_net_id();
    bool apply_target_config(const TargetConfig& config, LockedTarget& locked) ZO_REQUIRES(config_mutex_);
    std::shared_ptr<TargetSystem> create_target(const TargetConfig& config, const std::string& net_id,
                                                const ZoHmiSrv::Timespan& timeout, std::uint32_t event_limit);

    ZoHmiSrv::Mutex local_net_id_mutex_;
    std::string local_net_id_ ZO_GUARDED_BY(local_net_id_mutex_);
    ZoHmiSrv::Mutex config_mutex_; ///< one configuration callback at a time; guards no member
    // Shared with the targets: a target can outlive the extension on a thread that still uses it.
    const std::shared_ptr<std::atomic<bool>> stopping_ = std::make_shared<std::atomic<bool>>(false);
    const std::shared_ptr<std::atomic<std::uint32_t>> next_event_id_ = std::make_shared<std::atomic<std::uint32_t>>(1);
    ZoHmiSrv::IZoHmiSrvExtHost* const host_;
    ZoHmiSrv::ILicenseHost* const license_host_; ///< null when the host has none
    ZoHmiSrv::Context context_;                  ///< set by init, constant afterwards
    std::set<std::string> licensed_;             ///< net ids for the licence report; set by init
    std::atomic<bool> reset_due_ = false;        ///< the server refused the last reset
    // After all members that a target uses while it disconnects and reports.
    TargetTable targets_;
    // Last, so that no tick outlives the members that it uses.
    ZoHmiSrv::Threading threading_{2};
};

} // namespace ZoHmiEventLogger
