// Targets that do not answer, flood the server with events, or are killed at any moment.
#include "extension/host/listeners.h"
#include "extension/host/value.h"
#include "server/configuration.h"
#include "server/event_json.h"
#include "server/event_list.h"
#include "server/extension_library.h"
#include "server/host.h"
#include "server/trace.h"
#include "tests/system/known_events.h"
#include "tests/system/programs.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <iostream>
#include <map>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <thread>

namespace {

using namespace programs;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// The server inside this process, with the product loaded as the program loads it, so that a test can read its list at
/// any time. Only one may exist at a time.
class LiveServer {
public:
    /// A failure of the extension's `init` fails the test.
    LiveServer(const TemporaryFolder& folder, const json& config, const Routes& routes) {
        write_file(folder / "config.json", config.dump());
        write_routes(folder / "routes.json", routes);
        setenv("ZO_ROUTES", (folder / "routes.json").c_str(), 1);
        // The product stays mapped, so that the report of a sanitizer can name its functions.
        if (void* const product = dlopen(ZO_PRODUCT, RTLD_NOW | RTLD_NODELETE)) dlclose(product);
        configuration_.emplace(folder / "config.json");
        host_.emplace(*configuration_, events_, trace_, [this](const std::string& line) { print(line); });
        library_.emplace(ZO_PRODUCT, &*host_);
        EXPECT_EQ(library_->extension().init(host_->context()).result(), ZoHmiSrv::HMI_SUCCESS);
        host_->relist("listed");
    }
    ~LiveServer() { stop(); }

    /// Returns the server's list, and a fresh listing of the extension.
    json rows() const {
        json rows = json::array();
        for (const server::EventRow& row : events_.rows())
            rows.push_back(json(server::event_json(row.event)));
        return rows;
    }
    json listing() {
        ZoHmiSrv::Value events;
        EXPECT_TRUE(host_->list_events(events));
        return events.type() == ZoHmiSrv::ValueType::Vector ? json(server::value_json(events)) : json::array();
    }
    /// Returns the number of lines with these first words: "message", "raised", "forgotten", "reset", "log NAME", ...
    std::size_t lines(const std::string& first_words) const {
        const std::lock_guard lock(mutex_);
        const auto found = counts_.find(first_words);
        return found != counts_.end() ? found->second : 0;
    }
    /// Returns the last lines, for a failing test.
    std::string last_lines() const {
        const std::lock_guard lock(mutex_);
        std::string words;
        for (std::size_t i = lines_.size() > 40 ? lines_.size() - 40 : 0; i < lines_.size(); ++i)
            words += lines_[i] + "\n";
        return words;
    }
    /// Ends the extension and unloads it.
    void stop() {
        if (!library_) return;
        host_->shut_down();
        library_.reset();
    }

private:
    void print(const std::string& line) {
        const std::lock_guard lock(mutex_);
        std::size_t end = line.find_first_of(" ,");
        if (line.starts_with("log ")) end = line.find(' ', end + 1);
        ++counts_[line.substr(0, end)];
        // The stream of events would drown the rest.
        if (line.starts_with("message ") || line.starts_with("forgotten ")) return;
        lines_.push_back(line);
        if (lines_.size() > 1000) lines_.erase(lines_.begin(), lines_.begin() + 500);
    }

    mutable std::mutex mutex_;
    std::map<std::string, std::size_t> counts_; // by first word, for log lines by the first two
    std::vector<std::string> lines_;
    server::Trace trace_{{}};
    server::EventList events_;
    std::optional<server::Configuration> configuration_;
    std::optional<server::Host> host_;
    std::optional<server::ExtensionLibrary> library_;
};

/// Two quiet plants and a server with both.
struct Plants {
    Plants(std::size_t max_log, std::size_t max_events, bool with_state)
        : limit(max_events), targets{Target(folder, "one", scenario(max_log), with_state),
                                     Target(folder, "two", scenario(max_log), with_state)} {}

