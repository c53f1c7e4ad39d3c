#include "tests/system/programs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <sstream>
#include <thread>
#include <unistd.h>

namespace programs {

std::uint64_t length_of_soak(const char* variable, std::uint64_t usual) {
    const char* told = std::getenv(variable);
    return told ? std::strtoull(told, nullptr, 10) : usual;
}

json demo(const std::string& name) {
    return json::parse(read_file(std::filesystem::path(ZO_SOURCE_DIR) / "demo" / name));
}

json quiet(const std::string& name) {
    json scenario = demo(name);
    scenario.erase("schedule");
    return scenario;
}

json config_of(const json& targets) {
    json config = demo("config.json");
    config["TARGET_SYSTEMS"] = targets;
    return config;
}

json enabled(const std::string& address) {
    return {{"ADDRESS", address}, {"ENABLED", true}};
}

void write_routes(const std::filesystem::path& file, const std::vector<std::pair<std::string, std::string>>& routes) {
    json table = {{"local", "5.1.2.3.1.1"}, {"routes", json::object()}};
    for (const auto& [net_id, address] : routes)
        table["routes"][net_id] = address;
    write_file(file, table.dump());
}

Target::Target(const TemporaryFolder& folder, const std::string& name, const json& scenario, bool with_state)
    : scenario_(folder / (name + ".json")), output_(folder / (name + ".out")) {
    if (with_state) state_ = folder / (name + ".state");
    write_file(scenario_, scenario.dump());
    start();
}

void Target::start() {
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

void Target::kill() {
    process_->signal(SIGKILL);
    process_->wait();
}

std::string Target::answer(const std::string& verb) {
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

void Target::send(const std::string& verbs) {
    process_->write(verbs);
    sent_ += static_cast<std::size_t>(std::count(verbs.begin(), verbs.end(), '\n'));
}

void Target::settle(bool any_answer) {
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

void Target::run(const std::string& verb) {
    answer(verb);
}

json Target::list() {
    const std::string text = answer("list");
    return json::parse(text.substr(0, text.find('\n')));
}

Server::Server(const TemporaryFolder& folder, const json& config,
               const std::vector<std::pair<std::string, std::string>>& routes, const std::vector<std::string>& options)
    : config_(folder / "config.json"), routes_(folder / "routes.json"), trace_(folder / "trace.jsonl"),
      dump_(folder / "dump.json"), output_(folder / "server.out") {
    write_file(config_, config.dump());
    write_routes(routes_, routes);
    std::vector<std::string> words{ZO_SERVER, "--extension", ZO_PRODUCT, "--config", config_,
                                   "--plain", "--trace",     trace_,     "--dump",   dump_};
    words.insert(words.end(), options.begin(), options.end());
    process_ = std::make_unique<Process>(words, output_, std::vector<std::string>{"ZO_ROUTES=" + routes_.string()});
}

std::vector<json> Server::calls() const {
    std::vector<json> calls;
    std::istringstream lines(read_file(trace_));
    for (std::string line; std::getline(lines, line);) {
        const json call = json::parse(line, nullptr, false); // the last one may be half written
        if (!call.is_discarded()) calls.push_back(call);
    }
    return calls;
}

std::vector<json> Server::calls(const std::string& name) const {
    auto all = calls();
    std::erase_if(all, [&](const json& call) {
        const std::string what = call["call"];
        return (what == "send_message" ? call["name"] : call["call"]) != name;
    });
    return all;
}

void Server::change_config(const json& config) {
    write_file(config_, config.dump());
    process_->signal(SIGHUP);
}

json Server::stop(bool by_itself) {
    if (!by_itself) process_->signal(SIGTERM);
    EXPECT_EQ(process_->wait(), 0) << output();
    return json::parse(read_file(dump_));
}

} // namespace programs
