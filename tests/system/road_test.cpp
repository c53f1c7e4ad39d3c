// The whole road with the real programs: targets, link, stand-ins, product, server.
#include "tests/system/known_events.h"
#include "tests/system/programs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

namespace {

using namespace programs;
using namespace std::chrono_literals;

constexpr char net_id[] = "5.12.82.40.1.1";

/// A target in which nothing happens but what the test says, and, once started, the server that follows it.
class Road : public testing::Test {
protected:
    void start(int timeout = 3000) {
        json config = config_of({{"Bottling", enabled(net_id)}});
        config["TIMEOUT"] = timeout;
        server.emplace(folder, config, std::vector{std::pair<std::string, std::string>(net_id, target.address())});
    }
    /// Ends the server; what it held and what it would be listed anew are what the logger holds.
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

TEST_F(Road, ATargetIsKilledAndComesBack) {
    start();
    ASSERT_TRUE(server->waits_for("GETLOGGEDEVENTS_GETACTIVEALARMS"));
    target.run("raise process 1 tank=T7");
    target.run("message production 2");
    ASSERT_TRUE(server->waits_for("notify_alarm"));
    ASSERT_TRUE(server->waits_for("ZOEVENTLOGGER_MESSAGE"));
    const json alarm = server->calls("notify_alarm")[0]["alarm"];
    std::this_thread::sleep_for(1200ms); // more than two ticks: the state is known as connected
    EXPECT_EQ(server->count("RESET_TEMPORARY_EVENTS"), 0u);

    target.kill();
    ASSERT_TRUE(server->waits_for("TARGET_SYSTEM_CONNECT_FAILED", 4));
    EXPECT_EQ(server->count("RESET_TEMPORARY_EVENTS"), 1u);
    EXPECT_EQ(server->count("reset_temporary_events"), 1u);
    const auto told = server->calls();
    const auto first = [&](const char* name) {
        return std::ranges::find_if(told, [&](const json& call) { return call.value("name", "") == name; });
    };
    EXPECT_EQ(first("TARGET_SYSTEM_CONNECT_FAILED") + 1, first("RESET_TEMPORARY_EVENTS"))
        << "the tick that finds the loss tries once and then makes the server start over";

    target.start();
    ASSERT_TRUE(server->waits_for("TARGET_SYSTEM_CONNECTED", 2));
    ASSERT_TRUE(server->waits_for("reset_temporary_events", 2));
    target.run("raise process 2");
    ASSERT_TRUE(eventually([&] { return server->count("notify_alarm") >= 2; }));
    EXPECT_EQ(server->count("RESET_TEMPORARY_EVENTS"), 2u);

    const json final = expect_agreement();
    const auto kept = std::find_if(final["rows"].begin(), final["rows"].end(), [&](const json& row) {
        return row.contains("alarm") && row["alarm"]["timeRaised"] == alarm["timeRaised"];
    });
    ASSERT_NE(kept, final["rows"].end());
    EXPECT_EQ((*kept)["alarm"]["id"], alarm["id"]) << "still active, and so the same alarm";
}

TEST_F(Road, WhatHappensDuringAnImportIsNeitherLostNorDoubled) {
    // Each comes between the logger's two lists: not in the first, and perhaps in the second.
    for (const char* verb : {"raise process 1", "message production 1", "raise process 2", "clear process 2"})
        target.run(std::string("during get_active_alarms ") + verb);
    target.run("after get_logged_events message production 2");
    start();
    ASSERT_TRUE(server->waits_for("GETLOGGEDEVENTS_GETACTIVEALARMS"));
    target.run("message production 3");
    ASSERT_TRUE(server->waits_for("ZOEVENTLOGGER_MESSAGE"));
    expect_agreement();
}

class MisbehavingTarget : public Road, public testing::WithParamInterface<const char*> {};

TEST_P(MisbehavingTarget, IsLostAndFoundAgain) {
    start(500);
    ASSERT_TRUE(server->waits_for("GETLOGGEDEVENTS_GETACTIVEALARMS"));
    std::this_thread::sleep_for(700ms);
    target.run(GetParam());
    ASSERT_TRUE(server->waits_for("TARGET_SYSTEM_CONNECTED", 2));
    ASSERT_TRUE(server->waits_for("GETLOGGEDEVENTS_GETACTIVEALARMS", 2));
    target.run("message production 3");
    ASSERT_TRUE(server->waits_for("ZOEVENTLOGGER_MESSAGE"));
    expect_agreement();
}

INSTANTIATE_TEST_SUITE_P(, MisbehavingTarget, testing::Values("drop", "stall 3500"));

TEST_F(Road, AFailedImportIsReportedAndTheNextConnectMendsIt) {
    target.run("fail get_active_alarms 0x98110745");
    start();
    ASSERT_TRUE(server->waits_for("ZORVANE_EVENTLOGGER_ERROR"));
    EXPECT_EQ(server->count("GETLOGGEDEVENTS_GETACTIVEALARMS"), 0u);
    std::this_thread::sleep_for(700ms);
    target.run("drop");
    ASSERT_TRUE(server->waits_for("GETLOGGEDEVENTS_GETACTIVEALARMS"));
    ASSERT_TRUE(server->waits_for("reset_temporary_events"));
    expect_agreement();
}

TEST(Configuration, ChangesOfTheConfigurationTakeEffectAtOnce) {
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
