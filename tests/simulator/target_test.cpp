#include "platform/link/event_record.h"
#include "simulator/target.h"
#include "tests/link/link_client.h"
#include "tests/simulator/small_scenario.h"
#include "tests/support/files.h"
#include "tests/support/process.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <future>
#include <thread>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/post.hpp>
#include <sys/resource.h>
#include <sys/stat.h>

namespace zo_sim {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;

using Client = zo_test::LinkClient;

class TargetTest : public testing::Test {
protected:
    TargetTest() {
        options_.state_file = folder_ / "state";
        start();
    }
    ~TargetTest() override { stop(); }

    void start() {
        io_ = std::make_unique<boost::asio::io_context>(1);
        target_ =
            std::make_unique<Target>(*io_, parse_scenario(scenario_), options_,
                                     Target::Output{[this](const std::string& line) { printed_.push_back(line); },
                                                    [this](const std::string& line) { errors_.push_back(line); }});
        thread_ = std::thread([this] {
            const auto work = boost::asio::make_work_guard(*io_);
            try {
                io_->run();
            } catch (const StateError&) {
                state_failed_ = true;
            }
        });
    }
    void stop() {
        io_->stop();
        thread_.join();
        target_.reset();
    }
    /// Runs a verb; returns all output since the last one.
    std::vector<std::string> verb(const std::string& line) {
        std::promise<std::vector<std::string>> answer;
        boost::asio::post(*io_, [&] {
            target_->input(line);
            answer.set_value(std::exchange(printed_, {}));
        });
        return answer.get_future().get();
    }
    void ok(const std::string& line) { EXPECT_EQ(verb(line), std::vector<std::string>{"ok"}) << line; }
    json list() { return json::parse(verb("list").at(0)); }

