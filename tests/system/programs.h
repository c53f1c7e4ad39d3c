#pragma once

#include "tests/support/eventually.h"
#include "tests/support/files.h"
#include "tests/support/process.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

/// The real programs, started over the real link in a temporary folder. Each of them ends with its object.
namespace programs {

using nlohmann::json;

using zo_test::eventually;
using zo_test::Process;
using zo_test::read_file;
using zo_test::TemporaryFolder;
using zo_test::write_file;

/// Returns the length of a soak: the environment variable, else `usual`.
inline std::uint64_t length_of_soak(const char* variable, std::uint64_t usual) {
    const char* text = std::getenv(variable);
    return text ? std::strtoull(text, nullptr, 10) : usual;
}

/// Pairs of net id and address.
using Routes = std::vector<std::pair<std::string, std::string>>;

inline void write_routes(const std::filesystem::path& file, const Routes& routes) {
    json table = {{"local", "5.1.2.3.1.1"}, {"routes", json::object()}};
    for (const auto& [net_id, address] : routes)
        table["routes"][net_id] = address;
    write_file(file, table.dump());
}

/// Returns a file of demo/ as JSON.
inline json demo(const std::string& name) {
    return json::parse(read_file(std::filesystem::path(ZO_SOURCE_DIR) / "demo" / name));
}

/// Returns a demo scenario without its schedule.
inline json quiet(const std::string& name) {
    json scenario = demo(name);
    scenario.erase("schedule");
    return scenario;
}

/// Return the demo configuration with other targets, and the entry of an enabled one.
inline json config_of(const json& targets) {
    json config = demo("config.json");
    config["TARGET_SYSTEMS"] = targets;
    return config;
}

inline json enabled(const std::string& address) {
    return {{"ADDRESS", address}, {"ENABLED", true}};
}

/// A simulated target. With a state file it can be killed and started again on its port.
class Target {
public:
    Target(const TemporaryFolder& folder, const std::string& name, const json& scenario, bool with_state = true)
        : scenario_(folder / (name + ".json")), output_(folder / (name + ".out")) {
        if (with_state) state_ = folder / (name + ".state");
        write_file(scenario_, scenario.dump());
        start();
    }
    void kill() {
        process_->signal(SIGKILL);
        process_->wait();
    }
    void start() {
        const std::string port = address_.empty() ? "0" : address_.substr(address_.rfind(':') + 1);
        std::vector<std::string> words{ZO_TARGET, "--scenario", scenario_, "--port", port};
        if (!state_.empty()) words.insert(words.end(), {"--state", state_});
        process_ = std::make_unique<Process>(words, output_);
        read_ = sent_ = 0;
        std::string line;
        const bool listening = eventually([&] {
            line = read_file(output_);
            return line.starts_with("listening ") && line.find('\n') != std::string::npos;
        });
        if (!listening) throw std::runtime_error("no target: " + line);
        read_ = line.find('\n') + 1;
        address_ = line.substr(10, read_ - 11);
    }
    /// Runs a verb that prints nothing. Any answer but ok fails the test.
    void run(const std::string& verb) { answer(verb); }
    /// Sends verbs that print nothing, each with its line feed, without waiting for their answers.
    void send(const std::string& verbs) {
        process_->write(verbs);
        sent_ += static_cast<std::size_t>(std::count(verbs.begin(), verbs.end(), '\n'));
    }
    /// Blocks until every verb is answered. Without `any_answer` an error fails the test.
    void settle(bool any_answer = false) {
        if (sent_ == 0) return;
        std::string answers;
        const bool answered = eventually([&] {
            answers = read_file(output_).substr(read_);
            return static_cast<std::size_t>(std::count(answers.begin(), answers.end(), '\n')) >= sent_;
        });
        EXPECT_TRUE(answered);
        const std::size_t error = any_answer ? std::string::npos : answers.find("error");
        EXPECT_EQ(error, std::string::npos) << answers.substr(error, 200);
        read_ += answers.size();
        sent_ = 0;
    }
    void signal(int number) const { process_->signal(number); }
    /// Returns the logger's own view: {"log": [...], "alarms": [...]}.
    json list() {
        const std::string text = answer("list");
        return json::parse(text.substr(0, text.find('\n')));
    }
    const std::string& address() const { return address_; }

    /// Runs a verb and returns its output with the final "ok".
    std::string answer(const std::string& verb) {
        settle();
        process_->send(verb);
        std::string text;
        const bool answered = eventually([&] {
            text = read_file(output_).substr(read_);
            return text == "ok\n" || text.ends_with("\nok\n") || text.find("error ") == 0;
        });
        EXPECT_TRUE(answered && !text.starts_with("error ")) << verb << ": " << text;
        read_ += text.size();
        return text;
    }

private:
    std::filesystem::path scenario_, state_, output_;
    std::string address_; // host:port, empty until the first start
    std::unique_ptr<Process> process_;
    std::size_t read_ = 0; // bytes of the output that are read
    std::size_t sent_ = 0; // verbs without an answer so far
};

/// The development server with the product, its trace and its final list.
class Server {
public:
    Server(const TemporaryFolder& folder, const json& config, const Routes& routes,
           const std::vector<std::string>& options = {})
        : config_(folder / "config.json"), trace_(folder / "trace.jsonl"), dump_(folder / "dump.json"),
          output_(folder / "server.out") {
        write_file(config_, config.dump());
        write_routes(folder / "routes.json", routes);
        setenv("ZO_ROUTES", (folder / "routes.json").c_str(), 1);
        std::vector<std::string> words{ZO_SERVER, "--extension", ZO_PRODUCT, "--config", config_,
                                       "--plain", "--trace",     trace_,     "--dump",   dump_};
        words.insert(words.end(), options.begin(), options.end());
        process_ = std::make_unique<Process>(words, output_);
    }

    /// Returns the trace so far.
    std::vector<json> calls() const {
        std::vector<json> calls;
        std::istringstream lines(read_file(trace_));
        for (std::string line; std::getline(lines, line);) {
            const json call = json::parse(line, nullptr, false); // the last one may be half written
            if (!call.is_discarded()) calls.push_back(call);
        }
        return calls;
    }
    /// Returns the calls of a name: that of the message for send_message, else of the call itself.
    std::vector<json> calls(const std::string& name) const {
        auto all = calls();
        std::erase_if(all, [&](const json& call) {
            const std::string what = call["call"];
            return (what == "send_message" ? call["name"] : call["call"]) != name;
        });
        return all;
    }
    std::size_t count(const std::string& name) const { return calls(name).size(); }
    bool waits_for(const std::string& name, std::size_t times = 1) const {
        return eventually([&] { return count(name) >= times; });
    }
    void change_config(const json& config) {
        write_file(config_, config.dump());
        process_->signal(SIGHUP);
    }
    /// Ends the server with SIGTERM, or waits for its end, and expects status 0. Returns the dump.
    json stop(bool by_itself = false) {
        if (!by_itself) process_->signal(SIGTERM);
        EXPECT_EQ(process_->wait(), 0) << output();
        return json::parse(read_file(dump_));
    }
    std::string output() const { return read_file(output_); }
    pid_t process_id() const { return process_->id(); }

private:
    std::filesystem::path config_, trace_, dump_, output_;
    std::unique_ptr<Process> process_;
};

} // namespace programs
