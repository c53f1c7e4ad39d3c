// The server as an extension sees it, and an operator's commands, against listeners that the test holds.
#include "server/commands.h"
#include "server/host.h"

#include "extension/host/command.h"
#include "server/dump.h"
#include "server/event_json.h"
#include "server/text.h"
#include "tests/server/events.h"
#include "tests/support/files.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <stdexcept>
#include <thread>

using namespace server;
using zo_test::TemporaryFile;
using namespace ZoHmiSrv;
using namespace std::chrono_literals;
using events::alarm;
using events::message;
using nlohmann::ordered_json;
using Asked = std::vector<std::string>;

namespace {

/// Every listener of an extension in one; notes what it is asked.
struct Extension : IZoHmiSrvAlarmProviderListener,
                   IZoHmiSrvEventLocalizationListener,
                   IZoHmiSrvRequestListener,
                   ZoHmiSrvConfigListener {
    ErrorValue on_confirm_alarm(const Context&, Alarm& alarm) override {
        asked.push_back("confirm " + std::to_string(alarm.id()));
        return result;
    }
    int on_get_events(const Context& context, Value& events) override {
        domain = context.domain();
        thread = std::this_thread::get_id();
        if (hook) hook();
        events::list(events, {event_of(alarm(1, 10)), event_of(message(20))});
        return 0;
    }
    ErrorValue on_localize_event(const Context&, const char* locale, EventPayload& event, String& text) override {
        asked.push_back(std::string("localize ") + locale);
        if (result != HMI_SUCCESS) return result;
        text.set_name(("text\x1b[2J\xC2\x9B in " + std::string(locale)).c_str());
        event.parameters().insert_or_update("eventClassName", "Class");
        event.parameters().insert_or_update("localizedSourceName", "Source\n");
        return HMI_SUCCESS;
    }
    void on_request(const Context&, CommandGroup& group) override {
        Command& command = group[0];
        const Value& input = command.write_value();
        const Value& name = input.type() == ValueType::Struct ? input["targetName"] : input;
        asked.push_back(std::string("request ") + command.mapping() + " " + name.get_string());
        command.set_extension_result(static_cast<unsigned>(result));
        command.set_result_string(result_text);
        command.read_value() = output;
    }
    ResultPair on_config_change(const Context&, const char* path) override {
        return changed(std::string("change ") + path);
    }
    ResultPair on_config_delete(const Context&, const char* path) override {
        return changed(std::string("delete ") + path);
    }

    Asked asked;
    std::string domain;
    std::thread::id thread;
    std::function<void()> hook; // runs when the events are listed or the configuration changes
    ErrorValue result = HMI_SUCCESS;
    const char* result_text = "";
    Value output;

private:
    ResultPair changed(const std::string& what) {
        asked.push_back(what);
        if (hook) hook();
        return result == HMI_SUCCESS ? ResultPair() : ResultPair(result, "no\x1b");
    }
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
    TemporaryFile config_file{R"({"TARGET_SYSTEMS": {"One": {"ADDRESS": "1.2.3.4.5.6", "ENABLED": true},
                                                     "My \"line\"": {"ADDRESS": "", "ENABLED": false}}})"};
    Configuration configuration{config_file.path()};
    EventList list;
    Trace trace{{}};
    std::vector<std::string> said;
    Host host{configuration, list, trace, [this](const std::string& line) { said.push_back(line); }};
    Context context;
    Extension extension;
};

TEST_F(HostTest, AResetListsInsideOnTheSameThread) {
    host.register_listener(context, static_cast<IZoHmiSrvAlarmProviderListener*>(&extension));
    extension.hook = [this] {
        EXPECT_EQ(said.size(), 0u);
        host.notify_alarm(context, AlarmNotification::Raised, alarm(2, 30));
    };
    std::thread([this] {
        host.reset_temporary_events(context);
        EXPECT_EQ(extension.thread, std::this_thread::get_id());
        EXPECT_EQ(list.rows().size(), 3u) << "before it returns";
    }).join();
    EXPECT_EQ(extension.domain, "ZoHmiEventLogger");
    EXPECT_EQ(said.back(), "reset, 3 rows");

    extension.hook = [] { throw std::runtime_error("lost\x1b[2J"); };
    host.reset_temporary_events(context);
    EXPECT_EQ(said[said.size() - 2], "error: on_get_events threw: lost\xEF\xBF\xBD[2J");
    EXPECT_TRUE(list.rows().empty());
}