    const zo_test::TemporaryFolder folder_;
    TargetOptions options_;
    std::string scenario_ = zo_sim_test::small_scenario;
    std::unique_ptr<boost::asio::io_context> io_;
    std::unique_ptr<Target> target_;
    std::thread thread_;
    std::vector<std::string> printed_; // of the io thread
    std::vector<std::string> errors_;  // of the io thread
    bool state_failed_ = false;        // read it after the thread has ended
};

TEST_F(TargetTest, ConfirmAndOtherCodes) {
    Client client(target_->port());
    ok("raise c 1");
    ok("raise c 2");
    EXPECT_EQ(client.request("confirm", {{"handle", 1}}).result, zo_link::code::not_supported);
    EXPECT_EQ(client.request("confirm", {{"handle", 2}}).result, 0u);
    EXPECT_EQ(client.request("confirm", {{"handle", 2}}).result, 1u);
    EXPECT_EQ(client.request("confirm", {{"handle", 3}}).result, zo_link::code::not_found);
    EXPECT_EQ(client.request("confirm", {{"handle", "2"}}).result, zo_link::code::not_connected) << "dropped";
    EXPECT_TRUE(client.wait_lost());
}

TEST_F(TargetTest, OptionalInterfacesAreLeftOut) {
    Client client(target_->port());
    ok("raise c 2");
    for (const bool on : {true, false}) {
        for (const char* interface : {"identity", "extended", "json"})
            ok(std::string("set ") + interface + (on ? " on" : " off"));
        const zo_link::Reply reply = client.request("get_logged_events", {{"count", 9}});
        zo_link::EventRecord record;
        ASSERT_TRUE(zo_link::event_from_json((*reply.body)["items"].at(0), false, record));
        EXPECT_EQ(record.uid.has_value(), on);
        EXPECT_EQ(record.json.has_value(), on);
        EXPECT_EQ(record.extended, on);
    }
    EXPECT_TRUE(list()["log"][0].contains("uid")) << "the log keeps it";
}

TEST_F(TargetTest, TruncatedAnswerAndRefusedHello) {
    Client client(target_->port());
    ok("truncate get_logged_events");
    EXPECT_EQ(client.request("get_active_alarms").result, 0u);
    EXPECT_NE(client.request("get_logged_events", {{"count", 1}}).result, 0u);
    EXPECT_TRUE(client.wait_lost());
    ok("fail hello 0x98110701");
    EXPECT_EQ(Client(target_->port()).opened, 0x98110701u);
    EXPECT_EQ(Client(target_->port()).opened, 0u);
}

TEST_F(TargetTest, EachRoleHasItsOwnRequests) {
    const auto open_device = [&] { return std::make_unique<Client>(target_->port(), 10s, "127.0.0.1", "device"); };
    EXPECT_EQ(open_device()->opened, zo_link::code::not_supported) << "no controller";
    stop();
    json scenario = json::parse(scenario_);
    scenario["controllers"] = {{"851", {{"symbols", {"M.x : INT := 7"}}}}};
    scenario_ = scenario.dump();
    start();

    Client logger(target_->port());
    const auto device = open_device();
    ASSERT_EQ(device->opened, 0u);
    const json read = {{"port", 851}, {"group", 0x4020}, {"offset", 0}, {"length", 2}};
    EXPECT_EQ(logger.request("read", read).result, zo_link::code::not_supported);
    EXPECT_EQ(device->request("get_active_alarms").result, zo_link::code::not_supported);
    ok("raise c 1");
    EXPECT_EQ(logger.events->wait(1).size(), 1u);
    const zo_link::Reply reply = device->request("read", read);
    ASSERT_EQ(reply.result, 0u);
    EXPECT_EQ((*reply.body)["data"], json::binary({7, 0}));
    EXPECT_TRUE(device->events->notes().empty()) << "notifications are for loggers";
    EXPECT_EQ(device->request("read", {{"port", 851}}).result, zo_link::code::not_connected) << "dropped";
}

TEST_F(TargetTest, PlannedVerbsRunAroundTheAnswer) {
    Client client(target_->port());
    ok("during get_active_alarms raise c 1");
    ok("after get_active_alarms clear c 1");
    const zo_link::Reply active = client.request("get_active_alarms");
    EXPECT_EQ(active.mark, 1u);
    EXPECT_EQ((*active.body)["items"].size(), 1u);
    EXPECT_EQ(client.events->wait(2).at(1)["note"], "alarm_cleared");
}

TEST_F(TargetTest, RestartContinues) {
    ok("raise c 2");
    ok("message c 3 count=4");
    const json before = list();
    stop();
    start();
    EXPECT_EQ(list(), before);
    Client client(target_->port());
    EXPECT_EQ(client.events->instance.load(), before["instance"]);
    ok("message c 3");
    EXPECT_EQ(client.events->wait(1).at(0)["event"]["uid"], 3);
}

TEST_F(TargetTest, UnstoredChangesAreNotSent) {
    Client client(target_->port());
    ok("raise c 2");
    ASSERT_EQ(client.events->wait(1).size(), 1u);
    // From here on the file cannot grow.
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &limit), 0);
    const rlimit full{std::filesystem::file_size(options_.state_file), limit.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &full), 0);
    boost::asio::post(*io_, [this] { target_->input("clear c 2"); });
    thread_.join();
    thread_ = std::thread([] {});
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    EXPECT_TRUE(state_failed_);
    // The link still works; its answer comes behind all earlier frames.
    EXPECT_EQ(client.request("ping").mark, 1u);
}

TEST_F(TargetTest, HistoryAndSchedule) {
    stop();
    std::filesystem::remove(options_.state_file);
    json document = json::parse(scenario_);
    document["max_log"] = 100000;
    document["history"] = json::parse(R"([{"ago": 7200, "verb": "raise c 2"}, {"ago": 3600.5, "verb": "clear c 2"},
                                          {"ago": 60, "verb": "flood 3 c 1"}])");
    document["schedule"] = json::parse(R"([{"at": 10, "every": 20, "verb": "message c 3"},
                                           {"at": 30, "verb": "confirm c 2"}, {"at": 35, "verb": "confirm c 2"}])");
    scenario_ = document.dump();
    start();
    Client client(target_->port());
    EXPECT_EQ(client.events->wait(4).size(), 4u) << "again and again";
    const json log = list()["log"];
    ASSERT_GE(log.size(), 4u);
    constexpr FileTime second = 10000000;
    const FileTime raised = log[0]["raised"];
    EXPECT_NEAR(static_cast<double>(file_time_now() - raised), 7200.0 * second, 60.0 * second);
    EXPECT_EQ(log[0]["cleared"].get<FileTime>() - raised, 35995 * (second / 10));
    EXPECT_EQ(log[0]["confirmation"], 3) << "by the schedule";
    EXPECT_EQ(log[3]["raised"].get<FileTime>() - raised, 7140 * second + 4) << "raise and clear take one tick each";
    stop();
    ASSERT_EQ(errors_.size(), 1u);
    EXPECT_EQ(errors_[0], "schedule: 'confirm c 2': no such active alarm");
    start();
}

