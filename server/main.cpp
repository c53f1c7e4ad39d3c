#include "extension/host/host.h"
#include "extension/host/listeners.h"
#include "server/configuration.h"
#include "server/console.h"
#include "server/dump.h"
#include "server/event_list.h"
#include "server/extension_library.h"
#include "server/host.h"
#include "server/operator.h"
#include "server/options.h"
#include "server/signals.h"
#include "server/text.h"
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

void complain(const std::string& line) {
    std::fprintf(stderr, "zo-hmi-server: %s\n", printable(line).c_str());
}

void read_configuration_again(Configuration& configuration, Host& host) {
    try {
        const auto changes = configuration.reload();
        host.say("configuration read again, " + std::to_string(changes.size()) + " targets changed");
        host.tell(changes);
    } catch (const std::exception& error) {
        host.say(std::string("error: the configuration stays as it is: ") + printable(error.what()));
    }
}

/// Serves until the time is over or a signal ends it.
void serve(Signals& signals, const Options& options, Configuration& configuration, Host& host) {
    std::optional<Signals::Clock::time_point> deadline;
    if (options.seconds) {
        deadline = Signals::Clock::now() + std::chrono::duration_cast<Signals::Clock::duration>(
                                               std::chrono::duration<double>(*options.seconds));
    }
    while (const auto signal = signals.wait(deadline)) {
        if (*signal != SIGHUP) return;
        read_configuration_again(configuration, host);
    }
}

/// The extension's whole life. What fails is told in `failure`.
void run_extension(Signals& signals, const Options& options, Configuration& configuration, EventList& events,
                   Host& host, Operator& commander, std::string& failure) {
    ExtensionLibrary library(options.extension, &host);
    char version[32];
    std::snprintf(version, sizeof version, "%.1f", library.version());
    host.say("loaded " + printable(options.extension.filename().string()) + ", interface version " + version);

    ZoHmiSrv::ResultPair result;
    if (!host.guarded("init", [&] { result = library.extension().init(host.context()); })) {
        failure = "the extension's init threw";
        return;
    }
    if (result.result() != ZoHmiSrv::HMI_SUCCESS) {
        char number[16];
        std::snprintf(number, sizeof number, "0x%x", static_cast<unsigned>(result.result()));
        failure = std::string("the extension's init answered ") + number;
        if (*result.text() != '\0') failure += ": " + printable(result.text());
        return;
    }
    host.list_anew("listed");
    {
        // Calls into the extension, so it is joined while that still serves.
        const std::jthread thread([&commander](const std::stop_token& stop) { commander.run(stop); });
        serve(signals, options, configuration, host);
    }
    failure = commander.failure();
    try {
        if (!options.dump.empty()) {
            write_dump(options.dump, events, [&host](ZoHmiSrv::Value& listing) { return host.list_events(listing); });
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
    Host host(configuration, events, trace, [&console](const std::string& line) { console.say(line); });
    Operator commander(options, host, events, configuration, console);
    Signals signals; // behind all that may wait for a file, and before the first thread

    std::string failure;
    try {
        run_extension(signals, options, configuration, events, host, commander, failure);
    } catch (const std::exception& error) {
        failure = error.what();
    }
    if (failure.empty() && console.error() != 0)
        failure = std::string("the output cannot be written: ") + std::strerror(console.error());
    if (!failure.empty()) complain(failure);
    return failure.empty() && !trace.failed() ? 0 : 1;
}

} // namespace

} // namespace server

int main(int argc, char** argv) {
    // A standard stream that is closed would lend its number to the next file, which would then be taken for it.
    while (true) {
        const int file = open("/dev/null", O_RDWR | O_CLOEXEC);
        if (file > STDERR_FILENO) close(file);
        if (file < 0 || file > STDERR_FILENO) break;
    }
    // Threads come and go with the targets' links, and the events that they bring stay. With an arena for each thread
    // three times the memory in use would lie about; a fixed threshold keeps giving back what is free at the end.
    mallopt(M_ARENA_MAX, 1);
    mallopt(M_TRIM_THRESHOLD, 128 * 1024);
    // Lines are edited in UTF-8 whatever the environment says; numbers and times do not look at this.
    std::setlocale(LC_CTYPE, "C.UTF-8");
    server::Options options;
    if (const auto status = server::parse_options(argc, argv, options)) return *status;
    try {
        return server::run(options);
    } catch (const std::exception& error) {
        server::complain(error.what());
        return 1;
    }
}
