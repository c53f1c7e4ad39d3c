#pragma once

#include "extension/host/export.h"
#include "extension/host/value.h"

#include <cstdint>

namespace ZoHmiSrv {

class Alarm;
class Command;
class Context;
class Event;
class IZoHmiSrvConfigListener;
class IZoHmiSrvListener;
class Message;

/// The change of an alarm in `notify_alarm`.
enum class AlarmNotification : std::int32_t { Raised = 0, Changed = 1, Removed = 2 };

/// The server's interface for an extension. The host outlives the extension, which does not own it. Any thread may call
/// any operation at any time, also inside a call of the server. [any thread]
///
/// The position of each operation in the table is part of the interface. Reserved operations keep the places of
/// operations that are not used. The library defines their bodies, which do nothing.
class ZOHMISRV_API IZoHmiSrvExtHost {
public:
    virtual void reserved_0();
    virtual void reserved_1();
    /// Delivers a message: a diagnostic message of the extension, or with `is_event` an event of a target.
    virtual void send_message(const Context& context, Message message, bool is_event) = 0;
    virtual void reserved_3();
    virtual void reserved_4();
    /// Runs a command of the server before it returns. The answer is in its `result` and `read_value`.
    virtual void execute_command(const Context& context, Command& command) = 0;
    virtual void reserved_6();
    virtual void reserved_7();
    /// Starts the calls of a listener. The caller keeps its ownership.
    virtual void register_listener(const Context& context, IZoHmiSrvListener* listener) = 0;
    virtual void reserved_9();
    /// As `register_listener`. `filter` is a Vector of Structs with "flags" (Int) and "paths" (Vector of String).
    virtual void register_config_listener(const Context& context, IZoHmiSrvConfigListener* listener, Value filter) = 0;
    virtual void reserved_11();
    /// Ends the calls of a listener of any kind.
    virtual void unregister_listener(const Context& context, IZoHmiSrvListener* listener) = 0;
    virtual void notify_alarm(const Context& context, AlarmNotification mode, const Alarm& alarm) = 0;
    /// Reports that the extension removed this event from its store.
    virtual void forget_event(const Context& context, const Event& event) = 0;
    virtual void reserved_15();
    /// Returns a value of the extension's configuration by its path: keys joined with "::", "" for the whole. Returns
    /// Null for an unknown path.
    virtual Value get_config_value(const Context& context, const char* path) = 0;
    /// Requests that the server removes all events of this extension and lists them again.
    virtual void reset_temporary_events(const Context& context) = 0;
    virtual void set_display_name(const Context& context, const char* name) = 0;

protected:
    ~IZoHmiSrvExtHost() = default; ///< not virtual: a destructor has no place in the table
};

/// The licence interface. A cross-cast of the host object gives it, or null.
class ZOHMISRV_API ILicenseHost {
public:
    virtual void reserved_0();

protected:
    ~ILicenseHost() = default;
};

/// The entry of the library. Requires one call, before the first use of any other type.
ZOHMISRV_API void initialize_api(IZoHmiSrvExtHost* host) noexcept;

} // namespace ZoHmiSrv
