// A steady load for a long time with the real programs.
#include "tests/system/programs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <map>
#include <mutex>
#include <numeric>
#include <sys/stat.h>
#include <thread>

namespace {

using namespace programs;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto beat = 20ms;
constexpr std::uint64_t events_each_beat = 10; // of each target: 500 a second
constexpr std::uint64_t alarm_each = 20;       // one in so many events is an alarm
constexpr std::uint64_t alarms = 10;
constexpr std::uint64_t alarms_live = 5;

json scenario() {
    json events = {{"100",
                    {{"kind", "message"},
                     {"text", "Part {part} done"},
                     {"arguments", json::array({{{"name", "part"}, {"type", "text"}, {"value", "P-1"}}})}}}};
    for (std::uint64_t alarm = 1; alarm <= alarms; ++alarm)
        events[std::to_string(alarm)] = {
            {"kind", "alarm"},
            {"severity", 3},
            {"text", "Pump at {pressure:1} bar"},
            {"arguments", json::array({{{"name", "pressure"}, {"type", "double"}, {"value", 1.5}}})}};
    return {{"languages", {{"en-US", 1033}}},
            {"default_language", "en-US"},
            {"max_log", 1000000},
            {"classes",
             {{"line",
               {{"guid", "3b0c5a10-6f2e-4c57-9a41-5d0be2f7b0ff"}, {"name", "Line"}, {"events", std::move(events)}}}}}};
}

/// Returns the verbs of one event of the stream. Its JSON attribute is its number.
std::string verbs_of(std::uint64_t number) {
    const std::string attribute = " json=" + std::to_string(number) + "\n";
    if (number % alarm_each != 0) return "message line 100" + attribute;
    const std::uint64_t alarm = number / alarm_each;
    std::string verbs = "raise line " + std::to_string(alarm % alarms + 1) + attribute;
    if (alarm > alarms_live)
        verbs += "reset line " + std::to_string((alarm + alarms - alarms_live) % alarms + 1) + "\n";
    return verbs;
}

/// The calls of one target's stream that the server got.
struct Stream {
    std::vector<bool> known;             // by number: got live, or forgotten after an import
    std::vector<std::uint64_t> connects; // the number that was due at each connect
    std::uint64_t last_live = 0;
    std::uint64_t live = 0;
    std::uint64_t out_of_order = 0;

