// The server as an extension sees it, and an operator's commands, with the listeners of a fake extension.
#include "server/commands.h"
#include "server/host.h"

#include "console/text.h"
#include "extension/host/command.h"
#include "server/dump.h"
#include "server/event_json.h"
#include "tests/server/events.h"
#include "tests/server_api/values.h"
#include "tests/support/files.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <stdexcept>
#include <thread>
#include <utility>

using namespace server;
using zo_test::TemporaryFile;
using namespace ZoHmiSrv;
using namespace std::chrono_literals;
using events::alarm;
using events::message;
using nlohmann::ordered_json;

namespace {

/// All listeners of an extension in one; records the calls.
struct Extension : IZoHmiSrvAlarmProviderListener,
                   IZoHmiSrvEventLocalizationListener,
                   IZoHmiSrvRequestListener,
                   ZoHmiSrvConfigListener {
    ErrorValue on_confirm_alarm(const Context&, Alarm& alarm) override {
        note("confirm " + std::to_string(alarm.id()));
        if (hook) hook();
        return result;
    }
    int on_get_events(const Context&, Value& events) override {
        thread = std::this_thread::get_id();
        if (hook) hook();
        events::list(events, {event_of(alarm(1, 10)), event_of(message(20))});
        return 0;
    }
    ErrorValue on_localize_event(const Context&, const char* locale, EventPayload& event, String& text) override {
        note(std::string("localize ") + locale);
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
        note(std::string("request ") + command.mapping() + " " + name.get_string());
        command.set_extension_result(static_cast<unsigned>(result));
        command.set_result_string(result == HMI_E_FAIL ? "a\nb" : "");
        command.read_value() = output;
    }
    ResultPair on_config_change(const Context&, const char* path) override {
        return changed(std::string("change ") + path);
    }
    ResultPair on_config_delete(const Context&, const char* path) override {
        return changed(std::string("delete ") + path);
    }

    void note(const std::string& call) { calls += (calls.empty() ? "" : "; ") + call; }

    std::string calls;
    std::thread::id thread;
    std::function<void()> hook; // runs in a listing, a confirm and a configuration change
    ErrorValue result = HMI_SUCCESS;
    Value output;

private:
    ResultPair changed(const std::string& what) {
        note(what);
        if (hook) hook();
        return result == HMI_SUCCESS ? ResultPair() : ResultPair(result, "no\x1b");
    }
};

class HostTest : public ::testing::Test {
protected:
    TemporaryFile config_file{R"({"TARGET_SYSTEMS": {"One": {"ADDRESS": "1.2.3.4.5.6", "ENABLED": true},
                                                     "My \"line\"": {"ADDRESS": "", "ENABLED": false}}})"};
    Configuration configuration{config_file.path()};
    EventList list;
    Trace trace{{}};
    std::vector<std::string> printed;
    Host host{configuration, list, trace, [this](const std::string& line) { printed.push_back(line); }};
    Context context;
    Extension extension;
};

TEST_F(HostTest, ResetListsInsideOnTheSameThread) {
    host.register_listener(context, static_cast<IZoHmiSrvAlarmProviderListener*>(&extension));
    extension.hook = [this] {
        EXPECT_EQ(printed.size(), 0u);
        host.notify_alarm(context, AlarmNotification::Raised, alarm(2, 30));
    };
    std::thread([this] {
        host.reset_temporary_events(context);
        EXPECT_EQ(extension.thread, std::this_thread::get_id());
        EXPECT_EQ(list.rows().size(), 3u) << "before it returns";
    }).join();
    EXPECT_EQ(printed.back(), "reset, 3 rows");

    extension.hook = [] { throw 42; };
    host.reset_temporary_events(context);
    EXPECT_EQ(printed[printed.size() - 2], "error: on_get_events threw an unknown object");
    EXPECT_TRUE(list.rows().empty());
}

