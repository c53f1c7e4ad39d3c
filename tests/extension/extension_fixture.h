#pragma once

#include "extension/host/value.h"
#include "extension/zo_hmi_event_logger.h"
#include "tests/fakes/call_log.h"
#include "tests/fakes/callback_thread.h"
#include "tests/fakes/fake_device_client.h"
#include "tests/fakes/fake_host.h"
#include "tests/fakes/fake_proxy.h"
#include "tests/support/captured_syslog.h"
#include "tests/test_headers.h"

#include <future>
#include <initializer_list>

using Texts = std::vector<std::string>;

inline ZoHmiSrv::Context context_of(const char* domain) {
    ZoHmiSrv::Context context;
    context.set_domain(domain);
    return context;
}

inline ZoHmiSrv::Value target_entry(const char* address, bool enabled) {
    ZoHmiSrv::Value entry;
    entry.set_type(ZoHmiSrv::ValueType::Struct);
    entry.insert("ADDRESS", address);
    entry.insert("ENABLED", enabled);
    return entry;
}

/// The calls of several steps, one after the other.
inline Texts in_order(std::initializer_list<Texts> steps) {
    Texts calls;
    for (const Texts& step : steps)
        calls.insert(calls.end(), step.begin(), step.end());
    return calls;
}
/// A target is made; its logger has the name.
inline Texts made(const std::string& logger) {
    return {"CreateInstance.Logger", logger + ".FindConnectionPoint", logger + ".Advise", logger + ".SetTimeout"};
}
/// A target connects and imports.
inline Texts connected(const std::string& logger, const std::string& target) {
    return {"host.get_config_value PRELOAD_TRANSLATIONS",
            "CreateInstance.ConnectionSettings",
            "SetPreloadTranslations",
            logger + ".ConnectWithSettings",
            "host.send_message TARGET_SYSTEM_CONNECTED " + target,
            logger + ".GetLoggedEvents",
            logger + ".GetActiveAlarms",
            "host.send_message GETLOGGEDEVENTS_GETACTIVEALARMS " + target};
}
/// A target is destroyed.
inline Texts destroyed(const std::string& logger) {
    return {logger + ".FindConnectionPoint", logger + ".Unadvise", logger + ".Disconnect",
            logger + ".FindConnectionPoint", logger + ".Unadvise"};
}
inline const Texts reset_calls = {"host.send_message RESET_TEMPORARY_EVENTS", "host.reset_temporary_events"};