    /// Returns whether an import may have fetched the alarm of this number just before it was cleared. The alarm then
    /// stays active in the listing until the next import, without a further call.
    bool may_be_stale(std::uint64_t number) const {
        constexpr std::uint64_t fetching = 250; // half a second
        return number % alarm_each == 0 && std::ranges::any_of(connects, [number](std::uint64_t connect) {
                   return number + fetching >= connect && number <= connect + fetching;
               });
    }
    void add(std::uint64_t number) {
        if (number >= known.size()) known.resize(std::max<std::size_t>(number + 1, known.size() * 2));
        known[number] = true;
    }
};

std::uint64_t number_of(const json& parameters) {
    const std::string text = parameters.value("jsonAttribute", "");
    std::uint64_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

/// Reads the server's trace from a pipe, since a file of it would fill a disk.
class Listener {
public:
    /// `sent` is the number of the last event of each target.
    Listener(const std::filesystem::path& pipe, const std::atomic<std::uint64_t>& sent)
        : sent_(sent), thread_([this, pipe] { listen(pipe); }) {}
    ~Listener() { join(); }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    /// Blocks until the server has ended.
    void join() {
        if (thread_.joinable()) thread_.join();
    }
    std::uint64_t last_live(const std::string& target) {
        const std::lock_guard lock(mutex_);
        return streams_[target].last_live;
    }
    std::uint64_t count(const std::string& name) {
        const std::lock_guard lock(mutex_);
        return counts_[name];
    }
    /// After `join`.
    std::map<std::string, Stream>& streams() { return streams_; }
    const std::string& errors() const { return errors_; }

private:
    void listen(const std::filesystem::path& pipe) {
        std::ifstream in(pipe);
        for (std::string line; std::getline(in, line);) {
            const json call = json::parse(line, nullptr, false);
            const std::lock_guard lock(mutex_);
            if (call.is_discarded())
                errors_ += "no JSON: " + line + "\n";
            else
                take(call);
        }
    }

    void take(const json& call) {
        const std::string kind = call["call"];
        const std::string name = call.value("name", "");
        ++counts_[kind == "send_message" ? name : kind];
        if (name == "ZORVANE_EVENTLOGGER_ERROR" || name == "TARGET_SYSTEM_CONNECT_FAILED")
            errors_ += call.dump() + "\n";
        if (name == "TARGET_SYSTEM_CONNECTED") streams_[call["parameters"]["0"]].connects.push_back(sent_);
        const bool message = kind == "send_message" && call["is_event"] == true;
        const bool raised = kind == "notify_alarm" && call["mode"] == 0;
        if (!message && !raised && kind != "forget_event") return;
        const json& parameters = call.contains("alarm") ? call["alarm"]["parameters"] : call["parameters"];
        Stream& stream = streams_[parameters["targetName"]];
        const std::uint64_t number = number_of(parameters);
        stream.add(number);
        if (kind == "forget_event") {
            if (call.contains("alarm") && call["alarm"]["timeCleared"] == 0)
                errors_ += "an active alarm is forgotten: " + call.dump() + "\n";
            return;
        }
        ++stream.live;
        if (number <= stream.last_live) ++stream.out_of_order;
        stream.last_live = std::max(stream.last_live, number);
    }

    const std::atomic<std::uint64_t>& sent_;
    std::mutex mutex_;
    std::map<std::string, Stream> streams_;
    std::map<std::string, std::uint64_t> counts_;
    std::string errors_;
    std::thread thread_; // last
};

struct Resources {
    double memory = 0; // KiB resident
    std::ptrdiff_t files = 0;
    std::ptrdiff_t threads = 0;
};

Resources resources_of(pid_t process) {
    const std::filesystem::path proc = "/proc/" + std::to_string(process);
    const auto entries = [](const std::filesystem::path& folder) {
        return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
    };
    Resources now{0, entries(proc / "fd"), entries(proc / "task")};
    std::ifstream status(proc / "status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("VmRSS:")) now.memory = std::atof(line.c_str() + 6);
    return now;
}

TEST(Load, NothingIsLostOrGrows) {
    const std::chrono::seconds length(length_of_soak("ZO_SOAK_SECONDS", 8));
    // Ten seconds on a busy machine: the import must cover the time without a link and the calls lost with it.
    const std::size_t limit = 5000;
    const auto half = static_cast<std::uint64_t>(length.count()) / 2;
    // Between two losses of the links.
    const std::chrono::seconds round(length_of_soak("ZO_SOAK_ROUND", std::clamp<std::uint64_t>(half, 4, 60)));
    const TemporaryFolder folder;
    const std::array<std::string, 2> names{"One", "Two"};
    std::array<Target, 2> targets{Target(folder, "One", scenario(), false), Target(folder, "Two", scenario(), false)};
    json config = config_of({{"One", enabled("5.12.82.40.1.1")}, {"Two", enabled("5.12.82.41.1.1")}});
    config["TIMEOUT"] = 10000; // also on a slow machine
    config["LIMIT_EVENT_COUNT"] = limit;
    // The trace goes through a pipe; the lines of the output are not needed.
    ASSERT_EQ(mkfifo((folder / "trace.jsonl").c_str(), 0600), 0);
    std::filesystem::create_symlink("/dev/null", folder / "server.out");
    std::atomic<std::uint64_t> sent = 0;
    Listener listener(folder / "trace.jsonl", sent);
    Server server(folder, config, {{"5.12.82.40.1.1", targets[0].address()}, {"5.12.82.41.1.1", targets[1].address()}});
    ASSERT_TRUE(eventually([&] { return listener.count("GETLOGGEDEVENTS_GETACTIVEALARMS") >= 2; }));

    const auto start = Clock::now();
    auto next_beat = start;
    auto next_sample = start;
    auto next_round = start + round;
    std::vector<double> samples; // of the memory, since the last round
    std::vector<Resources> rounds;
    std::uint64_t drops = 0;
    while (Clock::now() < start + length) {
        std::string verbs;
        for (std::uint64_t i = 0; i < events_each_beat; ++i)
            verbs += verbs_of(++sent);
        for (Target& target : targets)
            target.send(verbs);
        next_beat += beat;
        std::this_thread::sleep_until(next_beat);
        const auto now = Clock::now();
        if (now >= next_sample) {
            samples.push_back(resources_of(server.process_id()).memory);
            next_sample += 1s;
        }
        if (now < next_round) continue;
        next_round += round;
        // The mean memory of the round; files and threads now, with the links at rest.
        rounds.push_back(resources_of(server.process_id()));
        rounds.back().memory =
            std::accumulate(samples.begin(), samples.end(), 0.0) / static_cast<double>(samples.size());
        samples.clear();
        std::cout << (now - start) / 1s << " s: " << rounds.back().memory << " KiB, " << rounds.back().files
                  << " descriptors, " << rounds.back().threads << " threads; " << 2 * sent << " events, "
                  << listener.count("reset_temporary_events") << " resets" << std::endl;
        ++drops;
        for (Target& target : targets)
            target.send("drop\n");
    }
    for (Target& target : targets)
        target.settle();
    const auto all_live = [&] {
        return std::ranges::all_of(names, [&](const std::string& name) { return listener.last_live(name) == sent; });
    };
    bool live = false;
    for (int tries = 0; tries < 15 && !live; ++tries) { // events sent before the last reconnect come with its import
        std::this_thread::sleep_for(2s);
        for (Target& target : targets)
            target.send(verbs_of(sent + 1));
        ++sent;
        live = eventually(all_live, 2s);
    }
    EXPECT_TRUE(live);
    const Resources last = resources_of(server.process_id());
    const json final = server.stop();
    listener.join();

    EXPECT_EQ(listener.errors(), "");
    EXPECT_GE(listener.count("reset_temporary_events"), drops);
    std::map<std::string, std::vector<std::uint64_t>> listed;
    for (const char* list : {"listing", "rows"}) {
        SCOPED_TRACE(list);
        listed.clear();
        for (const json& event : final[list]) {
            const json& parameters = (event.contains("alarm") ? event["alarm"] : event["message"])["parameters"];
            listed[parameters["targetName"]].push_back(number_of(parameters));
        }
        for (const std::string& name : names) {
            const Stream& stream = listener.streams()[name];
            std::erase_if(listed[name],
                          [&](std::uint64_t number) { return number + limit <= sent && stream.may_be_stale(number); });
            std::sort(listed[name].begin(), listed[name].end());
            std::vector<std::uint64_t> newest;
            for (std::uint64_t number = sent > limit ? sent - limit + 1 : 1; number <= sent; ++number)
                newest.push_back(number);
            EXPECT_EQ(listed[name], newest) << name;
        }
    }
    for (const std::string& name : names) {
        Stream& stream = listener.streams()[name];
        EXPECT_EQ(stream.out_of_order, 0u) << name;
        EXPECT_EQ(stream.last_live, sent) << name;
        for (const std::uint64_t number : listed[name])
            stream.add(number);
        std::vector<std::uint64_t> lost, stale;
        for (std::uint64_t number = 1; number <= sent; ++number)
            if (!stream.known[number]) (stream.may_be_stale(number) ? stale : lost).push_back(number);
        EXPECT_TRUE(lost.empty()) << name << " lost " << lost.size() << ", first " << lost.front();
        EXPECT_LE(stale.size(), stream.connects.size()) << name;
        std::cout << name << ": " << sent << " events, " << stream.live << " live, " << sent - stream.live
                  << " by imports (" << stale.size() << " of them cleared meanwhile), " << lost.size() << " lost\n";
    }

    // Memory settles within five minutes, files and threads with the first connect.
    ASSERT_FALSE(rounds.empty());
    EXPECT_LE(last.files, rounds.front().files);
    EXPECT_LE(last.threads, rounds.front().threads);
    if (rounds.size() < 10) return;
    EXPECT_LE(rounds.back().memory, rounds[4].memory * 1.02) << "in the last round and in the fifth";
}

} // namespace
