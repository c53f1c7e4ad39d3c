#include "console/text.h"
#include "extension/host/host.h"
#include "extension/host/listeners.h"
#include "server/configuration.h"
#include "server/console.h"
#include "server/describe.h"
#include "server/dump.h"
#include "server/event_list.h"
#include "server/extension_library.h"
#include "server/host.h"
#include "server/operator.h"
#include "server/options.h"
#include "server/routes_check.h"
#include "server/signals.h"
#include "server/start.h"
#include "server/trace.h"

#include <chrono>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <malloc.h>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>
#include <unistd.h>

namespace server {

namespace {

void print_failure(const std::string& line) {
    std::fprintf(stderr, "zo-hmi-server: %s\n", console::printable(line).c_str());
}

/// Prints the faults of the configuration. Before a start, `init_failure` prints the fatal ones.
void print_warnings(const Configuration& configuration, Host& host, bool running) {
    for (const ConfigProblem& problem : configuration_problems(configuration.get("")))
        if (running || !problem.fatal) host.print("warning: configuration: " + console::printable(problem.text));
}

void reload(Configuration& configuration, Host& host) {
    try {
        const auto changes = configuration.reload();
        host.print("configuration reloaded, " + std::to_string(changes.size()) + " targets changed");
        print_warnings(configuration, host, true);
        host.notify_config(changes);
    } catch (const std::exception& error) {
        host.print(std::string("error: configuration unchanged: ") + console::printable(error.what()));
    }
}

/// Reconnects targets whose import failed: the extension imports only after a connect.
void repeat_imports(Host& host, const std::stop_token& stop) {
    while (const auto target = host.imports().wait_until_due(stop)) {
        host.print("reconnecting " + host.imports().label(*target));
        const ZoHmiSrv::Command done = host.request("ForceReconnect", target->c_str());
        const ZoHmiSrv::ErrorValue result = result_of(done);
        if (result == ZoHmiSrv::HMI_SUCCESS) continue;
        host.print("error: ForceReconnect failed: " + result_text(result, done.result_string()));
        host.imports().postpone(*target);
    }
}

/// Returns why `init` did not start the extension, or "".
std::string init_failure(const Start& started, const Configuration& configuration) {
    if (!started.result) return "the extension's init threw an exception";
    const ZoHmiSrv::ResultPair& result = *started.result;
    if (result.result() == ZoHmiSrv::HMI_SUCCESS) return {};
    std::string text = "the extension's init answered " + result_text(result.result(), result.text());
    for (const ConfigProblem& problem : configuration_problems(configuration.get("")))
        if (problem.fatal) text += "; configuration: " + problem.text;
    return text;
}

/// Serves until the time is over or a signal comes.
void serve(Signals& signals, const Options& options, Configuration& configuration, Host& host) {
    std::optional<Signals::Clock::time_point> deadline;
    if (options.seconds) {
        deadline = Signals::Clock::now() + std::chrono::duration_cast<Signals::Clock::duration>(
                                               std::chrono::duration<double>(*options.seconds));
    }
    while (const auto signal = signals.wait(deadline)) {
        if (*signal != SIGHUP) return;
        reload(configuration, host);
    }
}

/// Runs the extension from its load to its end. Sets `failure` to the reason of a failure.
void run_extension(Signals& signals, const Options& options, Configuration& configuration, EventList& events,
                   Host& host, Operator& commander, std::string& failure) {
    ExtensionLibrary library(options.extension, &host);
    char version[32];
    std::snprintf(version, sizeof version, "%.1f", library.version());
    host.print("loaded " + console::printable(options.extension.filename().string()) + ", interface version " +
               version);
    print_warnings(configuration, host, false);
    if (const std::string problem = routes_problem(options.extension); !problem.empty())
        host.print("warning: " + console::printable(problem));

    const Start started = start(library.extension(), host, signals);
    if (started.stopped) {
        if (options.has_commands()) failure = "stopped before the first command";
        return;
    }
    failure = init_failure(started, configuration);
    if (!failure.empty()) return;
    host.relist("listed");
    if (started.reload) reload(configuration, host);
    {
        // Both call into the extension, so they are joined before its end.
        const std::jthread retries([&host](const std::stop_token& stop) { repeat_imports(host, stop); });
        const std::jthread commands([&commander](const std::stop_token& stop) { commander.run(stop); });
        serve(signals, options, configuration, host);
    }
    failure = commander.failure();
    try {
        if (!options.dump.empty()) {
            write_dump(options.dump, events, host.imports().incomplete(),
                       [&host](ZoHmiSrv::Value& listing) { return host.list_events(listing); });
        }
    } catch (const std::exception& error) {
        failure = error.what();
    }
    host.shut_down();
}

int run(const Options& options) {
    Configuration configuration(options.config);
    Trace trace(options.trace);
    EventList events;
    Console console(options.trace_to_stdout() || options.json ? stderr : stdout);
    Host host(
        configuration, events, trace, [&console](const std::string& line) { console.print(line); },
        options.no_retry ? std::nullopt : std::optional(RetryPauses{}));
    Operator commander(options, host, events, configuration, console);
    Signals signals; // after every read that may block, and before the first thread

    std::string failure;
    try {
        run_extension(signals, options, configuration, events, host, commander, failure);
    } catch (const std::exception& error) {
        failure = error.what();
    }
    if (failure.empty() && console.error() != 0)
        failure = std::string("cannot write the output: ") + std::strerror(console.error());
    if (!failure.empty()) print_failure(failure);
    return failure.empty() && !trace.failed() ? 0 : 1;
}

} // namespace

} // namespace server

int main(int argc, char** argv) {
    // The next opened file would get the number of a closed standard stream, and then its output.
    while (true) {
        const int file = open("/dev/null", O_RDWR | O_CLOEXEC);
        if (file > STDERR_FILENO) close(file);
        if (file < 0 || file > STDERR_FILENO) break;
    }
    // Threads come and go with the links of targets, but their events stay. An arena for each thread would keep three
    // times the memory in use. The fixed threshold returns free memory at the end of the heap.
    mallopt(M_ARENA_MAX, 1);
    mallopt(M_TRIM_THRESHOLD, 128 * 1024);
    // Lines are edited in UTF-8 in any environment. The format of numbers and times is unchanged.
    std::setlocale(LC_CTYPE, "C.UTF-8");
    server::Options options;
    if (const auto status = server::parse_options(argc, argv, options)) return *status;
    try {
        return server::run(options);
    } catch (const std::exception& error) {
        server::print_failure(error.what());
        return 1;
    }
}
