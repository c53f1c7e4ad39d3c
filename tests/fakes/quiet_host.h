#pragma once

#include "extension/host/context.h"
#include "extension/host/event_payload.h"
#include "extension/host/host.h"
#include "extension/host/listeners.h"
#include "extension/host/value.h"

#include <cstddef>

namespace fakes {

// A server that answers with its configuration and does nothing with what it is told: for benchmarks, and for the
// product as a library.
class QuietHost : public ZoHmiSrv::IZoHmiSrvExtHost {
public:
    explicit QuietHost(const ZoHmiSrv::Value& whole) : config(whole) {}

    void send_message(const ZoHmiSrv::Context&, ZoHmiSrv::Message, bool) override {}
    void execute_command(const ZoHmiSrv::Context&, ZoHmiSrv::Command&) override {}
    void register_listener(const ZoHmiSrv::Context&, ZoHmiSrv::IZoHmiSrvListener* listener) override {
        if (listener->type() == ZoHmiSrv::ListenerType::Shutdown)
            shutdown_listener = static_cast<ZoHmiSrv::IZoHmiSrvShutdownListener*>(listener);
    }
    void register_config_listener(const ZoHmiSrv::Context&, ZoHmiSrv::IZoHmiSrvConfigListener*,
                                  ZoHmiSrv::Value) override {}
    void unregister_listener(const ZoHmiSrv::Context&, ZoHmiSrv::IZoHmiSrvListener*) override {}
    void notify_alarm(const ZoHmiSrv::Context&, ZoHmiSrv::AlarmNotification, const ZoHmiSrv::Alarm&) override {
        ++alarms;
    }
    void forget_event(const ZoHmiSrv::Context&, const ZoHmiSrv::Event&) override { ++forgotten; }
    ZoHmiSrv::Value get_config_value(const ZoHmiSrv::Context&, const char* path) override {
        return *path == '\0' ? config : config[path];
    }
    void reset_temporary_events(const ZoHmiSrv::Context&) override {}
    void set_display_name(const ZoHmiSrv::Context&, const char*) override {}

    const ZoHmiSrv::Value config;
    ZoHmiSrv::IZoHmiSrvShutdownListener* shutdown_listener = nullptr;
    std::size_t alarms = 0;
    std::size_t forgotten = 0;
};

} // namespace fakes
