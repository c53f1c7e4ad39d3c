#pragma once

#include <exception>
#include <string>

namespace ZoHmiSrv {
class Alarm;
class Event;
class Message;
} // namespace ZoHmiSrv

namespace ZoHmiEventLogger {

/// Takes the reports of targets. Called by ticks, the server's threads and the proxy's callbacks at the same time.
/// Called without the event mutex, but often with the callback mutex of the target. So no call may wait for a
/// callback of a target, nor for a tick: a tick blocks until a running callback has returned.
///
/// The order of the operations is part of the contract, and a virtual destructor would shift it.
class ILoggingFunctions {
public:
    /// A diagnostic message; its domain is filled in. [any thread]
    virtual void log_message(ZoHmiSrv::Message message) = 0;
    /// "ZORVANE_EVENTLOGGER_ERROR" with the exception's text. [any thread]
    virtual void log_exception(const std::string& target_name, const std::exception& exception) = 0;
    /// The same for an exception that is no standard exception. [any thread]
    virtual void log_unknown_exception(const std::string& target_name) = 0;
    /// A message that a target sent, as an event. [any thread]
    virtual void on_message(ZoHmiSrv::Message message) = 0;
    /// [any thread]
    virtual void on_alarm_raised(const ZoHmiSrv::Alarm& alarm) = 0;
    /// With `removed` the alarm is no longer active at its logger and is history now. [any thread]
    virtual void on_alarm_changed(const ZoHmiSrv::Alarm& alarm, bool removed) = 0;
    /// The event was evicted from the target's store. [any thread]
    virtual void forget_event(const ZoHmiSrv::Event& event) = 0;
    /// Whether loggers shall load all texts themselves; read again at each call. [any thread]
    virtual bool preload_translations() = 0;

protected:
    ~ILoggingFunctions() = default;
};

} // namespace ZoHmiEventLogger