    static json scenario(std::size_t max_log) {
        json scenario = quiet("bottling.json");
        scenario["max_log"] = max_log;
        return scenario;
    }
    json config() const {
        json config = config_of({{"One", enabled("5.12.82.40.1.1")}, {"Two", enabled("5.12.82.41.1.1")}});
        config["LIMIT_EVENT_COUNT"] = limit;
        return config;
    }
    void send(const std::string& verbs) {
        for (Target& target : targets)
            target.send(verbs);
    }
    /// Returns the number of active alarms of both loggers.
    std::size_t active() { return targets[0].list()["alarms"].size() + targets[1].list()["alarms"].size(); }
    std::size_t imports() const { return server.lines("log GETLOGGEDEVENTS_GETACTIVEALARMS"); }
    /// Returns whether the server's list and a fresh listing agree with both loggers. With `any_answer` verbs may fail.
    testing::AssertionResult agree(bool any_answer = false, std::chrono::seconds time = 20s) {
        std::multiset<Known> known;
        for (Target& target : targets) {
            target.settle(any_answer);
            known.merge(known_to_logger(target.list(), limit));
        }
        testing::AssertionResult result = testing::AssertionSuccess();
        const bool in_time = eventually(
            [&] {
                const json listing = server.listing();
                result = same(known_to_server(listing), known);
                return result && (result = same(contents(server.rows()), contents(listing)));
            },
            time);
        return in_time ? result : result << "\n" << server.last_lines();
    }

