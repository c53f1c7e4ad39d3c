#pragma once

#include "platform/link/link_server.h"
#include "simulator/controller/system.h"
#include "simulator/event_log.h"
#include "simulator/plans.h"
#include "simulator/scenario.h"
#include "simulator/state_file.h"
#include "simulator/verbs.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <nlohmann/json.hpp>

namespace zo_sim {

/// In bytes. A longer line of input is an error.
inline constexpr std::size_t longest_line = std::size_t{1} << 20;

struct TargetOptions {
    std::string bind = "127.0.0.1";
    std::uint16_t port = 0;
    std::string state_file; // empty: none
};

/// One simulated target: the log and the controllers, with the clients, verbs and schedule that change them. All of it
/// runs on the thread of `io`. A change is written to the state file first, then sent to the clients.
class Target {
public:
    /// Receive lines without line ends: the output of verbs, and the errors of the schedule. [io thread]
    struct Output {
        std::function<void(const std::string& line)> print;
        std::function<void(const std::string& line)> error;
    };

    /// Restores the state or plays the history, then listens and starts the schedule. `quit` stops `io`, which must
    /// outlive this object. Throws ScenarioError, StateError or std::runtime_error. If the state file cannot be written
    /// later, `io.run()` throws StateError.
    Target(boost::asio::io_context& io, Scenario scenario, const TargetOptions& options, Output output);
    /// Requires that `io` has stopped.
    ~Target();
    Target(const Target&) = delete;
    Target& operator=(const Target&) = delete;

    std::uint16_t port() const { return server_->port(); }

    /// Runs a line of input and prints its answer. [io thread]
    void input(const std::string& line);

private:
    using Clock = std::chrono::steady_clock;
    using Session = std::shared_ptr<zo_link::LinkSession>;
    struct Request {
        Session session;
        std::uint32_t id = 0;
        std::string operation;
        nlohmann::json fields;
    };

    void restore(const std::string& state_file);
    void play_history();
    void read_schedule();
    void await_schedule();
    void run_schedule();

    /// Throws VerbError.
    void execute(const Verb& verb);
    void execute_planned(const char* origin, const Verb& verb);
    void change_log(const Verb& verb, FileTime now);
    void flood(const Verb& verb, FileTime now);
    void stall(std::int64_t milliseconds);
    void resume();
    /// Writes the changes to the state file, then answers, then notifies all clients.
    void commit(const std::function<void()>& answer = {});
    void notify(const Change& change);

    nlohmann::json list_json() const;
    nlohmann::json sessions_json() const;

    nlohmann::json requests_json() const;
    bool is_device_session(const Session& session) const;

    void on_request(const Request& request);
    void finish(const Request& request, const RequestPlan& plan);
    void answer(const Request& request, const RequestPlan& plan);
    void answer_hello(const Request& request);
    void answer_logged_events(const Request& request);
    void answer_confirm(const Request& request);
    void answer_text_request(const Request& request);
    void answer_device(const Request& request, const RequestPlan& plan);
    void reply_events(const Request& request, const std::vector<zo_link::EventRecord>& records);
    nlohmann::json offered(zo_link::EventRecord record) const;

    boost::asio::io_context& io_;
    const Scenario scenario_;
    const Output output_;
    Interfaces interfaces_;
    EventLog log_;
    DeviceSystem devices_;
    std::unique_ptr<StateFile> state_file_;
    std::uint64_t instance_ = 0;
    Plans plans_;
    std::map<std::string, std::uint64_t> requests_;
    std::map<std::uint64_t, nlohmann::json> hellos_; // of the accepted sessions, by number

    const Clock::time_point start_ = Clock::now();
    std::vector<std::pair<Verb, std::chrono::milliseconds>> schedule_; // each with its period, 0 for once
    std::set<std::pair<Clock::time_point, std::size_t>> due_;          // index into schedule_
    boost::asio::steady_timer schedule_timer_;

    bool stalled_ = false;
    boost::asio::steady_timer stall_timer_;

    std::unique_ptr<zo_link::LinkServer> server_; // last: its thread posts to the others
};

} // namespace zo_sim
