#pragma once

#include "tests/support/eventually.h"
#include "tests/support/files.h"
#include "tests/support/process.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
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

/// How long a soak runs: what the environment says, else what is usual.
std::uint64_t length_of_soak(const char* variable, std::uint64_t usual);

/// A file of routes, of pairs of net id and address.
void write_routes(const std::filesystem::path& file, const std::vector<std::pair<std::string, std::string>>& routes);

/// A file of demo/ as JSON.
json demo(const std::string& name);
/// A demo scenario that stands still: nothing happens but what the test says.
json quiet(const std::string& name);
/// The demo configuration with other targets, and the entry of an enabled one.
json config_of(const json& targets);
json enabled(const std::string& address);

/// A simulated target. With a state file it can be killed and started again on its port.
class Target {
public:
    Target(const TemporaryFolder& folder, const std::string& name, const json& scenario, bool with_state = true);
    void kill();
    void start();
    /// Runs a verb that prints nothing; fails the test unless it is answered with ok.
    void run(const std::string& verb);
    /// Sends verbs that print nothing, each with its line feed, without waiting for their answers.
    void send(const std::string& verbs);
    /// Waits until what was sent is answered; fails the test when an answer is not ok, unless any answer will do.
    void settle(bool any_answer = false);
    void signal(int number) const { process_->signal(number); }
    /// The logger's own view: {"log": [...], "alarms": [...]}.
    json list();
    const std::string& address() const { return address_; }

private:
    std::string answer(const std::string& verb);

    std::filesystem::path scenario_, state_, output_;
    std::string address_; // host:port, empty until the first start
    std::unique_ptr<Process> process_;
    std::size_t read_ = 0; // bytes of the output that were looked at
    std::size_t sent_ = 0; // verbs without an answer so far
};

/// The development server with the product, its trace and its final list.
class Server {
public:
    Server(const TemporaryFolder& folder, const json& config,
           const std::vector<std::pair<std::string, std::string>>& routes,
           const std::vector<std::string>& options = {});

    /// What the trace holds so far.
    std::vector<json> calls() const;
    /// The calls of that name: of the message for send_message, else of the call itself.
    std::vector<json> calls(const std::string& name) const;
    std::size_t count(const std::string& name) const { return calls(name).size(); }
    bool waits_for(const std::string& name, std::size_t times = 1) const {
        return eventually([&] { return count(name) >= times; });
    }
    void change_config(const json& config);
    /// Ends it with SIGTERM (or lets it end by itself) and expects status 0; gives {"rows": [...], "listing": [...]}.
    json stop(bool by_itself = false);
    std::string output() const { return read_file(output_); }
    pid_t process_id() const { return process_->id(); }

private:
    std::filesystem::path config_, routes_, trace_, dump_, output_;
    std::unique_ptr<Process> process_;
};

} // namespace programs
