#pragma once

#include "extension/host/error_value.h"
#include "extension/host/export.h"
#include "extension/host/result.h"
#include "extension/host/string_holder.h"

#include <cstdint>

namespace ZoHmiSrv {

class Alarm;
class CommandGroup;
class Context;
class EventPayload;
class Value;

/// The server's interface of an extension. The order of the operations is part of the interface.
class ZOHMISRV_API IZoHmiSrvExt {
public:
    virtual ResultPair init(const Context& context) = 0;
    virtual String extension_info() = 0;
    virtual ~IZoHmiSrvExt();
};

/// The interface of a listener.
enum class ListenerType : std::int32_t {
    Shutdown = 1,
    AlarmProvider = 2,
    EventLocalization = 3,
    Request = 4,
    Config = 5
};

/// The common base of all listeners. From `register_listener` to `unregister_listener`, the server calls them on
/// several threads at once. An extension with several listener interfaces has this base several times, so it registers
/// each interface.
class ZOHMISRV_API IZoHmiSrvListener {
public:
    virtual ListenerType type() const noexcept = 0;
    virtual ~IZoHmiSrvListener();
};

class ZOHMISRV_API IZoHmiSrvShutdownListener : public IZoHmiSrvListener {
public:
    ListenerType type() const noexcept final;
    /// 0 on success. [server thread]
    virtual int on_shutdown(const Context& context) = 0;
};

class ZOHMISRV_API IZoHmiSrvAlarmProviderListener : public IZoHmiSrvListener {
public:
    ListenerType type() const noexcept final;
    /// An operator confirms an alarm. [server thread]
    virtual ErrorValue on_confirm_alarm(const Context& context, Alarm& alarm) = 0;
    /// Returns the events in a Vector. 0 on success. [server thread]
    virtual int on_get_events(const Context& context, Value& events) = 0;
};

class ZOHMISRV_API IZoHmiSrvEventLocalizationListener : public IZoHmiSrvListener {
public:
    ListenerType type() const noexcept final;
    /// Returns the text of an event in the language of a locale such as "de-DE". [server thread]
    virtual ErrorValue on_localize_event(const Context& context, const char* locale, EventPayload& payload,
                                         String& text) = 0;
};

class ZOHMISRV_API IZoHmiSrvRequestListener : public IZoHmiSrvListener {
public:
    ListenerType type() const noexcept final;
    /// Runs the commands of a client, and sets the result of each. [server thread]
    virtual void on_request(const Context& context, CommandGroup& commands) = 0;
};

class ZOHMISRV_API IZoHmiSrvConfigListener : public IZoHmiSrvListener {
public:
    ListenerType type() const noexcept final;
    virtual ResultPair reserved_0(const Context& context, const char* path) = 0;
    virtual ResultPair reserved_1(const Context& context, const char* path) = 0;
    virtual ResultPair reserved_2(const Context& context, const char* path) = 0;
    /// A value under the path is changed or new. [server thread]
    virtual ResultPair on_config_change(const Context& context, const char* path) = 0;
    /// The path is deleted. [server thread]
    virtual ResultPair on_config_delete(const Context& context, const char* path) = 0;
    virtual ResultPair reserved_5(const Context& context, const char* path) = 0;
};

/// Returns success from every call. An extension overrides the calls that it needs.
class ZOHMISRV_API ZoHmiSrvConfigListener : public IZoHmiSrvConfigListener {
public:
    ResultPair reserved_0(const Context& context, const char* path) override;
    ResultPair reserved_1(const Context& context, const char* path) override;
    ResultPair reserved_2(const Context& context, const char* path) override;
    ResultPair on_config_change(const Context& context, const char* path) override;
    ResultPair on_config_delete(const Context& context, const char* path) override;
    ResultPair reserved_5(const Context& context, const char* path) override;
};

} // namespace ZoHmiSrv