TEST_F(HostTest, ConfigListenerGetsChangesOfItsFilter) {
    const std::vector<ConfigChange> changes{
        {"TARGET_SYSTEMS::bad", false}, {"TARGET_SYSTEMS::b", false}, {"TARGET_SYSTEMS::a", true}};

    const Value root = parse_configuration(R"({"all": [{"flags": 48, "paths": ["TARGET_SYSTEMS::*"]}],
        "some": [{"flags": 16, "paths": ["TARGET_SYSTEMS::a", "TARGET_SYSTEMS::b", "TARGET::*"]}]})");
    host.register_config_listener(context, &extension, root["some"]);
    host.notify_config(changes);
    EXPECT_EQ(std::exchange(extension.calls, ""), "change TARGET_SYSTEMS::b");
    printed.clear();
    host.unregister_listener(context, static_cast<IZoHmiSrvConfigListener*>(&extension));

    host.register_config_listener(context, &extension, root["all"]);
    extension.hook = [this] {
        if (extension.calls.ends_with("::bad")) throw std::runtime_error("bad\x1b[2J");
        if (extension.calls.ends_with("delete TARGET_SYSTEMS::a")) extension.result = HMI_E_FAIL;
    };
    host.notify_config(changes);
    EXPECT_EQ(extension.calls, "change TARGET_SYSTEMS::bad; change TARGET_SYSTEMS::b; delete TARGET_SYSTEMS::a");
    EXPECT_EQ(printed, (std::vector<std::string>{
                           "error: on_config_change threw: bad\uFFFD[2J",
                           "on_config_change TARGET_SYSTEMS::b answered HMI_E_SUCCESS (0x0)",
                           "on_config_delete TARGET_SYSTEMS::a answered HMI_E_FAIL (0x101): no\xEF\xBF\xBD"}));
}

TEST_F(HostTest, DumpHasRowsAndFreshListing) {
    host.register_listener(context, static_cast<IZoHmiSrvAlarmProviderListener*>(&extension));
    host.reset_temporary_events(context);
    const TemporaryFile file;
    int attempts = 0;
    write_dump(file.path(), list, {"Target"}, [&](Value& listing) {
        // The list changes in the first attempt, so that one is not a snapshot.
        if (attempts++ == 0) host.notify_alarm(context, AlarmNotification::Changed, alarm(1, 10, 15));
        return host.list_events(listing);
    });
    EXPECT_EQ(attempts, 2);
    const auto dump = ordered_json::parse(file.read());
    ASSERT_EQ(dump["rows"].size(), 2u);
    EXPECT_EQ(dump["incomplete"][0], "Target");
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
        host.history().clear();
    }

    Answer run(const std::string& line, const Ask& ask = {}) {
        extension.calls.clear();
        return commands.run(line, stop.get_token(), ask);
    }

    /// A message of the extension about the target, as from a tick.
    void report(const char* name, const char* text) {
        Message message;
        message.set_name(name);
        message.parameters().insert("0", "Target");
        message.parameters().insert("2", text);
        host.send_message(context, message, false);
    }

    Commands commands{host, list, configuration, "en-US"};
    std::stop_source stop;
};