    const std::size_t limit;
    const TemporaryFolder folder;
    std::array<Target, 2> targets;
    LiveServer server{
        folder, config(), {{"5.12.82.40.1.1", targets[0].address()}, {"5.12.82.41.1.1", targets[1].address()}}};
};

template <class Work>
double seconds_of(Work&& work) {
    const auto start = Clock::now();
    work();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

TEST(Away, StalledTargetDelaysNoOther) {
    Plants plants(5000, 1000, true);
    auto& [stalled, healthy] = plants.targets;
    LiveServer& server = plants.server;

    // Stopped with its connection up, then before it could answer a new one, when every tick waits for it.
    for (const bool killed : {false, true}) {
        SCOPED_TRACE(killed);
        if (killed) {
            stalled.kill();
            stalled.start();
        }
        stalled.signal(SIGSTOP);
        const std::size_t messages = server.lines("message");
        for (std::size_t i = 1; i <= 10; ++i) {
            healthy.run("message production 2");
            EXPECT_TRUE(eventually([&] { return server.lines("message") == messages + i; }, 2s));
            EXPECT_LT(seconds_of([&] { server.listing(); }), 2.0);
            std::this_thread::sleep_for(200ms);
        }
        // Meanwhile the other is lost and comes back.
        const std::size_t imports = plants.imports();
        healthy.run("drop");
        EXPECT_TRUE(eventually([&] { return plants.imports() > imports; }));
        stalled.signal(SIGCONT);
        stalled.run("message production 1");
        EXPECT_TRUE(plants.agree());
    }
}

TEST(Away, ShutdownWaitsForOneTimeout) {
    constexpr int targets = 16;
    constexpr double timeout = 2;              // seconds
    for (const bool accepts : {false, true}) { // connections, without an answer
        SCOPED_TRACE(accepts);
        const TemporaryFolder folder;
        Target target(folder, "one", quiet("bottling.json"));
        json entries = json::object();
        Routes routes;
        for (int i = 0; i < targets; ++i) {
            const std::string net_id = "5.12.82." + std::to_string(40 + i) + ".1.1";
            entries["Target" + std::to_string(i)] = enabled(net_id);
            routes.emplace_back(net_id, target.address());
        }
        json config = config_of(entries);
        config["TIMEOUT"] = timeout * 1000;
        LiveServer server(folder, config, routes);
        target.kill();
        if (accepts) {
            target.start();
            target.signal(SIGSTOP);
        }
        EXPECT_TRUE(eventually([&] { return server.lines("log TARGET_SYSTEM_CONNECT_FAILED") >= 2; }));
        std::this_thread::sleep_for(700ms); // into the next attempt
        const double seconds = seconds_of([&] { server.stop(); });
        EXPECT_LE(seconds, timeout + 1);
    }
}

struct Case {
    const char* name;
    std::size_t max_log; // of each target
    bool imports;        // the log overflows, and then the server reconnects
};

class Flood : public testing::TestWithParam<Case> {};

TEST_P(Flood, LosesNothing) {
    const std::uint64_t events = length_of_soak("ZO_SOAK_FLOOD", 2000);
    Plants plants(GetParam().max_log, 1000, false);
    LiveServer& server = plants.server;
    const std::size_t at_first = server.rows().size(), active_at_first = plants.active();
    const std::size_t imports_at_first = plants.imports();

    // Active alarms that are older than all the rest, and one in the middle.
    constexpr std::uint64_t rounds = 10;
    const std::string messages = "flood " + std::to_string(events / rounds / 4) + " production 2\n";
    const std::string alarms = "flood " + std::to_string(events / rounds / 4) + " process 2\n";
    plants.send("raise process 1\nraise safety 1\n");
    for (std::uint64_t round = 0; round < rounds; ++round) {
        if (round == rounds / 2) plants.send("raise process 1 source=washer\n");
        plants.send(messages + alarms);
    }
    EXPECT_TRUE(plants.agree(false, 60s));
    EXPECT_EQ(plants.active(), active_at_first + 6);

    const std::size_t live = server.lines("message") + server.lines("raised");
    const std::size_t imports = plants.imports() - imports_at_first;
    EXPECT_EQ(imports > 0, GetParam().imports);
    if (imports != 0) return;
    EXPECT_EQ(live, events / rounds / 4 * 4 * rounds + 6);
    EXPECT_EQ(at_first + live - server.lines("forgotten"), server.listing().size());
}

INSTANTIATE_TEST_SUITE_P(, Flood, testing::Values(Case{"Live", 100000, false}, Case{"ImportsBetween", 600, true}),
                         [](const auto& one) { return one.param.name; });

class Kills : public testing::Test {
protected:
    int up_to(int max) { return std::uniform_int_distribution<int>(0, max)(random); }

    /// Sends some verbs to the target. Some fail, since a kill loses verbs.
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

    const std::uint64_t seed = length_of_soak("ZO_SOAK_SEED", std::random_device()());
    std::mt19937_64 random{seed};
    Plants plants{400, 150, true}; // the log overflows now and then, which rebuilds the list
    std::array<Target, 2>& targets = plants.targets;
};

TEST_F(Kills, LeaveNoDifference) {
    const std::uint64_t wanted = length_of_soak("ZO_SOAK_KILLS", 5);
    std::cout << wanted << " kills, ZO_SOAK_SEED=" << seed << "\n";
    std::uint64_t kills = 0;
    while (kills < wanted) {
        SCOPED_TRACE(testing::Message() << kills << " kills, ZO_SOAK_SEED=" << seed);
        Target& target = targets[static_cast<std::size_t>(up_to(1))];
        live(targets[0]);
        live(targets[1]);
        // Once, or again while the server is about to connect, to import, or to get live events.
        do {
            std::this_thread::sleep_for(up_to(20) * 1ms);
            target.kill();
            ++kills;
            if (up_to(3) == 0) std::this_thread::sleep_for(up_to(700) * 1ms); // ticks find it away
            target.start();
            if (up_to(1) == 0) target.send("slow get_active_alarms 150\n");
            live(target);
            if (up_to(1) == 0) break;
            std::this_thread::sleep_for(up_to(600) * 1ms);
        } while (kills < wanted);
        // Only the new process can send this.
        plants.send("message production 1 batch=" + std::to_string(kills) + "\n");
        ASSERT_TRUE(plants.agree(true));
        if (kills % 100 == 0) std::cout << kills << " kills without a difference" << std::endl;
    }
    std::cout << kills << " kills without a difference: " << plants.imports() << " imports, "
              << plants.server.lines("log TARGET_SYSTEM_CONNECT_FAILED") << " failed connects, "
              << plants.server.lines("log ZORVANE_EVENTLOGGER_ERROR") << " errors reported\n";
}

} // namespace
