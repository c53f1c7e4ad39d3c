// A small extension for the tests of the server. MODE and ENTRY in its configuration choose a behaviour.
#include "extension/host/context.h"
#include "extension/host/event.h"
#include "extension/host/event_payload.h"
#include "extension/host/host.h"
#include "extension/host/listeners.h"
#include "extension/host/value.h"

#include <condition_variable>
#include <cstring>
#include <mutex>
#include <stdexcept>

using namespace ZoHmiSrv;

namespace {

class TestExtension final : public IZoHmiSrvExt,
                            public IZoHmiSrvShutdownListener,
                            public IZoHmiSrvAlarmProviderListener {
public:
    explicit TestExtension(IZoHmiSrvExtHost* host) : host_(host) {}
    ~TestExtension() override { log("DELETED", ""); }

    ResultPair init(const Context& context) override {
        context_ = context;
        const Value mode = host_->get_config_value(context_, "MODE");
        if (std::strcmp(mode.get_string(), "fail") == 0) return ResultPair(HMI_E_INIT, "configured to fail");
        if (std::strcmp(mode.get_string(), "throw") == 0) throw std::runtime_error("configured to throw");
        host_->register_listener(context_, static_cast<IZoHmiSrvShutdownListener*>(this));
        host_->register_listener(context_, static_cast<IZoHmiSrvAlarmProviderListener*>(this));
        host_->notify_alarm(context_, AlarmNotification::Raised, alarm(5));
        log("READY", context.domain());
        if (std::strcmp(mode.get_string(), "incomplete") == 0) {
            log("TARGET_SYSTEM_CONNECTED", "Plant");
            log("ZORVANE_EVENTLOGGER_ERROR", "Plant");
        }
        std::unique_lock lock(mutex_);
        if (std::strcmp(mode.get_string(), "silent targets") == 0) wake_.wait(lock, [this] { return stopping_; });
        return {};
    }
    String extension_info() override { return {}; }

    int on_shutdown(const Context&) override {
        log("SHUTDOWN", "");
        const std::lock_guard lock(mutex_);
        stopping_ = true;
        wake_.notify_all();
        return 0;
    }
    ErrorValue on_confirm_alarm(const Context&, Alarm&) override { return HMI_E_FAIL; }
    int on_get_events(const Context&, Value& events) override {
        events.set_type(ValueType::Vector);
        // The server gets the second one from the listing alone.
        for (const int id : {5, 6}) {
            Event event;
            event.payload().set(alarm(id));
            events << Value(event);
        }
        return 0;
    }

private:
    static Alarm alarm(int id) {
        Alarm alarm;
        alarm.set_name("ALARM");
        alarm.set_id(id);
        alarm.set_time_raised(Timestamp(1000));
        return alarm;
    }
    void log(const char* name, const char* text) {
        Message message;
        message.set_name(name);
        message.parameters().insert("0", text);
        host_->send_message(context_, message, false);
    }

    IZoHmiSrvExtHost* host_;
    Context context_;
    std::mutex mutex_;
    std::condition_variable wake_;
    bool stopping_ = false;
};

} // namespace

extern "C" __attribute__((visibility("default"))) int ext_interface(IZoHmiSrvExtHost* host, IZoHmiSrvExt** extension,
                                                                    double* version) {
    const Value entry = host->get_config_value(Context(), "ENTRY");
    if (std::strcmp(entry.get_string(), "nothing") == 0) return 0;
    *extension = new TestExtension(host);
    *version = std::strcmp(entry.get_string(), "old") == 0 ? 21.0 : 22.0;
    return 0;
}