TEST_F(CommandsTest, WrongLineChangesNothing) {
    const char* const no_event = " is neither the id of an alarm, such as 17, nor the number of a message, such as m3";
    const std::pair<std::string, const char*> cases[]{
        {"nonsense", "unknown command \"nonsense\"; see help"},
        {"confirm 2 2", "usage: confirm ID"},
        {"clear One", "clear empties a log for good; in scripts use: clear NAME --yes"},
        {"confirm 4294967298", "\"4294967298\" is not the id of an alarm, such as 17"},
        {"show m0", no_event},
        {"confirm 7", "unknown alarm 7"},
        {"confirm m1", "m1 is a message; only alarms can be confirmed"},
        {"events de_DE", "\"de_DE\" is not a language such as de-DE"},
        {"reconnect \"", "missing closing quote"},
        {std::string("clear Plant\0x", 13), "\"Plant\xEF\xBF\xBDx\" is not the name of a target"},
        {"config set One 1.2.3.4.5.256 true", "\"1.2.3.4.5.256\" is not a net id such as 5.12.82.40.1.1"},
        {"config set a::b 1.2.3.4.5.6 true", "\"a::b\" is not the name of a target"},
        {"sleep -1", "\"-1\" is not a number of milliseconds up to a day"},
        {"watch", "watch needs a terminal"},
    };
    const Value before = configuration.get("");
    const std::uint64_t version = list.version();
    for (const auto& [line, sentence] : cases) {
        SCOPED_TRACE(line);
        const Answer answer = run(line);
        EXPECT_FALSE(answer.ok);
        EXPECT_EQ(answer.kind, nullptr);
        EXPECT_TRUE(answer.text.ends_with(sentence)) << answer.text;
        EXPECT_EQ(answer.json["ok"], false);
        EXPECT_EQ(answer.json["error"], answer.text);
        EXPECT_EQ(extension.calls, "");
    }
    EXPECT_EQ(run("sleep 1", [](const std::string&) { return true; }).text, "sleep works in scripts only");
    EXPECT_TRUE(configuration.get("") == before);
    EXPECT_EQ(list.version(), version);
}

TEST_F(CommandsTest, EventsAreLocalizedAndPrintable) {
    const Answer answer = run("events de-DE");
    EXPECT_EQ(extension.calls, "localize de-DE; localize de-DE; localize de-DE");
    EXPECT_EQ(answer.text.substr(0, answer.text.find('\n')),
              "2 1970-01-01 00:00:00.000 severity 0 active: text\uFFFD[2J\uFFFD in de-DE | Class | Source\uFFFD");
    EXPECT_EQ(answer.json["events"][2]["text"], "text\x1b[2J\xC2\x9B in de-DE") << "unchanged for programs";
    EXPECT_FALSE(parameters_of(list.rows()[0].event)["eventClassName"].isset()) << "the list is unchanged";
    EXPECT_EQ(run("show m1").json["event"]["message"]["timeRaised"], 20);

    extension.result = HMI_E_CONNECT;
    const Answer failed = run("events");
    EXPECT_TRUE(failed.ok) << "a list without texts";
    EXPECT_EQ(failed.json["events"][0]["notLocalized"], "0x50e");
    EXPECT_EQ(failed.json["events"][0]["text"], "ZOEVENTLOGGER_ALARM");
}

TEST_F(CommandsTest, EachCommandCallsTheExtension) {
    const std::string refused = "alarm 2 of Target not confirmed: HMI_E_FAIL (0x101): ";
    const char *const confirm = "localize en-US; confirm 2", *const clear = "request ClearLoggedEvents One";
    const std::tuple<const char*, const char*, std::string, ErrorValue> steps[]{
        {"reconnect \"a \\\"b\\\"\"", "request ForceReconnect a \"b\"", "a \"b\" disconnected; reconnecting",
         HMI_SUCCESS},
        {"clear One --yes", clear, "log of One cleared", HMI_SUCCESS},
        {"clear One --yes", clear, "ClearLoggedEvents failed: HMI_E_FAIL (0x101): a\uFFFDb", HMI_E_FAIL},
        {"clear One --yes", clear, "unknown target \"One\"", HMI_E_ENTRY_NOT_FOUND},
        {"targets", "request ListEnabledTargetSystems ", "no targets", HMI_SUCCESS},
        {"confirm 2", confirm, "alarm 2 of Target confirmed: Source\uFFFD: text\uFFFD[2J\uFFFD in en-US", HMI_SUCCESS},
        {"confirm 2", confirm, refused + "the alarm is not active on its target", HMI_E_FAIL},
        {"config set Two 0.0.0.0 true", "change TARGET_SYSTEMS::Two", "configuration changed", HMI_SUCCESS},
        {"config set Two 0.0.0.0 true", "", "configuration unchanged", HMI_SUCCESS},
        {"config delete One", "delete TARGET_SYSTEMS::One", "configuration changed", HMI_SUCCESS},
        {"config delete Three", "", "unknown target \"Three\"", HMI_SUCCESS},
        {"config set Line \"\" true", "change TARGET_SYSTEMS::Line",
         "configuration changed, but the extension answered HMI_E_INVALID_PARAMETER (0x10d): no\uFFFD",
         HMI_E_INVALID_PARAMETER},
    };
    for (const auto& [line, calls, answer, result] : steps) {
        extension.result = result;
        EXPECT_EQ(run(line).text, answer);
        EXPECT_EQ(extension.calls, calls) << line;
    }
    EXPECT_EQ(values::show(configuration.get("TARGET_SYSTEMS::Two")),
              "struct {ADDRESS: '0.0.0.0', ENABLED: Bool(true)}");
    EXPECT_EQ(configuration.reload().size(), 3u) << "the file is unchanged";

    extension.result = HMI_E_FAIL;
    extension.hook = [this] { report("ZORVANE_EVENTLOGGER_ERROR", "the log\ris locked"); };
    const Answer answer = run("confirm 2");
    EXPECT_EQ(answer.text, refused + "the log\uFFFDis locked");
    EXPECT_EQ(answer.json["result"], "0x101");
}

