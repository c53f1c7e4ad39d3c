#pragma once

#include "extension/host/value.h"
#include "extension/zo_hmi_event_logger.h"
#include "tests/fakes/call_log.h"
#include "tests/fakes/fake_device_client.h"
#include "tests/fakes/fake_host.h"
#include "tests/fakes/fake_proxy.h"
#include "tests/support/captured_syslog.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

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

// An extension with fakes around it. In every host call, from wherever it comes, another thread lists all events: that
// gets stuck when a lock of the target table or of a target's store is held.
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
        EXPECT_EQ(fakes::FakeProxyLibrary::instance().reset(), 0) << "objects of the proxy are left";
        EXPECT_TRUE(fakes::device_client().open_ports().empty());
    }

    // Configures an enabled target, with a logger of that name, and gives the logger. In the order of the names.
    fakes::LoggerPtr add_target(const char* name, const char* address = "5.9.9.9.1.1") {
        set_entry(name, target_entry(address, true));
        return fakes::FakeProxyLibrary::instance().expect_logger(name);
    }
    // Stores an entry under TARGET_SYSTEMS; a Null one is taken away.
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
    // Runs `init` with the domain "HMI".
    ZoHmiSrv::ErrorValue init() {
        if (!extension) make_extension();
        return extension->init(context_of("HMI")).result();
    }
    // Leaves the targets connected but no tick running: the proxy of a last target ("~", gone afterwards) cannot be
    // created, at which `init` gives up but drops nothing. So a test alone drives the ticks.
    void start_without_ticks() {
        const auto targets = static_cast<unsigned>(config["TARGET_SYSTEMS"].size());
        set_entry("~", target_entry("", false));
        fakes::FakeProxyLibrary::instance().plan->answer("CreateInstance.Logger", E_FAIL, targets + 1);
        ASSERT_EQ(init(), ZoHmiSrv::HMI_E_INIT);
        set_entry("~", ZoHmiSrv::Value());
        take_calls();
        host.clear();
    }
    // With the domain "tick".
    void tick(ZoHmiSrv::TimerError error = ZoHmiSrv::TimerError::none) {
        extension->on_timer(error, context_of("tick"));
    }
    ZoHmiSrv::ErrorValue change(const char* name) {
        return extension->on_config_change(context_of("caller"), (std::string("TARGET_SYSTEMS::") + name).c_str())
            .result();
    }
    // Shuts down with the domain "shutdown".
    void shut_down() {
        extension->on_shutdown(context_of("shutdown"));
        destroy();
    }
    // Without a shutdown.
    void destroy() {
        alive_ = false;
        extension.reset();
    }

    // The server's list; Null when the extension leaves it alone.
    ZoHmiSrv::Value listed() {
        ZoHmiSrv::Value events;
        EXPECT_EQ(extension->on_get_events(ZoHmiSrv::Context(), events), 0);
        return events;
    }
    // The calls since the last look, but for reads of events and of connection states.
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

    fakes::FakeHost host;
    ZoHmiSrv::Value config; // in `host` after set_entry and set_config
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
            ADD_FAILURE() << "a lock is held in " << call;
            lister.detach(); // goes on when the lock is let go
        }
    }

    std::atomic<bool> alive_ = false;
};
