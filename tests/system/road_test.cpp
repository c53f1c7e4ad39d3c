// The whole road with the real programs: targets, link, stand-ins, product, server.
#include "tests/system/known_events.h"
#include "tests/system/programs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace {

using namespace programs;
using namespace std::chrono_literals;

constexpr char net_id[] = "5.12.82.40.1.1";

std::vector<std::string> names_of(const std::vector<json>& calls) {
    std::vector<std::string> names;
    for (const json& call : calls)
        names.push_back(call["call"] == "send_message" ? call["name"] : call["call"]);
    return names;
}

TEST(Road, TheDemoShowsTheWholeLifeOfItsEvents) {
    const TemporaryFolder folder;
    Target bottling(folder, "bottling", demo("bottling.json"));
    Target packaging(folder, "packaging", demo("packaging.json"));
    Server server(folder, demo("config.json"),
                  {{"5.12.82.40.1.1", bottling.address()}, {"5.12.82.41.1.1", packaging.address()}},
                  {"--seconds", "12"});
    const json final = server.stop(true);

    for (const char* target : {"Bottling", "Packaging"}) {
        SCOPED_TRACE(target);
        const auto calls = server.calls();
        const auto tells = [&](const char* name) {
            return std::find_if(calls.begin(), calls.end(), [&](const json& call) {
                return call.value("name", "") == name && call["parameters"].value("0", "") == target;
            });
        };
        const auto connected = tells("TARGET_SYSTEM_CONNECTED");
        const auto imported = tells("GETLOGGEDEVENTS_GETACTIVEALARMS");
        ASSERT_NE(connected, calls.end());
        ASSERT_NE(imported, calls.end());
        EXPECT_LT(connected, imported);
        EXPECT_GT((*imported)["parameters"]["2"], 5) << "no history";
    }
    std::set<int> modes;
    for (const json& call : server.calls("notify_alarm"))
        modes.insert(call["mode"].get<int>());
    EXPECT_EQ(modes, (std::set<int>{0, 1, 2}));
    const auto messages = server.calls("ZOEVENTLOGGER_MESSAGE");
    EXPECT_FALSE(messages.empty());
    for (const json& message : messages)
        EXPECT_TRUE(message["is_event"].get<bool>());
    EXPECT_TRUE(same(contents(final["rows"]), contents(final["listing"])));
    EXPECT_NE(server.output().find("raised #"), std::string::npos);
}

TEST(Road, ATargetIsKilledAndComesBack) {
    const TemporaryFolder folder;
    Target target(folder, "bottling", quiet("bottling.json"));
    Server server(folder, config_of({{"Bottling", enabled(net_id)}}), {{net_id, target.address()}});
    ASSERT_TRUE(server.waits_for("GETLOGGEDEVENTS_GETACTIVEALARMS"));
    target.run("raise process 1 tank=T7");
    target.run("message production 2");
    ASSERT_TRUE(server.waits_for("notify_alarm"));
    ASSERT_TRUE(server.waits_for("ZOEVENTLOGGER_MESSAGE"));
    const json alarm = server.calls("notify_alarm")[0]["alarm"];
    std::this_thread::sleep_for(1200ms); // more than two ticks: the state is known as connected
    EXPECT_EQ(server.count("RESET_TEMPORARY_EVENTS"), 0u);

    target.kill();
    ASSERT_TRUE(server.waits_for("TARGET_SYSTEM_CONNECT_FAILED", 4));
    EXPECT_EQ(server.count("RESET_TEMPORARY_EVENTS"), 1u);
    EXPECT_EQ(server.count("reset_temporary_events"), 1u);
    auto told = names_of(server.calls());
    const auto failed = std::find(told.begin(), told.end(), "TARGET_SYSTEM_CONNECT_FAILED");
    EXPECT_EQ(failed + 1, std::find(told.begin(), told.end(), "RESET_TEMPORARY_EVENTS"))
        << "the tick that finds the loss tries once and then makes the server start over";

    target.start();
    ASSERT_TRUE(server.waits_for("TARGET_SYSTEM_CONNECTED", 2));
    ASSERT_TRUE(server.waits_for("reset_temporary_events", 2));
    target.run("raise process 2");
    ASSERT_TRUE(eventually([&] { return server.count("notify_alarm") >= 2; }));
    EXPECT_EQ(server.count("RESET_TEMPORARY_EVENTS"), 2u);

    const json list = target.list();
    const json final = server.stop();
    const auto kept = std::find_if(final["rows"].begin(), final["rows"].end(), [&](const json& row) {
        return row.contains("alarm") && row["alarm"]["timeRaised"] == alarm["timeRaised"];
    });
    ASSERT_NE(kept, final["rows"].end());
    EXPECT_EQ((*kept)["alarm"]["id"], alarm["id"]) << "still active, and so the same alarm";
    EXPECT_TRUE(same(known_to_server(final["rows"]), known_to_logger(list)));
    EXPECT_TRUE(same(contents(final["rows"]), contents(final["listing"])));
}

