// A target that is gone right after it sent its lists: its rows must not stay.
#include "tests/system/programs.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using namespace programs;

constexpr char net_id[] = "5.12.82.40.1.1";

TEST(LostTarget, LeavesNoRowsWhenItQuitsBehindItsLists) {
    constexpr int rounds = 20;
    const TemporaryFolder folder;
    Target target(folder, "bottling", quiet("bottling.json"));
    target.run("flood 3000 production 2"); // so that the import takes a while
    json config = config_of({{"Bottling", enabled(net_id)}});
    config["LIMIT_EVENT_COUNT"] = 4000;
    Server server(folder, config, {{net_id, target.address()}});
    ASSERT_TRUE(server.waits_for("GETLOGGEDEVENTS_GETACTIVEALARMS"));
    const auto number_of_connects = [&] { return server.count("TARGET_SYSTEM_CONNECTED"); };
    // The failed connects and the resets since the last good connect.
    const auto calls_since_connect = [&] {
        std::vector<std::string> names;
        for (const json& call : server.calls()) {
            const std::string name = call.value("name", "");
            if (name == "TARGET_SYSTEM_CONNECTED") names.clear();
            if (name == "TARGET_SYSTEM_CONNECT_FAILED") names.emplace_back("away");
            if (call["call"] == "reset_temporary_events") names.emplace_back("reset");
        }
        return names;
    };
    for (int round = 1; round <= rounds && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        const std::size_t connects = number_of_connects();
        if (round > 1) target.start();
        // Dropped, in case that the server has connected already.
        target.send("after get_active_alarms quit\ndrop\n");
        ASSERT_TRUE(eventually([&] { return number_of_connects() > connects; }));
        ASSERT_TRUE(eventually([&] { return std::ranges::count(calls_since_connect(), "away") >= 2; }));
        const auto calls = calls_since_connect();
        EXPECT_EQ(*(std::ranges::find(calls, "away") + 1), "reset") << "the first tick that finds it away";
    }
    const json final = server.stop();
    EXPECT_TRUE(final["rows"].empty()) << final["rows"].size() << " rows stay";
    EXPECT_TRUE(final["listing"].empty());
}

} // namespace
