// All parts together: targets, link, stand-ins, product, server, and an operator's script.
#include "tests/system/known_events.h"
#include "tests/system/programs.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <optional>
#include <sstream>

namespace {

using namespace programs;
using namespace std::chrono_literals;

constexpr char net_id[] = "5.12.82.40.1.1";

/// A quiet target and, after `start`, the server with that target.
class Road : public testing::Test {
protected:
    void start(int timeout = 3000, int limit = 1000) {
        json config = config_of({{"Bottling", enabled(net_id)}});
        config["TIMEOUT"] = timeout;
        config["LIMIT_EVENT_COUNT"] = limit;
        server.emplace(folder, config, Routes{{net_id, target.address()}});
    }
    /// Ends the server. Its rows and a fresh listing must agree with the logger.
    json expect_agreement() {
        const json list = target.list();
        json final = server->stop();
        for (const char* events : {"rows", "listing"})
            EXPECT_TRUE(same(known_to_server(final[events]), known_to_logger(list))) << events;
        EXPECT_TRUE(same(contents(final["rows"]), contents(final["listing"])));
        return final;
    }

    const TemporaryFolder folder;
    Target target{folder, "bottling", quiet("bottling.json")};
    std::optional<Server> server;
};

TEST_F(Road, KilledTargetComesBack) {
    start();
    ASSERT_TRUE(server->waits_for("GETLOGGEDEVENTS_GETACTIVEALARMS"));
    target.run("raise process 1 tank=T7");
    target.run("message production 2");
    ASSERT_TRUE(server->waits_for("notify_alarm") && server->waits_for("ZOEVENTLOGGER_MESSAGE"));
    const json id = server->calls("notify_alarm")[0]["alarm"]["id"];
    std::this_thread::sleep_for(1200ms); // more than two ticks, so that the state is "connected"
    EXPECT_EQ(server->count("RESET_TEMPORARY_EVENTS"), 0u);

    target.kill();
    ASSERT_TRUE(server->waits_for("TARGET_SYSTEM_CONNECT_FAILED", 4));
    EXPECT_EQ(server->count("RESET_TEMPORARY_EVENTS"), 1u);
    const auto calls = server->calls();
    const auto first = [&](const char* name) {
        return std::ranges::find_if(calls, [&](const json& call) { return call.value("name", "") == name; });
    };
    EXPECT_EQ(first("TARGET_SYSTEM_CONNECT_FAILED") + 1, first("RESET_TEMPORARY_EVENTS"))
        << "the tick that finds the loss tries once, then resets";

    target.start();
    ASSERT_TRUE(server->waits_for("reset_temporary_events", 2));
    target.run("raise process 2");
    ASSERT_TRUE(server->waits_for("notify_alarm", 2));
    EXPECT_EQ(server->count("RESET_TEMPORARY_EVENTS"), 2u);

    const json final = expect_agreement();
    EXPECT_TRUE(std::ranges::any_of(final["rows"], [&](const json& row) {
        return row.contains("alarm") && row["alarm"]["id"] == id;
    })) << "the alarm is still active, with its id";
}

TEST_F(Road, EventDuringImportIsKeptOnce) {
    // Each comes between the logger's two lists: it is missing in the first and may be in the second.
    for (const char* verb : {"raise process 1", "message production 1", "raise process 2", "clear process 2"})
        target.run(std::string("during get_active_alarms ") + verb);
    target.run("after get_logged_events message production 2");
    start();
    ASSERT_TRUE(server->waits_for("GETLOGGEDEVENTS_GETACTIVEALARMS"));
    target.run("message production 3");
    ASSERT_TRUE(server->waits_for("ZOEVENTLOGGER_MESSAGE"));
    expect_agreement();
}

// Gone right after it sent its lists: its rows must not stay.
TEST_F(Road, TargetQuittingBehindListsLeavesNoRows) {
    constexpr int rounds = 20;
    target.run("flood 3000 production 2"); // so that the import takes a while
    start(3000, 4000);
    ASSERT_TRUE(server->waits_for("GETLOGGEDEVENTS_GETACTIVEALARMS"));
    // The failed connects and the resets since the last good connect.
    const auto calls_since_connect = [&] {
        std::vector<std::string> names;
        for (const json& call : server->calls()) {
            const std::string name = call.value("name", "");
            if (name == "TARGET_SYSTEM_CONNECTED") names.clear();
            if (name == "TARGET_SYSTEM_CONNECT_FAILED") names.emplace_back("away");
            if (call["call"] == "reset_temporary_events") names.emplace_back("reset");
        }
        return names;
    };
    for (int round = 1; round <= rounds && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        const std::size_t connects = server->count("TARGET_SYSTEM_CONNECTED");
        if (round > 1) target.start();
        // Dropped, in case that the server has connected already.
        target.send("after get_active_alarms quit\ndrop\n");
        ASSERT_TRUE(server->waits_for("TARGET_SYSTEM_CONNECTED", connects + 1));
        ASSERT_TRUE(eventually([&] { return std::ranges::count(calls_since_connect(), "away") >= 2; }));
        const auto calls = calls_since_connect();
        EXPECT_EQ(*(std::ranges::find(calls, "away") + 1), "reset") << "the first tick that finds it away";
    }
    const json final = server->stop();
    EXPECT_TRUE(final["rows"].empty()) << final["rows"].size() << " rows stay";
    EXPECT_TRUE(final["listing"].empty());
}

class MisbehavingTarget : public Road, public testing::WithParamInterface<const char*> {};

TEST_P(MisbehavingTarget, IsLostAndFoundAgain) {
    start(500);
    ASSERT_TRUE(server->waits_for("GETLOGGEDEVENTS_GETACTIVEALARMS"));
    std::this_thread::sleep_for(700ms);
    target.run(GetParam());
    ASSERT_TRUE(server->waits_for("GETLOGGEDEVENTS_GETACTIVEALARMS", 2));
    target.run("message production 3");
    ASSERT_TRUE(server->waits_for("ZOEVENTLOGGER_MESSAGE"));
    expect_agreement();
}

INSTANTIATE_TEST_SUITE_P(, MisbehavingTarget, testing::Values("drop", "stall 3500"));

TEST_F(Road, FailedImportIsRepeatedOverALivingLink) {
    target.run("fail get_active_alarms 0x98110745");
    start();
    ASSERT_TRUE(server->waits_for("ZORVANE_EVENTLOGGER_ERROR"));
    EXPECT_EQ(server->count("GETLOGGEDEVENTS_GETACTIVEALARMS"), 0u);
    ASSERT_TRUE(server->waits_for("reset_temporary_events"));
    EXPECT_EQ(server->count("TARGET_SYSTEM_CONNECT_FAILED"), 0u);
    EXPECT_EQ(expect_agreement()["incomplete"], json::array());
    EXPECT_NE(server->output().find("listed, 0 rows; Bottling: import failed, list incomplete\n"), std::string::npos);
}

TEST(Configuration, ChangeTakesEffectAtOnce) {
    const TemporaryFolder folder;
    Target bottling(folder, "bottling", quiet("bottling.json"));
    Target packaging(folder, "packaging", quiet("packaging.json"));
    Server server(folder, config_of({{"One", enabled(net_id)}}),
                  {{net_id, bottling.address()}, {"5.12.82.41.1.1", packaging.address()}});
    ASSERT_TRUE(server.waits_for("GETLOGGEDEVENTS_GETACTIVEALARMS"));

    server.change_config(config_of({{"One", enabled(net_id)}, {"Two", enabled("5.12.82.41.1.1")}}));
    ASSERT_TRUE(server.waits_for("reset_temporary_events", 1));
    EXPECT_EQ(server.count("TARGET_SYSTEM_CONNECTED"), 2u) << "the first target is unchanged";

    server.change_config(config_of({{"Two", enabled("5.12.82.41.1.1")}}));
    ASSERT_TRUE(server.waits_for("reset_temporary_events", 2));
    const json final = server.stop();
    EXPECT_TRUE(same(known_to_server(final["rows"]), known_to_logger(packaging.list())));
}

/// Returns the quiet bottling plant with an empty log.
json plant() {
    json scenario = quiet("bottling.json");
    scenario.erase("history");
    return scenario;
}

/// A run of the server with a script, on a target and a second one that is disabled.
struct Shift : Server {
    Shift(const TemporaryFolder& folder, const Target& target, const std::string& script, bool as_json = true)
        : Server(folder, config_of({{"Bottling", enabled(net_id)}, {"Off", {{"ADDRESS", net_id}, {"ENABLED", false}}}}),
                 {{net_id, target.address()}}, options(folder, script, as_json)) {}