TEST_F(CommandsTest, IncompleteListHasRemark) {
    const std::string remark = "import failed, list incomplete";
    const auto expect_remark = [&](bool incomplete, const char* when) {
        SCOPED_TRACE(when);
        host.relist("listed");
        EXPECT_EQ(printed.back().ends_with("; Target: " + remark), incomplete);
        host.notify_alarm(context, AlarmNotification::Changed, alarm(1, 10));
        EXPECT_EQ(printed.back().starts_with("changed 1 ! Target "), incomplete) << printed.back();
        for (const char* line : {"targets", "diagnostics", "events", "show 1"}) {
            extension.output = Value();
            if (*line == 't') extension.output.set_type(ValueType::Vector) << "Target";
            if (*line == 'd') extension.output["TARGET_SYSTEMS"]["Target"].insert("connectionState", "Good");
            const Answer answer = run(line);
            EXPECT_EQ(answer.text.find(remark) != std::string::npos, incomplete) << answer.text;
            EXPECT_EQ(answer.json.contains("incomplete"), incomplete) << line;
        }
    };
    report("TARGET_SYSTEM_CONNECTED", "");
    extension.hook = [&] { report("ZORVANE_EVENTLOGGER_ERROR", "refused"); };
    run("confirm 1");
    extension.hook = nullptr;
    expect_remark(false, "a refused confirm is not a failed import");
    report("ZORVANE_EVENTLOGGER_ERROR", "");
    expect_remark(true, "import failed");
    host.notify_config({{"TARGET_SYSTEMS::Target", true}});
    expect_remark(false, "deleted");
}

TEST_F(CommandsTest, WaitTakesOneCallSinceAChange) {
    host.notify_alarm(context, AlarmNotification::Changed, alarm(2, 30));
    EXPECT_TRUE(run("wait notify_alarm 0").ok);
    EXPECT_EQ(run("wait notify_alarm 0").text, "timed out waiting for \"notify_alarm\"") << "taken";
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

TEST_F(CommandsTest, TabulatorOffersCandidates) {
    const std::pair<const char*, std::vector<std::string>> cases[]{
        {"con", {"config", "confirm"}},
        {"config set ", {"\"My \\\"line\\\"\"", "One"}},
        {"reconnect \"My", {"\"My \\\"line\\\"\""}},
        {"confirm ", {"2", "70"}},
        {"show ", {"2", "70", "m1"}},
    };
    for (const auto& [line, words] : cases)
        EXPECT_EQ(complete(line, [this](ArgumentKind kind) { return commands.candidates(kind); }), words) << line;
    EXPECT_EQ(complete("reconnect ", [](ArgumentKind) { return std::vector<std::string>{"a\x1b[2J"}; }),
              std::vector<std::string>())
        << "it would move the cursor";
}

} // namespace
