// Targets that do not answer: the others and the end of the server must not wait for them.
#include "tests/system/known_events.h"
#include "tests/system/live_server.h"
#include "tests/system/programs.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <thread>

namespace {

using namespace programs;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

template <class Work>
double seconds_of(Work&& work) {
    const auto start = Clock::now();
    work();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

TEST(Away, AStalledTargetHoldsUpNoOther) {
    const TemporaryFolder folder;
    Target stalled(folder, "one", quiet("bottling.json"));
    Target healthy(folder, "two", quiet("bottling.json"));
    json config = config_of({{"One", enabled("5.12.82.40.1.1")}, {"Two", enabled("5.12.82.41.1.1")}});
    config["TIMEOUT"] = 3000;
    LiveServer server(folder, config, {{"5.12.82.40.1.1", stalled.address()}, {"5.12.82.41.1.1", healthy.address()}});

    // Stopped with its connection up, and stopped before it could answer a new one, when every tick waits for it.
    for (const bool killed : {false, true}) {
        SCOPED_TRACE(killed);
        if (killed) {
            stalled.kill();
            stalled.start();
        }
        stalled.signal(SIGSTOP);
        const std::size_t messages = server.said("message");
        for (std::size_t i = 1; i <= 10; ++i) {
            healthy.run("message production 2");
            EXPECT_TRUE(eventually([&] { return server.said("message") == messages + i; }, 2s));
            EXPECT_LT(seconds_of([&] { server.listing(); }), 2.0);
            std::this_thread::sleep_for(200ms);
        }
        // The other is lost and found meanwhile.
        const std::size_t imports = server.said("log GETLOGGEDEVENTS_GETACTIVEALARMS");
        healthy.run("drop");
        EXPECT_TRUE(eventually([&] { return server.said("log GETLOGGEDEVENTS_GETACTIVEALARMS") > imports; }, 20s));
        stalled.signal(SIGCONT);
        stalled.run("message production 1");
        auto known = known_to_logger(stalled.list());
        known.merge(known_to_logger(healthy.list()));
        EXPECT_TRUE(eventually([&] { return known_to_server(server.rows()) == known; })) << server.last_words();
    }
}

TEST(Away, AShutdownWaitsForOneTimeOutOnly) {
    constexpr int targets = 16;
    constexpr double timeout = 2; // seconds
    struct Case {
        const char* name;
        bool accepts; // the connection, and then answers nothing
    };
    for (const Case& one : {Case{"refuses", false}, Case{"answers nothing", true}}) {
        SCOPED_TRACE(one.name);
        const TemporaryFolder folder;
        Target target(folder, "one", quiet("bottling.json"));
        json entries = json::object();
        std::vector<std::pair<std::string, std::string>> routes;
        for (int i = 0; i < targets; ++i) {
            const std::string net_id = "5.12.82." + std::to_string(40 + i) + ".1.1";
            entries["Target" + std::to_string(i)] = enabled(net_id);
            routes.emplace_back(net_id, target.address());
        }
        json config = config_of(entries);
        config["TIMEOUT"] = timeout * 1000;
        LiveServer server(folder, config, routes);
        target.kill();
        if (one.accepts) {
            target.start();
            target.signal(SIGSTOP);
        }
        EXPECT_TRUE(eventually([&] { return server.said("log TARGET_SYSTEM_CONNECT_FAILED") >= 2; }));
        std::this_thread::sleep_for(700ms); // into the next attempt
        const double seconds = seconds_of([&] { server.stop(); });
        std::printf("shutdown with %d targets away (%s): %.2f s\n", targets, one.name, seconds);
        EXPECT_LE(seconds, timeout + 1);
    }
}

} // namespace
