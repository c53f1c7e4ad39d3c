#pragma once

#include "extension/host/value.h"
#include "extension/zo_hmi_event_logger.h"
#include "tests/fakes/call_log.h"
#include "tests/fakes/fake_device_client.h"
#include "tests/fakes/fake_host.h"
#include "tests/fakes/fake_proxy.h"

#include <gtest/gtest.h>

#include <atomic>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

using Texts = std::vector<std::string>;

// A server that remembers on whose behalf the configuration was read.
template <class Host>
class ReadingHost : public Host {
public:
    ZoHmiSrv::Value get_config_value(const ZoHmiSrv::Context& context, const char* path) override {
        {
            const std::lock_guard lock(reads_mutex_);
            reads_.emplace_back(path, context.domain());
        }
        return Host::get_config_value(context, path);
    }
    std::vector<std::pair<std::string, std::string>> take_reads() {
        const std::lock_guard lock(reads_mutex_);
        return std::exchange(reads_, {});
    }

private:
    std::mutex reads_mutex_;
    std::vector<std::pair<std::string, std::string>> reads_;
};

ZoHmiSrv::Context context_of(const char* domain);
ZoHmiSrv::Value target_entry(const char* address, bool enabled);

// An extension with fakes around it. In every host call, from wherever it comes, another thread lists all events: that
// gets stuck when a lock of the target table or of a target's store is held.
class ExtensionTest : public testing::Test {
protected:
    ExtensionTest();
    ~ExtensionTest() override;

    // Configures an enabled target, with a logger of that name, and gives the logger. In the order of the names.
    fakes::LoggerPtr add_target(const char* name, const char* address = "5.9.9.9.1.1");
    // Stores an entry under TARGET_SYSTEMS; a Null one is taken away.
    void set_entry(const std::string& name, const ZoHmiSrv::Value& entry);
    void set_config(const char* key, const ZoHmiSrv::Value& value);

    void make_extension(ZoHmiSrv::IZoHmiSrvExtHost* with_host = nullptr);
    // Runs `init` with the domain "HMI".
    ZoHmiSrv::ErrorValue init();
    // Leaves the targets connected but no tick running: the proxy of a last target ("~", gone afterwards) cannot be
    // created, at which `init` gives up but drops nothing. So a test alone drives the ticks.
    void start_without_ticks();
    // With the domain "tick".
    void tick(ZoHmiSrv::TimerError error = ZoHmiSrv::TimerError::none);
    ZoHmiSrv::ErrorValue change(const char* name);
    // Shuts down with the domain "shutdown".
    void shut_down();
    // Without a shutdown.
    void destroy();

    // The server's list; Null when the extension leaves it alone.
    ZoHmiSrv::Value listed();
    // The calls since the last look, but for reads of events and of connection states.
    static Texts take_calls();
    static Texts take_calls(std::string_view prefix);

    ReadingHost<fakes::FakeHost> host;
    ZoHmiSrv::Value config; // in `host` after set_entry and set_config
    std::unique_ptr<ZoHmiEventLogger::ZoHmiEventLogger> extension;
    std::atomic<bool> check_locks = true;

private:
    void probe(std::string_view call);

    std::atomic<bool> alive_ = false;
};
