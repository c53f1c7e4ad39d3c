#include "extension/zo_hmi_event_logger.h"

#include "extension/host/event.h"
#include "extension/host/event_payload.h"
#include "extension/host/host.h"
#include "extension/host/value.h"
#include "support/utf8.h"
#include "targets/trace_message.h"

#include <utility>

namespace ZoHmiEventLogger {

using namespace ZoHmiSrv;

namespace {

constexpr char unknown_error[] = "An error occurred in the communication with the Zorvane EventLogger.";

} // namespace

// A refused diagnostic message must not stop the next step: an alarm, an import, a reset or a tick.
void ZoHmiEventLogger::log_message(Message message) {
    try {
        message.set_domain(context_.domain());
        host_->send_message(context_, std::move(message), false);
    } catch (...) { // reporting an error would call this function again
    }
}

void ZoHmiEventLogger::log_exception(const std::string& target_name, const std::exception& exception) {
    const char* const what = exception.what();
    const std::string text = UTF8::exception_to_utf8(what ? what : "");
    send_error(target_name, text.empty() ? unknown_error : text.c_str());
}

void ZoHmiEventLogger::log_unknown_exception(const std::string& target_name) {
    send_error(target_name, unknown_error);
}

// Requires a handled exception. A failing report is dropped.
void ZoHmiEventLogger::report_current_exception(const std::string& target_name) {
    try {
        try {
            throw;
        } catch (const std::exception& exception) {
            log_exception(target_name, exception);
        } catch (...) {
            log_unknown_exception(target_name);
        }
    } catch (...) {
    }
}

void ZoHmiEventLogger::send_error(const std::string& target_name, const char* text) {
    log_message(trace_message("ZORVANE_EVENTLOGGER_ERROR", {target_name.c_str(), -1.0, text}));
}

void ZoHmiEventLogger::on_message(Message message) {
    host_->send_message(context_, std::move(message), true);
}

void ZoHmiEventLogger::on_alarm_raised(const Alarm& alarm) {
    host_->notify_alarm(context_, AlarmNotification::Raised, alarm);
}

void ZoHmiEventLogger::on_alarm_changed(const Alarm& alarm, bool removed) {
    host_->notify_alarm(context_, removed ? AlarmNotification::Removed : AlarmNotification::Changed, alarm);
}

// The caller must still report the event that replaced this one, so no exception leaves.
void ZoHmiEventLogger::forget_event(const Event& event) {
    try {
        host_->forget_event(context_, event);
    } catch (...) {
        report_current_exception("");
    }
}

bool ZoHmiEventLogger::preload_translations() {
    return host_->get_config_value(context_, "PRELOAD_TRANSLATIONS").get_bool();
}

} // namespace ZoHmiEventLogger
