#include "simulator/scenario.h"
#include "simulator/target.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include <CLI/CLI.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace {

/// Reads lines of standard input on a thread of its own: a read may block for ever. The thread of `io` takes the lines;
/// until then nothing more is read.
class Input {
public:
    template <typename Take>
    Input(boost::asio::io_context& io, Take take)
        : io_(io), stop_(::eventfd(0, EFD_CLOEXEC)), taken_(::eventfd(0, EFD_CLOEXEC)),
          thread_([this, take] { read(take); }) {}
    ~Input() {
        (void)::eventfd_write(stop_, 1);
        thread_.join();
        ::close(taken_);
        ::close(stop_);
    }
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

private:
    /// Waits for input; false at the end of this object.
    bool wait_for(int file) const {
        for (;;) {
            pollfd polled[] = {{file, POLLIN, 0}, {stop_, POLLIN, 0}};
            if (::poll(polled, 2, -1) < 0) continue; // a signal
            return polled[1].revents == 0;
        }
    }

    template <typename Take>
    void read(const Take& take) {
        std::string line;
        while (wait_for(STDIN_FILENO)) {
            char chunk[65536];
            const ssize_t count = ::read(STDIN_FILENO, chunk, sizeof chunk);
            if (count < 0 && (errno == EINTR || errno == EAGAIN)) continue;
            if (count <= 0) {
                if (!line.empty()) boost::asio::post(io_, [take, line] { take(line); });
                return;
            }
            std::string_view rest(chunk, static_cast<std::size_t>(count));
            for (std::size_t end; (end = rest.find('\n')) != rest.npos; rest.remove_prefix(end + 1)) {
                append(line, rest.substr(0, end));
                boost::asio::post(io_, [take, line = std::exchange(line, {})] { take(line); });
            }
            append(line, rest);
            boost::asio::post(io_, [this] { (void)::eventfd_write(taken_, 1); });
            if (!wait_for(taken_)) return;
            eventfd_t ignored = 0;
            (void)::eventfd_read(taken_, &ignored);
        }
    }

    /// Keeps one byte more than the longest line, so that a longer line shows.
    static void append(std::string& line, std::string_view more) {
        line.append(more.substr(0, zo_sim::longest_line + 1 - line.size()));
    }

    boost::asio::io_context& io_;
    int stop_;
    int taken_;
    std::thread thread_;
};

/// Ends the program at SIGINT and SIGTERM, from a thread of its own: a flood or a full output may block the other one
/// for long. The state file has all changes that clients know.
class Ending {
public:
    explicit Ending(boost::asio::io_context& io) {
        signals_.async_wait([this, &io](const boost::system::error_code& error, int) {
            if (error) return;
            io.stop();
            grace_.expires_after(std::chrono::seconds(2));
            grace_.async_wait([](const boost::system::error_code& cancelled) {
                if (!cancelled) std::_Exit(0);
            });
        });
        thread_ = std::thread([this] { io_.run(); });
    }
    ~Ending() {
        io_.stop();
        thread_.join();
    }
    Ending(const Ending&) = delete;
    Ending& operator=(const Ending&) = delete;

private:
    boost::asio::io_context io_{1};
    boost::asio::signal_set signals_{io_, SIGINT, SIGTERM};
    boost::asio::steady_timer grace_{io_};
    std::thread thread_;
};

/// Prints one line. A JSON string may have brought line feeds into it.
void print(std::FILE* file, std::string line) {
    std::ranges::replace_if(
        line, [](char c) { return c >= 0 && c < ' '; }, ' ');
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), file);
    std::fflush(file);
}

int run(const std::string& scenario_file, const zo_sim::TargetOptions& options) {
    boost::asio::io_context io(1);
    const auto forever = boost::asio::make_work_guard(io);
    const Ending ending(io);
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
    const Input input(io, [&target](const std::string& line) { target.input(line); });
    io.run();
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    // A closed standard stream would give its number to the next open file, for example the state file.
    for (int file = 0; file >= 0 && file <= STDERR_FILENO;) {
        file = ::open("/dev/null", O_RDWR | O_CLOEXEC);
        if (file > STDERR_FILENO) ::close(file);
    }
    CLI::App app("A simulated target system: an event logger and controllers; verbs are read from standard input.",
                 "zo-target");
    std::string scenario_file;
    zo_sim::TargetOptions options;
    bool die_with_parent = false;
    app.add_option("--scenario", scenario_file, "events, history, schedule and controllers (JSON)")->required();
    app.add_option("--port", options.port, "TCP port, 0 for a free one")->required();
    app.add_option("--bind", options.bind, "address in numbers")->capture_default_str();
    app.add_option("--state", options.state_file, "stores log and alarms in this file");
    app.add_flag("--die-with-parent", die_with_parent, "ends with the process that started it");
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& help) {
        return app.exit(help);
    } catch (const CLI::ParseError& error) {
        print(stderr, std::string("zo-target: ") + error.what() + "; see zo-target --help");
        return error.get_exit_code();
    }

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