TEST_F(HostTest, TellsTheConfigListenerWhatItAskedFor) {
    const std::vector<ConfigChange> changes{
        {"TARGET_SYSTEMS::bad", false}, {"TARGET_SYSTEMS::b", false}, {"TARGET_SYSTEMS::a", true}};

    const Value root = parse_configuration(R"({"all": [{"flags": 48, "paths": ["TARGET_SYSTEMS::*"]}], "none": []})");
    host.register_config_listener(context, &extension, root["none"]);
    host.tell(changes);
    EXPECT_EQ(extension.asked, Asked());
    host.unregister_listener(context, static_cast<IZoHmiSrvConfigListener*>(&extension));

    host.register_config_listener(context, &extension, root["all"]);
    extension.hook = [this] {
        if (extension.asked.back() == "change TARGET_SYSTEMS::bad") throw std::runtime_error("bad target");
        if (extension.asked.back() == "delete TARGET_SYSTEMS::a") extension.result = HMI_E_FAIL;
    };
    host.tell(changes);
    EXPECT_EQ(extension.asked,
              (Asked{"change TARGET_SYSTEMS::bad", "change TARGET_SYSTEMS::b", "delete TARGET_SYSTEMS::a"}));
    EXPECT_EQ(said, (std::vector<std::string>{"error: on_config_change threw: bad target",
                                              "on_config_change TARGET_SYSTEMS::b answered 0x0",
                                              "on_config_delete TARGET_SYSTEMS::a answered 0x101 no\xEF\xBF\xBD"}));
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
    host.register_listener(context, static_cast<IZoHmiSrvAlarmProviderListener*>(&extension));
    host.reset_temporary_events(context);
    const TemporaryFile file;
    int attempts = 0;
    write_dump(file.path(), list, [&](Value& listing) {
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

class CommandsTest : public HostTest {
protected:
    CommandsTest() {
        host.register_listener(context, static_cast<IZoHmiSrvAlarmProviderListener*>(&extension));
        host.register_listener(context, static_cast<IZoHmiSrvEventLocalizationListener*>(&extension));
        host.register_listener(context, static_cast<IZoHmiSrvRequestListener*>(&extension));
        const Value filter = parse_configuration(R"({"all": [{"flags": 48, "paths": ["TARGET_SYSTEMS::*"]}]})");
        host.register_config_listener(context, &extension, filter["all"]);
        host.send_message(context, message(20), true);
        host.notify_alarm(context, AlarmNotification::Raised, alarm(70, 10));
        host.notify_alarm(context, AlarmNotification::Raised, alarm(2, 30));
        host.heard().forget();
    }

    Answer run(const std::string& line, bool interactive = false) {
        extension.asked.clear();
        return commands.run(line, interactive, stop.get_token());
    }

    Commands commands{host, list, configuration, "en-US"};
    std::stop_source stop;
};

TEST_F(CommandsTest, WhatCannotBeDoneGetsOneSentenceAndChangesNothing) {
    struct Case {
        std::string line;
        const char* sentence;
        bool interactive = false;
    };
    const Case cases[]{
        {"nonsense", "There is no command \"nonsense\"; help lists all."},
        {"\x1b[2Jx \xFF", "There is no command \"\uFFFD[2Jx\"; help lists all."},
        {"confirm 2 2", "Say it as: confirm #N|ID."},
        {"confirm #0", "\"#0\" is neither a row such as #3 nor the number of an alarm."},
        {"confirm 4294967298", "\"4294967298\" is neither a row such as #3 nor the number of an alarm."},
        {"show #99999999999999999999",
         "\"#99999999999999999999\" is neither a row such as #3 nor the number of an alarm."},
        {"confirm #4", "There is no row #4."},
        {"confirm 7", "There is no alarm 7."},
        {"confirm #1", "#1 is no alarm."},
        {"events de_DE", "\"de_DE\" is no language such as de-DE."},
        {"reconnect \"", "A quote is not closed."},
        {std::string("clear Plant\0x", 13), "\"Plant\xEF\xBF\xBDx\" is no name of a target."},
        {"config set One 1.2.3.4.5.256 true", "\"1.2.3.4.5.256\" is no net id such as 5.12.82.40.1.1."},
        {"config set One 1.2.3.4.5.6 yes", "\"yes\" is neither true nor false."},
        {"config set a::b 1.2.3.4.5.6 true", "\"a::b\" is no name of a target."},
        {"sleep -1", "\"-1\" is no number of milliseconds up to a day."},
        {"sleep 1", "sleep is for scripts only.", true},
    };
    const Value before = configuration.get("");
    const std::uint64_t version = list.version();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.line);
        const Answer answer = run(c.line, c.interactive);
        EXPECT_FALSE(answer.ok);
        EXPECT_EQ(answer.kind, nullptr);
        EXPECT_EQ(answer.text, c.sentence);
        EXPECT_EQ(answer.json["ok"], false);
        EXPECT_EQ(answer.json["error"], c.sentence);
        EXPECT_EQ(extension.asked, Asked());
    }
    EXPECT_TRUE(configuration.get("") == before);
    EXPECT_EQ(list.version(), version);
    for (const char* line : {"", " \t\r", "; clear One"}) {
        EXPECT_TRUE(run(line).ok) << line;
        EXPECT_EQ(extension.asked, Asked()) << line;
    }
}

TEST_F(CommandsTest, EventsAreListedInTheLanguageAskedForAndHoldNothingRaw) {
    const Answer answer = run("events de-DE");
    ASSERT_TRUE(answer.ok) << answer.text;
    EXPECT_EQ(extension.asked, (Asked{"localize de-DE", "localize de-DE", "localize de-DE"}));
    EXPECT_EQ(answer.text.substr(0, answer.text.find('\n')),
              "#3 1970-01-01 00:00:00.000 severity 0 active: text\uFFFD[2J\uFFFD in de-DE | Class | Source\uFFFD");
    const auto& row = answer.json["events"][2];
    EXPECT_EQ(row["row"], 1);
    EXPECT_EQ(row["state"], "message");
    EXPECT_EQ(row["class"], "Class");
    EXPECT_EQ(row["text"], "text\x1b[2J\xC2\x9B in de-DE") << "whole for programs";
    for (const std::string& text : {answer.text, json_line(answer.json)}) {
        EXPECT_EQ(text.find('\x1b'), std::string::npos);
        EXPECT_EQ(text.find("\xC2\x9B"), std::string::npos);
    }
    EXPECT_TRUE(parameters_of(list.rows()[0].event)["eventClassName"].isset() == false) << "the list stays as it is";

    extension.result = HMI_E_CONNECT;
    const Answer failed = run("events");
    EXPECT_TRUE(failed.ok) << "a list without texts is still a list";
    EXPECT_EQ(failed.json["events"][0]["notLocalized"], "0x50e");
    EXPECT_EQ(failed.json["events"][0]["text"], "ZOEVENTLOGGER_ALARM");
}

TEST_F(CommandsTest, AnEventIsFoundByItsRowOrItsAlarmsId) {
    struct Case {
        const char* name;
        int id;
    };
    for (const Case& c : {Case{"#2", 70}, {"70", 70}, {"#3", 2}, {"2", 2}}) {
        EXPECT_EQ(run(std::string("show ") + c.name + " zh-CN").json["event"]["alarm"]["id"], c.id) << c.name;
        EXPECT_EQ(extension.asked, Asked{"localize zh-CN"}) << c.name;
        EXPECT_TRUE(run(std::string("confirm ") + c.name).ok) << c.name;
        EXPECT_EQ(extension.asked, Asked{"confirm " + std::to_string(c.id)}) << c.name;
    }
    extension.result = HMI_E_FAIL;
    const Answer answer = run("confirm 2");
    EXPECT_EQ(answer.text, "Alarm 2 was not confirmed: 0x101.");
    EXPECT_EQ(answer.json["result"], "0x101");
}

TEST_F(CommandsTest, RequestsReachTheExtensionInTheFormThatItReads) {
    struct Case {
        const char* line;
        const char* asked;
        ErrorValue result;
        const char* text;
        const char* said;
    };
    const Case cases[]{
        {"reconnect \"My \\\"line\\\"\"", "request ForceReconnect My \"line\"", HMI_SUCCESS, "",
         "The connection was dropped."},
        {"clear One", "request ClearLoggedEvents One", HMI_SUCCESS, "", "The log was cleared."},
        {"clear One", "request ClearLoggedEvents One", HMI_E_FAIL, "a\nb",
         "ClearLoggedEvents failed with 0x101: a\uFFFDb"},
        {"diagnostics", "request Diagnostics ", HMI_SUCCESS, "", "There are no targets."},
    };
    for (const Case& c : cases) {
        extension.result = c.result;
        extension.result_text = c.text;
        const Answer answer = run(c.line);
        EXPECT_EQ(answer.ok, c.result == HMI_SUCCESS) << c.line;
        EXPECT_EQ(answer.text, c.said) << c.line;
        EXPECT_EQ(extension.asked, Asked{c.asked});
    }
    Value state;
    state.set_type(ValueType::Struct);
    state["TARGET_SYSTEMS"]
        .set_type(ValueType::Map)["One"]
        .set_type(ValueType::Struct)
        .insert("connectionState", "Good");
    extension.output = state;
    const Answer answer = run("diagnostics");
    EXPECT_EQ(answer.text, "One:\n  connectionState: Good");
    EXPECT_EQ(answer.json["diagnostics"].dump(), R"({"TARGET_SYSTEMS":{"One":{"connectionState":"Good"}}})");
    extension.output = Value().set_type(ValueType::Vector) << "One";
    EXPECT_EQ(run("targets").json["targets"].dump(), R"(["One"])");
    EXPECT_EQ(extension.asked, Asked{"request ListEnabledTargetSystems "});
}

TEST_F(CommandsTest, TheConfigurationChangesOneEntryAndTheExtensionIsTold) {
    EXPECT_EQ(run("config set Two 0.0.0.0 true").text, "The configuration has changed.");
    EXPECT_EQ(extension.asked, Asked{"change TARGET_SYSTEMS::Two"});
    EXPECT_STREQ(configuration.get("TARGET_SYSTEMS::Two::ADDRESS").get_string(), "0.0.0.0");
    EXPECT_TRUE(configuration.get("TARGET_SYSTEMS::Two::ENABLED").get_bool());
    EXPECT_STREQ(configuration.get("TARGET_SYSTEMS::One::ADDRESS").get_string(), "1.2.3.4.5.6");
    EXPECT_EQ(run("config set Two 0.0.0.0 true").text, "The configuration was so already.");
    EXPECT_EQ(extension.asked, Asked());
    EXPECT_TRUE(run("config delete One").ok);
    EXPECT_EQ(extension.asked, Asked{"delete TARGET_SYSTEMS::One"});
    EXPECT_FALSE(configuration.get("TARGET_SYSTEMS::One").isset());
    extension.result = HMI_E_INVALID_PARAMETER;
    EXPECT_EQ(run("config set Two \"\" false").text,
              "The configuration has changed, but the extension answered: 0x10d no\uFFFD.");
    // The file knows nothing of it all.
    EXPECT_EQ(configuration.reload(),
              (std::vector<ConfigChange>{{"TARGET_SYSTEMS::One", false}, {"TARGET_SYSTEMS::Two", true}}));
}

TEST_F(CommandsTest, AWaitTakesOneCallThatCameSinceTheLastChange) {
    host.notify_alarm(context, AlarmNotification::Changed, alarm(2, 30));
    EXPECT_TRUE(run("wait notify_alarm 0").ok);
    EXPECT_EQ(run("wait notify_alarm 0").text, "\"notify_alarm\" has not come in time.") << "taken";
    host.notify_alarm(context, AlarmNotification::Changed, alarm(2, 30));
    EXPECT_TRUE(run("confirm 2").ok);
    EXPECT_FALSE(run("wait notify_alarm 0").ok) << "from before the change";
    std::thread later([this] {
        std::this_thread::sleep_for(20ms);
        host.send_message(context, message(50), true);
    });
    EXPECT_TRUE(run("wait ZOEVENTLOGGER_MESSAGE").ok);
    later.join();
    std::thread ends([this] { stop.request_stop(); });
    EXPECT_FALSE(run("wait ZOEVENTLOGGER_MESSAGE 86400").ok);
    EXPECT_TRUE(run("sleep 86400000").ok);
    ends.join();
}

TEST_F(CommandsTest, TheTabulatorOffersWhatFits) {
    const std::pair<const char*, std::vector<std::string>> cases[]{
        {"con", {"config", "confirm"}},
        {"config ", {"delete", "set"}},
        {"config set ", {"\"My \\\"line\\\"\"", "One"}},
        {"reconnect \"My", {"\"My \\\"line\\\"\""}},
        {"confirm #", {"#1", "#2", "#3"}},
    };
    for (const auto& [line, words] : cases)
        EXPECT_EQ(complete(line, [this](std::string_view kind) { return commands.candidates(kind); }), words) << line;
    EXPECT_EQ(complete("reconnect ", [](std::string_view) { return std::vector<std::string>{"a\x1b[2J"}; }),
              std::vector<std::string>())
        << "nothing that moves the cursor";
}

} // namespace
