// The whole road with the real programs: targets, link, stand-ins, product, server.
#include "tests/system/known_events.h"
#include "tests/system/programs.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace programs;
using namespace std::chrono_literals;

constexpr char net_id[] = "5.12.82.40.1.1";

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
    const auto told = server.calls();
    const auto first = [&](const char* name) {
        return std::ranges::find_if(told, [&](const json& call) { return call.value("name", "") == name; });
    };
    EXPECT_EQ(first("TARGET_SYSTEM_CONNECT_FAILED") + 1, first("RESET_TEMPORARY_EVENTS"))
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

TEST(Road, AMisbehavingTargetIsLostAndFoundAgain) {
    for (const char* verb : {"drop", "stall 3500"}) {
        SCOPED_TRACE(verb);
        const TemporaryFolder folder;
        Target target(folder, "bottling", quiet("bottling.json"));
        json config = config_of({{"Bottling", enabled(net_id)}});
        config["TIMEOUT"] = 500;
        Server server(folder, config, {{net_id, target.address()}});
        ASSERT_TRUE(server.waits_for("GETLOGGEDEVENTS_GETACTIVEALARMS"));
        std::this_thread::sleep_for(700ms);
        target.run(verb);
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
