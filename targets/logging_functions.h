#pragma once

#include <exception>
#include <string>

namespace ZoHmiSrv {
class Alarm;
class Event;
class Message;
} // namespace ZoHmiSrv

namespace ZoHmiEventLogger {

/// The one way in which a target reports upward. Called from ticks, from the server's threads and from the proxy's
/// callbacks, at the same time; never with a target's event mutex held, often with its callback mutex held.
///
/// The order of the operations is part of the contract, and a virtual destructor would shift it.
class ILoggingFunctions {
public:
    /// A diagnostic message; its domain is filled in. [any thread]
    virtual void log_message(ZoHmiSrv::Message message) = 0;
    /// "ZORVANE_EVENTLOGGER_ERROR" with the exception's text. [any thread]
    virtual void log_exception(const std::string& target_name, const std::exception& exception) = 0;
    /// The same for what is no standard exception. [any thread]
    virtual void log_unknown_exception(const std::string& target_name) = 0;
    /// A message that a target sent, as an event. [any thread]
    virtual void on_message(ZoHmiSrv::Message message) = 0;
    /// [any thread]
    virtual void on_alarm_raised(const ZoHmiSrv::Alarm& alarm) = 0;
    /// `removed`: the alarm has left its logger and is history now. [any thread]
    virtual void on_alarm_changed(const ZoHmiSrv::Alarm& alarm, bool removed) = 0;
    /// The event has left the target's store. [any thread]
    virtual void forget_event(const ZoHmiSrv::Event& event) = 0;
    /// Whether loggers are to hold all texts themselves; read afresh at each call. [any thread]
    virtual bool preload_translations() = 0;

protected:
    ~ILoggingFunctions() = default;
};

} // namespace ZoHmiEventLogger