/// An extension with fakes around it. During every host call another thread lists all events. It blocks when the thread
/// of the call has locked the target table or the store of a target.
class ExtensionTest : public testing::Test {
protected:
    ExtensionTest() {
        fakes::FakeProxyLibrary::instance().reset();
        fakes::device_client().reset();
        take_syslog_lines();
        host.set_probe([this](std::string_view call) { probe(call); });
        config.set_type(ZoHmiSrv::ValueType::Struct);
        config.insert("LIMIT_EVENT_COUNT", 100.0);
        config.insert("PRELOAD_TRANSLATIONS", false);
        config.insert("TARGET_SYSTEMS", ZoHmiSrv::Value().set_type(ZoHmiSrv::ValueType::Map));
        config.insert("TIMEOUT", ZoHmiSrv::Timespan(5'000'000'000));
        host.set_config(config);
    }
    ~ExtensionTest() override {
        if (extension) shut_down();
        EXPECT_EQ(fakes::FakeProxyLibrary::instance().reset(), 0) << "objects of the proxy leaked";
        EXPECT_TRUE(fakes::device_client().open_ports().empty());
    }

    /// Configures an enabled target, with a logger of that name, and returns the logger. Requires the order of the
    /// names.
    fakes::LoggerPtr add_target(const char* name, const char* address = "5.9.9.9.1.1") {
        set_entry(name, target_entry(address, true));
        return fakes::FakeProxyLibrary::instance().expect_logger(name);
    }
    /// Stores an entry under TARGET_SYSTEMS; Null removes it.
    void set_entry(const std::string& name, const ZoHmiSrv::Value& entry) {
        ZoHmiSrv::Value& targets = config["TARGET_SYSTEMS"];
        if (entry.isset())
            targets.insert_or_update(name.c_str(), entry);
        else
            targets.remove(targets.find(name.c_str()));
        host.set_config(config);
    }
    void set_config(const char* key, const ZoHmiSrv::Value& value) {
        config.insert_or_update(key, value);
        host.set_config(config);
    }

    void make_extension(ZoHmiSrv::IZoHmiSrvExtHost* with_host = nullptr) {
        extension = std::make_unique<ZoHmiEventLogger::ZoHmiEventLogger>(with_host ? with_host : &host);
        alive_ = true;
    }
    /// Runs `init` with the domain "HMI".
    ZoHmiSrv::ErrorValue init() {
        if (!extension) make_extension();
        return extension->init(context_of("HMI")).result();
    }
    /// Connects the targets but starts no tick, so that only the test runs ticks. The proxy of a last target "~",
    /// removed afterwards, cannot be created: `init` then fails but keeps the other targets.
    void start_without_ticks() {
        const auto targets = static_cast<unsigned>(config["TARGET_SYSTEMS"].size());
        set_entry("~", target_entry("", false));
        fakes::FakeProxyLibrary::instance().plan->answer("CreateInstance.Logger", E_FAIL, targets + 1);
        ASSERT_EQ(init(), ZoHmiSrv::HMI_E_INIT);
        set_entry("~", ZoHmiSrv::Value());
        take_calls();
        host.clear();
    }
    /// Runs a tick with the domain "tick".
    void tick(ZoHmiSrv::TimerError error = ZoHmiSrv::TimerError::none) {
        extension->on_timer(error, context_of("tick"));
    }
    ZoHmiSrv::ErrorValue change(const char* name) {
        return extension->on_config_change(context_of("caller"), (std::string("TARGET_SYSTEMS::") + name).c_str())
            .result();
    }
    /// Shuts down with the domain "shutdown".
    void shut_down() {
        extension->on_shutdown(context_of("shutdown"));
        destroy();
    }
    /// Destroys the extension without a shutdown.
    void destroy() {
        alive_ = false;
        extension.reset();
    }

    /// Returns the server's list; Null when the extension does not change it.
    ZoHmiSrv::Value listed() {
        ZoHmiSrv::Value events;
        EXPECT_EQ(extension->on_get_events(ZoHmiSrv::Context(), events), 0);
        return events;
    }
    /// Returns and removes the calls, without reads of events and of connection states.
    static Texts take_calls() {
        Texts texts = fakes::call_log().texts();
        fakes::call_log().clear();
        std::erase_if(texts,
                      [](const std::string& text) { return text.ends_with("IsConnected") || text.starts_with("Fdx"); });
        return texts;
    }
    static Texts take_calls(std::string_view prefix) {
        Texts texts = take_calls();
        std::erase_if(texts, [&](const std::string& text) { return !text.starts_with(prefix); });
        return texts;
    }

    /// While the host handles `call`, `logger` raises an alarm on a callback thread. Runs `change`, and asserts that
    /// the server hears of the alarm, but only after the reset. Returns the number of events listed inside the reset.
    template <class Change>
    std::size_t raise_before_reset(const char* call, unsigned nth, const fakes::LoggerPtr& logger, Change change) {
        fakes::CallbackThread callbacks;
        const auto alarm = logger->make_alarm();
        host.plan().run(
            call, [&] { callbacks.post([&] { logger->fire_raised(alarm); }); }, nth);
        std::size_t raised = 99, listed_in_reset = 99;
        host.plan().run("reset_temporary_events", [&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(200)); // time for a callback that overtakes
            raised = host.alarms();
            listed_in_reset = listed().size(); // as the server does, inside the call
        });
        change();
        callbacks.drain();
        EXPECT_EQ(raised, 0u);
        EXPECT_EQ(host.alarms(), 1u);
        return listed_in_reset;
    }

    fakes::FakeHost host;
    ZoHmiSrv::Value config; ///< in `host` after set_entry and set_config
    std::unique_ptr<ZoHmiEventLogger::ZoHmiEventLogger> extension;

private:
    void probe(std::string_view call) {
        if (!alive_) return;
        auto done = std::make_shared<std::promise<void>>();
        auto finished = done->get_future();
        std::thread lister([this, done] {
            ZoHmiSrv::Value events;
            extension->on_get_events(ZoHmiSrv::Context(), events);
            done->set_value();
        });
        if (finished.wait_for(std::chrono::seconds(5)) == std::future_status::ready) {
            lister.join();
        } else {
            ADD_FAILURE() << "a lock is locked during " << call;
            lister.detach(); // goes on when the lock is released
        }
    }

    std::atomic<bool> alive_ = false;
};