TEST(Road, WhatHappensDuringAnImportIsNeitherLostNorDoubled) {
    const TemporaryFolder folder;
    Target target(folder, "bottling", quiet("bottling.json"));
    // Each comes between the logger's two lists: not in the first, and perhaps in the second.
    for (const char* verb : {"raise process 1", "message production 1", "raise process 2", "clear process 2"})
        target.run(std::string("during get_active_alarms ") + verb);
    target.run("after get_logged_events message production 2");
    Server server(folder, config_of({{"Bottling", enabled(net_id)}}), {{net_id, target.address()}});
    ASSERT_TRUE(server.waits_for("GETLOGGEDEVENTS_GETACTIVEALARMS"));
    target.run("message production 3");
    ASSERT_TRUE(server.waits_for("ZOEVENTLOGGER_MESSAGE"));
    const json list = target.list();
    const json final = server.stop();
    EXPECT_TRUE(same(known_to_server(final["listing"]), known_to_logger(list)));
    EXPECT_TRUE(same(known_to_server(final["rows"]), known_to_logger(list)));
}

TEST(Road, ADatabaseChangeRebuildsTheList) {
    const TemporaryFolder folder;
    Target target(folder, "bottling", quiet("bottling.json"));
    Server server(folder, config_of({{"Bottling", enabled(net_id)}}), {{net_id, target.address()}});
    ASSERT_TRUE(server.waits_for("GETLOGGEDEVENTS_GETACTIVEALARMS"));
    std::this_thread::sleep_for(700ms); // one tick
    target.run("clear-log");
    ASSERT_TRUE(server.waits_for("DATABASE_CHANGED"));
    ASSERT_TRUE(server.waits_for("reset_temporary_events"));
    EXPECT_EQ(server.count("TARGET_SYSTEM_CONNECTED"), 2u);
    EXPECT_EQ(server.calls("DATABASE_CHANGED")[0]["parameters"]["1"], "ClearLoggedEvents");
    const json list = target.list();
    const json final = server.stop();
    EXPECT_TRUE(same(known_to_server(final["rows"]), known_to_logger(list)));
}

TEST(Road, AMisbehavingTargetIsLostAndFoundAgain) {
    struct Row {
        const char* verb;
        bool heals; // by itself, once the next connect succeeds
    };
    for (const Row& row : {Row{"drop", true}, Row{"stall 3500", true}}) {
        SCOPED_TRACE(row.verb);
        const TemporaryFolder folder;
        Target target(folder, "bottling", quiet("bottling.json"));
        json config = config_of({{"Bottling", enabled(net_id)}});
        config["TIMEOUT"] = 500;
        Server server(folder, config, {{net_id, target.address()}});
        ASSERT_TRUE(server.waits_for("GETLOGGEDEVENTS_GETACTIVEALARMS"));
        std::this_thread::sleep_for(700ms);
        target.run(row.verb);
        ASSERT_TRUE(server.waits_for("TARGET_SYSTEM_CONNECTED", 2));
        ASSERT_TRUE(eventually([&] { return server.count("GETLOGGEDEVENTS_GETACTIVEALARMS") >= 2; }));
        target.run("message production 3");
        ASSERT_TRUE(server.waits_for("ZOEVENTLOGGER_MESSAGE"));
        const json final = server.stop();
        EXPECT_TRUE(same(known_to_server(final["rows"]), known_to_logger(target.list())));
    }
}

TEST(Road, AFailedImportIsReportedAndTheNextConnectMendsIt) {
    const TemporaryFolder folder;
    Target target(folder, "bottling", quiet("bottling.json"));
    target.run("fail get_active_alarms 0x98110745");
    Server server(folder, config_of({{"Bottling", enabled(net_id)}}), {{net_id, target.address()}});
    ASSERT_TRUE(server.waits_for("ZORVANE_EVENTLOGGER_ERROR"));
    EXPECT_EQ(server.count("GETLOGGEDEVENTS_GETACTIVEALARMS"), 0u);
    std::this_thread::sleep_for(700ms);
    target.run("drop");
    ASSERT_TRUE(server.waits_for("GETLOGGEDEVENTS_GETACTIVEALARMS"));
    ASSERT_TRUE(server.waits_for("reset_temporary_events"));
    const json final = server.stop();
    EXPECT_TRUE(same(known_to_server(final["rows"]), known_to_logger(target.list())));
}

TEST(Road, ChangesOfTheConfigurationTakeEffectAtOnce) {
    const TemporaryFolder folder;
    Target bottling(folder, "bottling", quiet("bottling.json"));
    Target packaging(folder, "packaging", quiet("packaging.json"));
    Server server(folder, config_of({{"One", enabled(net_id)}}),
                  {{net_id, bottling.address()}, {"5.12.82.41.1.1", packaging.address()}});
    ASSERT_TRUE(server.waits_for("GETLOGGEDEVENTS_GETACTIVEALARMS"));

    server.change_config(config_of({{"One", enabled(net_id)}, {"Two", enabled("5.12.82.41.1.1")}}));
    ASSERT_TRUE(server.waits_for("reset_temporary_events", 1));
    EXPECT_EQ(server.count("TARGET_SYSTEM_CONNECTED"), 2u) << "the first target is left alone";

    server.change_config(config_of({{"Two", enabled("5.12.82.41.1.1")}}));
    ASSERT_TRUE(server.waits_for("reset_temporary_events", 2));
    const json final = server.stop();
    EXPECT_TRUE(same(known_to_server(final["rows"]), known_to_logger(packaging.list())));
}

} // namespace
