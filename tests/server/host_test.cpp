#include "server/host.h"

#include "server/dump.h"
#include "tests/server/events.h"
#include "tests/support/files.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <stdexcept>
#include <thread>

using namespace server;
using zo_test::TemporaryFile;
using namespace ZoHmiSrv;
using events::alarm;
using events::message;
using nlohmann::ordered_json;

namespace {

/// An extension's listeners, each under the test's control.
struct Provider : IZoHmiSrvAlarmProviderListener {
    ErrorValue on_confirm_alarm(const Context&, Alarm&) override { return HMI_SUCCESS; }
    int on_get_events(const Context& context, Value& events) override {
        domain = context.domain();
        thread = std::this_thread::get_id();
        if (hook) hook();
        events::list(events, {event_of(alarm(1, 10)), event_of(message(20))});
        return 0;
    }
    std::string domain;
    std::thread::id thread;
    std::function<void()> hook;
};

struct Config : ZoHmiSrvConfigListener {
    ResultPair on_config_change(const Context&, const char* path) override {
        told.push_back(std::string("change ") + path);
        if (told.back() == "change TARGET_SYSTEMS::bad") throw std::runtime_error("bad target");
        return {};
    }
    ResultPair on_config_delete(const Context&, const char* path) override {
        told.push_back(std::string("delete ") + path);
        return ResultPair(HMI_E_FAIL, "no such target");
    }
    std::vector<std::string> told;
};

struct Shutdown : IZoHmiSrvShutdownListener {
    int on_shutdown(const Context&) override {
        ++calls;
        throw 42;
    }
    int calls = 0;
};

class HostTest : public ::testing::Test {
protected:
    TemporaryFile config_file{R"({"LIMIT_EVENT_COUNT": 5, "TARGET_SYSTEMS": {"a": {"ENABLED": true}}})"};
    Configuration configuration{config_file.path()};
    EventList events;
    Trace trace{{}};
    std::vector<std::string> said;
    Host host{configuration, events, trace, [this](const std::string& line) { said.push_back(line); }};
    Context context;
    Provider provider;
};

TEST_F(HostTest, AResetListsInsideOnTheSameThread) {
    host.register_listener(context, &provider);
    provider.hook = [this] {
        EXPECT_EQ(said.size(), 0u);
        host.notify_alarm(context, AlarmNotification::Raised, alarm(2, 30));
    };
    std::thread([this] {
        host.reset_temporary_events(context);
        EXPECT_EQ(provider.thread, std::this_thread::get_id());
        EXPECT_EQ(events.rows().size(), 3u) << "before it returns";
    }).join();
    EXPECT_EQ(provider.domain, "ZoHmiEventLogger");
    EXPECT_EQ(said.back(), "reset, 3 rows");

    provider.hook = [] { throw std::runtime_error("lost\x1b[2J"); };
    host.reset_temporary_events(context);
    EXPECT_EQ(said[said.size() - 2], "error: on_get_events threw: lost\xEF\xBF\xBD[2J");
    EXPECT_TRUE(events.rows().empty());
}

TEST_F(HostTest, TellsTheConfigListenerWhatItAskedFor) {
    const std::vector<ConfigChange> changes{
        {"TARGET_SYSTEMS::bad", false}, {"TARGET_SYSTEMS::b", false}, {"TARGET_SYSTEMS::a", true}};

    Config config;
    const Value root = parse_configuration(R"({"all": [{"flags": 48, "paths": ["TARGET_SYSTEMS::*"]}], "none": []})");
    host.register_config_listener(context, &config, root["none"]);
    host.tell(changes);
    EXPECT_TRUE(config.told.empty());
    host.unregister_listener(context, &config);

    host.register_config_listener(context, &config, root["all"]);
    host.tell(changes);
    EXPECT_EQ(config.told, (std::vector<std::string>{"change TARGET_SYSTEMS::bad", "change TARGET_SYSTEMS::b",
                                                     "delete TARGET_SYSTEMS::a"}));
    EXPECT_EQ(said, (std::vector<std::string>{"error: on_config_change threw: bad target",
                                              "on_config_change TARGET_SYSTEMS::b answered 0x0",
                                              "on_config_delete TARGET_SYSTEMS::a answered 0x101 no such target"}));
}

TEST_F(HostTest, ShutsDownThroughTheListenerWhateverItThrows) {
    Shutdown shutdown;
    host.register_listener(context, &shutdown);
    host.shut_down();
    EXPECT_EQ(shutdown.calls, 1);
    host.unregister_listener(context, &shutdown);
    host.shut_down();
    EXPECT_EQ(shutdown.calls, 1);
}

TEST_F(HostTest, TheDumpHoldsRowsAndAFreshListing) {
    host.register_listener(context, &provider);
    host.reset_temporary_events(context);
    const TemporaryFile file;
    int attempts = 0;
    write_dump(file.path(), events, [&](Value& listing) {
        // The list changes under the first attempt, so that one is no snapshot.
        if (attempts++ == 0) host.notify_alarm(context, AlarmNotification::Changed, alarm(1, 10, 15));
        return host.list_events(listing);
    });
    EXPECT_EQ(attempts, 2);
    const auto dump = ordered_json::parse(file.read());
    ASSERT_EQ(dump["rows"].size(), 2u);
    EXPECT_EQ(dump["rows"][0]["alarm"]["timeCleared"], 15);
    EXPECT_EQ(dump["listing"][0]["alarm"]["timeCleared"], 0);
    EXPECT_EQ(dump["listing"][1].dump(),
              R"({"name":"ZOEVENTLOGGER_MESSAGE","domain":"","timeReceived":20,"message":{"severity":0,)"
              R"("timeRaised":20,"parameters":{"eventId":1.0,"targetName":"Target"}}})");
}

} // namespace
