#include "simulator/scenario.h"
#include "simulator/target.h"

#include <csignal>
#include <cstdio>
#include <exception>
#include <string>
#include <thread>

#include <CLI/CLI.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/signal_set.hpp>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace {

// Reads lines of standard input on a thread of its own, which can be ended: a terminal, a pipe or a file may give
// nothing for ever.
class Input {
public:
    template <typename Take>
    explicit Input(Take take) : stop_(::eventfd(0, EFD_CLOEXEC)), thread_([this, take] { read(take); }) {}
    ~Input() {
        (void)::eventfd_write(stop_, 1);
        thread_.join();
        ::close(stop_);
    }
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

private:
    template <typename Take>
    void read(const Take& take) {
        std::string unread;
        for (;;) {
            pollfd polled[] = {{STDIN_FILENO, POLLIN, 0}, {stop_, POLLIN, 0}};
            if (::poll(polled, 2, -1) < 0) continue; // a signal
            if (polled[1].revents != 0) return;
            char chunk[65536];
            const ssize_t count = ::read(STDIN_FILENO, chunk, sizeof chunk);
            if (count <= 0) {
                if (!unread.empty()) take(unread);
                return;
            }
            unread.append(chunk, static_cast<std::size_t>(count));
            std::size_t begin = 0;
            for (std::size_t end; (end = unread.find('\n', begin)) != std::string::npos; begin = end + 1)
                take(unread.substr(begin, end - begin));
            unread.erase(0, begin);
        }
    }

    int stop_;
    std::thread thread_;
};

void print(std::FILE* file, const std::string& line) {
    std::fwrite(line.data(), 1, line.size(), file);
    std::fputc('\n', file);
    std::fflush(file);
}

int run(const std::string& scenario_file, const zo_sim::TargetOptions& options) {
    boost::asio::io_context io(1);
    boost::asio::signal_set signals(io, SIGINT, SIGTERM);
    signals.async_wait([&io](const boost::system::error_code& error, int) {
        if (!error) io.stop();
    });
    zo_sim::Scenario scenario;
    try {
        scenario = zo_sim::load_scenario(scenario_file);
    } catch (const zo_sim::ScenarioError& error) {
        throw zo_sim::ScenarioError("scenario '" + scenario_file + "': " + error.what());
    }
    zo_sim::Target target(
        io, std::move(scenario), options,
        {[](const std::string& line) { print(stdout, line); }, [](const std::string& line) { print(stderr, line); }});
    print(stdout, "listening " + options.bind + ":" + std::to_string(target.port()));
    const Input input([&](const std::string& line) { boost::asio::post(io, [&target, line] { target.input(line); }); });
    io.run();
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("A simulated target system's event logger; verbs are read from standard input.", "zo-target");
    std::string scenario_file;
    zo_sim::TargetOptions options;
    bool die_with_parent = false;
    app.add_option("--scenario", scenario_file, "what the target holds and does (JSON)")->required();
    app.add_option("--port", options.port, "TCP port, 0 for a free one")->required();
    app.add_option("--bind", options.bind, "address in numbers")->capture_default_str();
    app.add_option("--state", options.state_file, "keeps log and alarms in this file");
    app.add_flag("--die-with-parent", die_with_parent, "ends with the process that started it");
    CLI11_PARSE(app, argc, argv);

    std::signal(SIGPIPE, SIG_IGN);
    if (die_with_parent) {
        const pid_t parent = ::getppid();
        ::prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (::getppid() != parent) return 0;
    }
    try {
        return run(scenario_file, options);
    } catch (const std::exception& error) {
        print(stderr, std::string("zo-target: ") + error.what());
        return 1;
    }
}