    static std::vector<std::string> options(const TemporaryFolder& folder, const std::string& script, bool as_json) {
        write_file(folder / "script", script);
        std::vector<std::string> options{"--script", folder / "script", "--language", "en-US"};
        if (as_json) options.emplace_back("--json");
        return options;
    }
    /// Returns the answers to a command so far.
    std::vector<json> answers(const std::string& command) const {
        std::vector<json> answers;
        std::istringstream in(output());
        for (std::string line; std::getline(in, line);) {
            json answer = json::parse(line, nullptr, false);
            if (answer.is_object() && answer["command"] == command) answers.push_back(std::move(answer));
        }
        return answers;
    }
};

std::vector<std::string> names(const json& event) {
    return {event["text"], event["class"], event["source"]};
}

TEST(Operator, ReadsConfirmsAndClears) {
    using Names = std::vector<std::string>;
    const TemporaryFolder folder;
    Target target(folder, "bottling", plant());
    target.run("raise process 1 tank=T7 level=93.5");
    target.run("message production 3");
    Shift shift(folder, target,
                "; an operator's morning\nevents\nevents de-DE\nconfirm 2\nwait notify_alarm\nshow 2 de-DE\n"
                "sleep 700\nclear Bottling --yes\nwait DATABASE_CHANGED\nwait TARGET_SYSTEM_CONNECTED\n"
                "wait reset_temporary_events\nsleep 1500\nevents\nquit\nclear x --yes");
    shift.stop(true);

    const auto lists = shift.answers("events");
    ASSERT_EQ(lists.size(), 2u);
    const json english = lists[0]["events"], german = shift.answers("events de-DE").at(0)["events"];
    ASSERT_EQ(english.size(), 2u);
    EXPECT_EQ(names(english[0]),
              (Names{"Product tank T7: level 93.5 % is above the limit of 90 %", "Process", "Filler"}));
    EXPECT_EQ(names(german[0]),
              (Names{"Produkttank T7: Füllstand 93.5 % liegt über der Grenze von 90 %", "Prozess", "Füller"}));
    EXPECT_EQ(english[0]["number"], "2") << "the id of the alarm";
    EXPECT_EQ(english[0]["severity"], 3);
    EXPECT_EQ(names(german[1]), (Names{"Bediener angemeldet", "Produktion", ""}));

    EXPECT_TRUE(shift.answers("clear x --yes").empty()) << "after quit";
    const json confirmed = shift.answers("confirm 2").at(0);
    EXPECT_EQ(confirmed["target"], "Bottling");
    EXPECT_EQ(confirmed["text"], english[0]["text"]);
    const auto notified = shift.calls("notify_alarm");
    ASSERT_EQ(notified.size(), 1u);
    EXPECT_EQ(notified[0]["alarm"]["id"], english[0]["id"]);
    EXPECT_EQ(notified[0]["alarm"]["confirmationState"], 3);
    EXPECT_EQ(target.list()["alarms"][0]["confirmation"], 3) << target.list();
    const json shown = shift.answers("show 2 de-DE").at(0);
    EXPECT_EQ(shown["state"], "active confirmed");
    const json& parameters = shown["event"]["alarm"]["parameters"];
    EXPECT_EQ(parameters["causeRemedy"][1]["remedy"], "Sensor reinigen");
    EXPECT_EQ(parameters["details"]["limit"]["comment"], "Aus dem Rezept");

    ASSERT_EQ(lists[1]["events"].size(), 1u) << "the active alarm stays";
    EXPECT_EQ(lists[1]["events"][0]["id"], english[0]["id"]);
    const auto changes = shift.calls("DATABASE_CHANGED"), connects = shift.calls("TARGET_SYSTEM_CONNECTED");
    ASSERT_EQ(std::pair(changes.size(), connects.size()), std::pair(std::size_t{1}, std::size_t{2}));
    EXPECT_LT(changes[0]["t"], connects[1]["t"]);
    EXPECT_LT(connects[1]["t"], shift.calls("reset_temporary_events")[0]["t"]);
}

TEST(Operator, DiagnosticsFollowLossAndReturn) {
    const TemporaryFolder folder;
    Target target(folder, "bottling", plant());
    target.run("raise process 1");
    target.run("message production 1");
    Shift shift(folder, target,
                "wait TARGET_SYSTEM_CONNECTED\nwait GETLOGGEDEVENTS_GETACTIVEALARMS\ndiagnostics\ntargets\nwait "
                "TARGET_SYSTEM_CONNECT_FAILED 30\ndiagnostics\n"
                "wait TARGET_SYSTEM_CONNECTED 30\nwait GETLOGGEDEVENTS_GETACTIVEALARMS\ndiagnostics\n");
    ASSERT_TRUE(eventually([&] { return shift.answers("targets").size() == 1; })) << shift.output();
    target.kill();
    ASSERT_TRUE(eventually([&] { return shift.answers("diagnostics").size() == 2; })) << shift.output();
    target.start();
    shift.stop(true);

    const json off{{"connectionState", "Disabled"}};
    const json good{{"connectionState", "Good"},  {"importedEventsCount", 2},        {"importedAlarmsCount", 1},
                    {"importedMessagesCount", 1}, {"importedInvalidAlarmsCount", 0}, {"activeAlarmsCount", 1},
                    {"cachedAlarmsCount", 1},     {"cachedInvalidAlarmsCount", 0},   {"cachedMessagesCount", 1}};
    const json lost{{"connectionState", "Not Connected"}, {"connectError", "ERR_TCP_CONN_REFUSED (0x9811001f)"}};
    const auto answers = shift.answers("diagnostics");
    ASSERT_EQ(answers.size(), 3u);
    const json* const bottling[]{&good, &lost, &good};
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_EQ(answers[i]["diagnostics"]["TARGET_SYSTEMS"], (json{{"Bottling", *bottling[i]}, {"Off", off}})) << i;
    EXPECT_EQ(shift.answers("targets")[0]["targets"], json{"Bottling"});
}

TEST(Operator, DemoRoundSucceeds) {
    const TemporaryFolder folder;
    Target bottling(folder, "bottling", demo("bottling.json"));
    Target packaging(folder, "packaging", demo("packaging.json"));
    const auto script = std::filesystem::path(ZO_SOURCE_DIR) / "demo" / "operator.txt";
    Server server(folder, demo("config.json"),
                  {{"5.12.82.40.1.1", bottling.address()}, {"5.12.82.41.1.1", packaging.address()}},
                  {"--script", script, "--language", "en-US"});
    server.stop(true);
    EXPECT_NE(server.output().find("Guard door D5 is open | Safety | Filler\n"), std::string::npos) << server.output();
    EXPECT_NE(server.output().find(": 防护门D5已打开 | 安全 | 灌装机\n"), std::string::npos);
    EXPECT_EQ(server.count("reset_temporary_events"), 3u) << "lost, back, and cleared";
}

TEST(Operator, TextsOfTargetsArePrintable) {
    for (const bool as_json : {false, true}) {
        const TemporaryFolder folder;
        json scenario = plant();
        json &production = scenario["classes"]["production"], &event = production["events"]["3"];
        const std::string hostile = "\x1b[2J\x1b]0;x\x07 \xC2\x9B"
                                    "31m \x7F\r\n\xE2\x80\xAE";
        production["name"] = event["text"] = scenario["sources"]["line"]["name"] = hostile;
        event["source"] = "line";
        Target target(folder, "bottling", scenario);
        target.run("message production 3");
        Shift shift(folder, target, "; \x1b[2J\nevents\nshow m1\n", as_json);
        shift.stop(true);
        const std::string output = shift.output();
        EXPECT_NE(output.find("31m"), std::string::npos) << output;
        EXPECT_TRUE(std::all_of(output.begin(), output.end(), [](char c) {
            return c == '\n' || static_cast<unsigned char>(c) >= 0x80 || (c >= ' ' && c < '\x7F');
        })) << output;
        EXPECT_EQ(output.find("\xC2\x9B"), std::string::npos) << output;
        EXPECT_EQ(output.find("\xE2\x80\xAE"), std::string::npos) << output;
    }
}

} // namespace
