#pragma once

#include "extension/host/context.h"
#include "extension/host/event_payload.h"
#include "extension/host/host.h"
#include "extension/host/listeners.h"
#include "extension/host/value.h"

#include <cstddef>

namespace fakes {

using namespace ZoHmiSrv;

/// A server that only answers with its configuration: for benchmarks, and for the product as a library.
class QuietHost : public IZoHmiSrvExtHost {
public:
    explicit QuietHost(const Value& whole) : config(whole) {}

    void send_message(const Context&, Message, bool) override {}
    void execute_command(const Context&, Command&) override {}
    void register_listener(const Context&, IZoHmiSrvListener* listener) override {
        if (listener->type() == ListenerType::Shutdown)
            shutdown_listener = static_cast<IZoHmiSrvShutdownListener*>(listener);
    }
    void register_config_listener(const Context&, IZoHmiSrvConfigListener*, Value) override {}
    void unregister_listener(const Context&, IZoHmiSrvListener*) override {}
    void notify_alarm(const Context&, AlarmNotification, const Alarm&) override { ++alarms; }
    void forget_event(const Context&, const Event&) override { ++forgotten; }
    Value get_config_value(const Context&, const char* path) override { return *path == '\0' ? config : config[path]; }
    void reset_temporary_events(const Context&) override {}
    void set_display_name(const Context&, const char*) override {}

    const Value config;
    IZoHmiSrvShutdownListener* shutdown_listener = nullptr;
    std::size_t alarms = 0;
    std::size_t forgotten = 0;
};

} // namespace fakes
