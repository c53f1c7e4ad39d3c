// Targets that are killed and started again at any moment.
#include "tests/system/known_events.h"
#include "tests/system/live_server.h"
#include "tests/system/programs.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <random>
#include <thread>

namespace {

using namespace programs;
using std::chrono::milliseconds;

constexpr std::size_t limit = 150;

json crowded(const char* name) {
    json scenario = quiet(name);
    scenario["max_log"] = 400; // overflows now and then, which rebuilds the list, too
    return scenario;
}

class Kills : public testing::Test {
protected:
    int up_to(int most) { return std::uniform_int_distribution<int>(0, most)(random); }

    /// Something happens on the target. Not all of it is possible, since a kill swallows verbs.
    void live(Target& target) {
        static constexpr const char* verbs[] = {
            "message production 2", "raise process 1",   "raise process 2",     "clear process 1", "confirm process 1",
            "raise safety 1",       "confirm safety 1",  "reset safety 1",      "clear process 2", "reset process 1",
            "flood 7 production 3", "flood 3 process 3", "message production 1"};
        std::string lines;
        for (int count = up_to(12); count > 0; --count)
            lines += std::string(verbs[up_to(std::size(verbs) - 1)]) + "\n";
        target.send(lines);
    }

    /// All that both loggers hold is what the server shows, and what it would be listed anew.
    testing::AssertionResult agree() {
        std::multiset<Known> known;
        for (Target& target : targets) {
            target.settle(true);
            known.merge(known_to_logger(target.list(), limit));
        }
        testing::AssertionResult result = testing::AssertionSuccess();
        const bool in_time = eventually([&] {
            const json listing = server.listing();
            result = same(known_to_server(listing), known);
            return result && (result = same(contents(server.rows()), contents(listing)));
        });
        return in_time ? result : result << "\n" << server.last_words();
    }

    const std::uint64_t seed = length_of_soak("ZO_SOAK_SEED", std::random_device()());
    std::mt19937_64 random{seed};
    const TemporaryFolder folder;
    std::array<Target, 2> targets{Target(folder, "bottling", crowded("bottling.json")),
                                  Target(folder, "packaging", crowded("bottling.json"))};
    json config = [] {
        json targets_only = config_of({{"One", enabled("5.12.82.40.1.1")}, {"Two", enabled("5.12.82.41.1.1")}});
        targets_only["LIMIT_EVENT_COUNT"] = limit;
        return targets_only;
    }();
    LiveServer server{
        folder, config, {{"5.12.82.40.1.1", targets[0].address()}, {"5.12.82.41.1.1", targets[1].address()}}};
};

TEST_F(Kills, LeaveNoDifference) {
    const std::uint64_t wanted = length_of_soak("ZO_SOAK_KILLS", 5);
    std::printf("%llu kills, ZO_SOAK_SEED=%llu\n", static_cast<unsigned long long>(wanted),
                static_cast<unsigned long long>(seed));
    std::uint64_t kills = 0;
    while (kills < wanted) {
        SCOPED_TRACE(testing::Message() << kills << " kills, ZO_SOAK_SEED=" << seed);
        Target& target = targets[static_cast<std::size_t>(up_to(1))];
        live(targets[0]);
        live(targets[1]);
        // Once, or again while the server is just about to connect, to import, or to hear what comes after.
        do {
            std::this_thread::sleep_for(milliseconds(up_to(20)));
            target.kill();
            ++kills;
            if (up_to(3) == 0) std::this_thread::sleep_for(milliseconds(up_to(700))); // ticks find it away
            target.start();
            if (up_to(1) == 0) target.send("slow get_active_alarms 150\n");
            live(target);
            if (up_to(1) == 0) break;
            std::this_thread::sleep_for(milliseconds(up_to(600)));
        } while (kills < wanted);
        // What only the new process can have told.
        for (Target& each : targets)
            each.send("message production 1 batch=" + std::to_string(kills) + "\n");
        ASSERT_TRUE(agree());
        if (kills % 100 == 0) {
            std::printf("%llu kills without a difference, %zu resets\n", static_cast<unsigned long long>(kills),
                        server.said("reset"));
            std::fflush(stdout);
        }
    }
    std::printf("%llu kills without a difference: %zu imports, %zu failed connects, %zu errors reported\n",
                static_cast<unsigned long long>(kills), server.said("log GETLOGGEDEVENTS_GETACTIVEALARMS"),
                server.said("log TARGET_SYSTEM_CONNECT_FAILED"), server.said("log ZORVANE_EVENTLOGGER_ERROR"));
}

} // namespace