class Program : public testing::Test {
protected:
    Program() { zo_test::write_file(scenario, zo_sim_test::small_scenario); }

    /// Starts the program with files of the folder and an input that ends.
    auto start(const std::string& input, const char* scenario_name = "scenario", const char* state_name = "state") {
        auto process = std::make_unique<zo_test::Process>(std::vector<std::string>{ZO_TARGET_PROGRAM, "--port", "0",
                                                                                   "--scenario", folder / scenario_name,
                                                                                   "--state", folder / state_name},
                                                          folder / "output");
        process->write(input);
        process->end_input();
        return process;
    }
    std::string output() const { return zo_test::read_file(folder / "output"); }

    const zo_test::TemporaryFolder folder;
    const std::filesystem::path scenario = folder / "scenario";
};

TEST_F(Program, LinesSignalsAndStatus) {
    EXPECT_EQ(start("raise c 2\nraise c 2\nquit\n")->wait(), 0);
    EXPECT_TRUE(output().starts_with("listening 127.0.0.1:")) << output();
    EXPECT_TRUE(output().ends_with("\nok\nerror the alarm is raised already\nok\n")) << output();

    // A last line without its end counts; the end of input does not end the program, a signal does.
    const auto process = start("list");
    EXPECT_TRUE(zo_test::eventually([&] { return output().ends_with("\nok\n"); })) << output();
    std::this_thread::sleep_for(50ms);
    ASSERT_TRUE(process->runs());
    process->signal(SIGTERM);
    EXPECT_EQ(process->wait(), 0);

    // Of a line without end nothing is kept, and the next one counts.
    const std::string endless(10 * longest_line, 'x');
    EXPECT_EQ(start(endless + "\ndrop\nquit\n")->wait(), 0);
    EXPECT_TRUE(output().ends_with("\nerror the line is too long\nok\nok\n")) << output().substr(0, 200);

    std::ofstream(folder / "state", std::ios::app) << "{\n";
    EXPECT_EQ(start("")->wait(), 1);
    EXPECT_NE(output().find("is damaged in line 3"), std::string::npos);
    zo_test::write_file(scenario, R"({"two\nlines": 1})");
    EXPECT_EQ(start("")->wait(), 1);
    EXPECT_TRUE(output().ends_with("unknown key 'two lines'\n")) << output();
}

TEST_F(Program, RefusesPipesDevicesAndLockedState) {
    for (const char* name : {"pipe", "rewrite.new", "unlocked.lock"})
        ASSERT_EQ(::mkfifo((folder / name).c_str(), 0600), 0);
    std::filesystem::create_symlink("/dev/zero", folder / "device");
    const auto owner = start("", "scenario", "locked");
    ASSERT_TRUE(zo_test::eventually([&] { return output().starts_with("listening"); }));
    const struct {
        const char* scenario;
        const char* state;
        const char* error;
    } rows[] = {
        {"pipe", "state", "pipe': is not a regular file"},
        {"device", "state", "is not a regular file"},
        {"scenario", "pipe", "cannot read state file"},
        {"scenario", "device", "is not a regular file"},
        {"scenario", "rewrite", "rewrite.new': is not a regular file"},
        {"scenario", "unlocked", "unlocked.lock': is not a regular file"},
        {"scenario", "locked", "is in use by another process"},
    };
    for (const auto& row : rows) {
        const auto process = start("", row.scenario, row.state);
        ASSERT_TRUE(zo_test::eventually([&] { return !process->runs(); })) << row.error;
        EXPECT_EQ(process->wait(), 1);
        EXPECT_NE(output().find(row.error), std::string::npos) << output();
        EXPECT_EQ(std::ranges::count(output(), '\n'), 1) << output();
    }
    owner->signal(SIGKILL);
    EXPECT_EQ(owner->wait(), -1);
    EXPECT_EQ(start("quit\n", "scenario", "locked")->wait(), 0); // the lock ends with its process
}

TEST_F(Program, EndsWhileItsOutputIsFull) {
    const zo_test::UnreadOutput output;
    zo_test::Process process({ZO_TARGET_PROGRAM, "--scenario", scenario, "--port", "0"}, output.path());
    for (int i = 0; i < 100; ++i)
        process.send("list");
    ASSERT_TRUE(zo_test::eventually([&] { return output.full(); }));
    process.signal(SIGTERM);
    ASSERT_TRUE(zo_test::eventually([&] { return !process.runs(); }));
    EXPECT_EQ(process.wait(), 0);
}

} // namespace
} // namespace zo_sim
