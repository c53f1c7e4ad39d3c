#include "server/host.h"

#include "extension/host/command.h"
#include "server/dump.h"
#include "tests/server/events.h"
#include "tests/support/files.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sstream>
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
        return result;
    }
    std::string domain;
    std::thread::id thread;
    std::function<void()> hook;
    int result = 0;
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
    /// The trace so far without its times, which only must not run backwards.
    std::vector<ordered_json> trace_lines() {
        std::vector<ordered_json> lines;
        std::istringstream in(trace_file.read());
        std::int64_t before = 1'000'000'000'000'000'000;
        for (std::string line; std::getline(in, line);) {
            lines.push_back(ordered_json::parse(line));
            EXPECT_EQ(lines.back().begin().key(), "t");
            const auto time = lines.back()["t"].get<std::int64_t>();
            EXPECT_GE(time, before);
            before = time;
            lines.back().erase("t");
        }
        return lines;
    }

    TemporaryFile config_file{R"({"LIMIT_EVENT_COUNT": 5, "TARGET_SYSTEMS": {"a": {"ENABLED": true}}})"};
    TemporaryFile trace_file;
    Configuration configuration{config_file.path()};
    EventList events;
    Trace trace{trace_file.path()};
    std::vector<std::string> said;
    Host host{configuration, events, trace, [this](const std::string& line) { said.push_back(line); }};
    Context context;
    Provider provider;
};

TEST_F(HostTest, TracesEachCallInOrderWithWhatApplies) {
    Message logged;
    logged.set_name("TARGET_SYSTEM_CONNECTED");
    logged.parameters().insert("0", "a\"\xFF");
    auto sent = message(20);
    sent.parameters().insert("types", Binary("\1\2\3", 3));
    sent.parameters().insert("when", Timestamp(77));
    auto raised = alarm(7, 10, 11);
    raised.set_severity(Severity{3});
    raised.set_confirmation_state(AlarmConfirmationState{2});
    raised.set_time_confirmed(Timestamp(12));
    Config config;
    Command command("Test");

    host.set_display_name(context, "Name");
    host.register_listener(context, &provider);
    host.register_config_listener(context, &config, Value());
    host.get_config_value(context, "TARGET_SYSTEMS::a");
    host.send_message(context, logged, false);
    host.send_message(context, sent, true);
    host.notify_alarm(context, AlarmNotification::Removed, raised);
    host.forget_event(context, event_of(message(20)));
    host.forget_event(context, event_of(raised));
    host.reset_temporary_events(context);
    host.execute_command(context, command);
    host.unregister_listener(context, &provider);

    const char* const alarm_text =
        R"({"id":7,"severity":3,"alarmState":0,"confirmationState":2,"timeRaised":10,"timeCleared":11,)"
        R"("timeConfirmed":12,"parameters":{"targetName":"Target"}})";
    const std::string expected[]{
        R"({"call":"set_display_name","name":"Name"})",
        R"({"call":"register_listener","name":"AlarmProvider"})",
        R"({"call":"register_config_listener"})",
        R"({"call":"get_config_value","name":"TARGET_SYSTEMS::a"})",
        "{\"call\":\"send_message\",\"name\":\"TARGET_SYSTEM_CONNECTED\",\"is_event\":false,"
        "\"parameters\":{\"0\":\"a\\\"\xEF\xBF\xBD\"}}",
        R"({"call":"send_message","name":"ZOEVENTLOGGER_MESSAGE","is_event":true,"parameters":)"
        R"({"eventId":1.0,"targetName":"Target","types":"AQID","when":77}})",
        R"({"call":"notify_alarm","name":"ZOEVENTLOGGER_ALARM","mode":2,"alarm":)" + std::string(alarm_text) + "}",
        R"({"call":"forget_event","name":"ZOEVENTLOGGER_MESSAGE","parameters":{"eventId":1.0,"targetName":"Target"}})",
        R"({"call":"forget_event","name":"ZOEVENTLOGGER_ALARM","alarm":)" + std::string(alarm_text) + "}",
        R"({"call":"reset_temporary_events"})",
        R"({"call":"execute_command","name":"Test"})",
        R"({"call":"unregister_listener","name":"AlarmProvider"})",
    };
    const auto lines = trace_lines();
    ASSERT_EQ(lines.size(), std::size(expected));
    for (std::size_t i = 0; i < lines.size(); ++i)
        EXPECT_EQ(lines[i].dump(), expected[i]);
}

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

    provider.hook = nullptr;
    provider.result = 1;
    host.reset_temporary_events(context);
    EXPECT_TRUE(events.rows().empty());
    EXPECT_EQ(said[said.size() - 2], "error: on_get_events answered 1");
    provider.hook = [] { throw std::runtime_error("lost\x1b[2J"); };
    host.reset_temporary_events(context);
    EXPECT_EQ(said[said.size() - 2], "error: on_get_events threw: lost\xEF\xBF\xBD[2J");

    host.unregister_listener(context, &provider);
    host.reset_temporary_events(context);
    EXPECT_EQ(said.back(), "reset, 0 rows");
}

TEST_F(HostTest, TellsTheConfigListenerWhatItAskedFor) {
    const std::vector<ConfigChange> changes{
        {"TARGET_SYSTEMS::bad", false}, {"TARGET_SYSTEMS::b", false}, {"TARGET_SYSTEMS::a", true}};
    host.tell(changes); // nobody listens

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
    host.unregister_listener(context, &config);
    host.tell(changes);
    EXPECT_EQ(config.told.size(), 3u);
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

TEST_F(HostTest, SaysOneLineForEachCallThatMatters) {
    host.notify_alarm(context, AlarmNotification::Raised, alarm(7, 0));
    host.notify_alarm(context, AlarmNotification::Changed, alarm(7, 0));
    host.notify_alarm(context, AlarmNotification::Removed, alarm(7, 0));
    host.send_message(context, message(0), true);
    host.forget_event(context, event_of(message(0)));
    host.forget_event(context, event_of(message(5)));
    const char* const verbs[]{"raised #1 ",  "changed #1 ",   "removed #1 ",
                              "message #2 ", "forgotten #2 ", "forgotten - "};
    ASSERT_EQ(said.size(), std::size(verbs));
    for (std::size_t i = 0; i < said.size(); ++i)
        EXPECT_TRUE(said[i].starts_with(verbs[i])) << said[i];
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
    auto dump = ordered_json::parse(file.read());
    ASSERT_EQ(dump["rows"].size(), 2u);
    EXPECT_EQ(dump["rows"][0]["alarm"]["timeCleared"], 15);
    EXPECT_EQ(dump["listing"][0]["alarm"]["timeCleared"], 0);
    EXPECT_EQ(dump["rows"][1]["row"], 2);
    dump["rows"][1].erase("row");
    EXPECT_EQ(dump["rows"][1].dump(), dump["listing"][1].dump());
    EXPECT_EQ(dump["listing"][1].dump(),
              R"({"name":"ZOEVENTLOGGER_MESSAGE","domain":"","timeReceived":20,"message":{"severity":0,)"
              R"("timeRaised":20,"parameters":{"eventId":1.0,"targetName":"Target"}}})");
    EXPECT_THROW(write_dump("/nonexistent/dump", events, [](Value&) { return false; }), std::runtime_error);
}

} // namespace
