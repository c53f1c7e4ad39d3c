#include "server/start.h"

#include "extension/host/host.h"
#include "server/host.h"
#include "server/signals.h"

#include <chrono>
#include <csignal>
#include <thread>

namespace server {

namespace {

constexpr int init_is_over = 0; // not the number of a signal
constexpr auto time_to_register = std::chrono::milliseconds(20);

} // namespace

Start start(ZoHmiSrv::IZoHmiSrvExt& extension, Host& host, Signals& signals) {
    Start outcome;
    const std::jthread init([&] {
        ZoHmiSrv::ResultPair result;
        if (host.guarded("init", [&] { result = extension.init(host.context()); })) outcome.result = std::move(result);
        signals.post(init_is_over);
    });
    // The listener may not be registered yet when a signal comes.
    for (bool shut_down = false;;) {
        const bool try_again = outcome.stopped && !shut_down;
        const auto number =
            signals.wait(try_again ? std::optional(Signals::Clock::now() + time_to_register) : std::nullopt);
        if (number == init_is_over) return outcome;
        if (number == SIGHUP) outcome.reload = true;
        if (number == SIGINT || number == SIGTERM) outcome.stopped = true;
        if (outcome.stopped && !shut_down) shut_down = host.shut_down();
    }
}

} // namespace server
