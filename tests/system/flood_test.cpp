// More events than the server keeps, as fast as the link carries them.
#include "tests/system/known_events.h"
#include "tests/system/live_server.h"
#include "tests/system/programs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>

namespace {

using namespace programs;

constexpr std::size_t limit = 1000;

struct Case {
    const char* name;
    std::size_t max_log; // of each target
    bool imports;        // the log overflows, upon which the server connects anew
};

class Flood : public testing::TestWithParam<Case> {};

TEST_P(Flood, LosesNothing) {
    const std::uint64_t events = length_of_soak("ZO_SOAK_FLOOD", 2000);
    const TemporaryFolder folder;
    json scenario = quiet("bottling.json");
    scenario["max_log"] = GetParam().max_log;
    std::array<Target, 2> targets{Target(folder, "one", scenario, false), Target(folder, "two", scenario, false)};
    json config = config_of({{"One", enabled("5.12.82.40.1.1")}, {"Two", enabled("5.12.82.41.1.1")}});
    config["LIMIT_EVENT_COUNT"] = limit;
    LiveServer server(folder, config,
                      {{"5.12.82.40.1.1", targets[0].address()}, {"5.12.82.41.1.1", targets[1].address()}});
    const std::size_t at_first = server.rows().size();
    std::size_t active_at_first = 0;
    for (Target& target : targets)
        active_at_first += target.list()["alarms"].size();
    const std::size_t imports_at_first = server.said("log GETLOGGEDEVENTS_GETACTIVEALARMS");

    // Alarms that stay, older than all the rest, and one more among them all.
    constexpr std::uint64_t rounds = 10;
    const std::string messages = "flood " + std::to_string(events / rounds / 4) + " production 2\n";
    const std::string alarms = "flood " + std::to_string(events / rounds / 4) + " process 2\n";
    for (Target& target : targets)
        target.send("raise process 1\nraise safety 1\n");
    for (std::uint64_t round = 0; round < rounds; ++round) {
        if (round == rounds / 2)
            for (Target& target : targets)
                target.send("raise process 1 source=washer\n");
        for (Target& target : targets)
            target.send(messages + alarms);
    }
    std::multiset<Known> known, active;
    for (Target& target : targets) {
        target.settle();
        const json list = target.list();
        known.merge(known_to_logger(list, limit));
        active.merge(known_to_logger({{"log", json::array()}, {"alarms", list["alarms"]}}));
    }
    const auto kept = [&] { return known_to_server(server.listing()); };
    EXPECT_TRUE(eventually([&] { return kept() == known; }, std::chrono::seconds(60))) << server.last_words();
    EXPECT_TRUE(same(kept(), known));
    EXPECT_EQ(active.size(), active_at_first + 6);
    EXPECT_TRUE(std::ranges::includes(kept(), active)) << "an active alarm is lost";
    // The server's list is what it was listed, and told since, without what was forgotten.
    EXPECT_TRUE(eventually([&] { return contents(server.rows()) == contents(server.listing()); }));
    EXPECT_TRUE(same(contents(server.rows()), contents(server.listing())));

    const std::size_t told = server.said("message") + server.said("raised");
    const std::size_t imports = server.said("log GETLOGGEDEVENTS_GETACTIVEALARMS") - imports_at_first;
    std::printf("%zu at first + %zu told - %zu forgotten, %zu imports: %zu listed\n", at_first, told,
                server.said("forgotten"), imports, kept().size());
    EXPECT_EQ(imports > 0, GetParam().imports);
    if (imports != 0) return;
    EXPECT_EQ(told, events / rounds / 4 * 4 * rounds + 6);
    EXPECT_EQ(at_first + told - server.said("forgotten"), kept().size());
}

INSTANTIATE_TEST_SUITE_P(, Flood, testing::Values(Case{"Told", 100000, false}, Case{"ImportsBetween", 600, true}),
                         [](const auto& one) { return one.param.name; });

} // namespace
