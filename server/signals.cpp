#include "server/signals.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <limits>
#include <poll.h>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>

namespace server {

namespace {

[[noreturn]] void fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

/// Milliseconds until the deadline for poll: rounded up, so that it never spins, and cut to what an int holds.
int poll_timeout(std::optional<Signals::Clock::time_point> deadline) {
    if (!deadline) return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - Signals::Clock::now()).count();
    return static_cast<int>(std::clamp<decltype(left)>(left, 0, std::numeric_limits<int>::max()));
}

} // namespace

Signals::Signals() {
    sigset_t set;
    sigemptyset(&set);
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&set, number);
    if (const int error = pthread_sigmask(SIG_BLOCK, &set, nullptr); error != 0) {
        throw std::system_error(error, std::generic_category(), "pthread_sigmask");
    }
    std::signal(SIGPIPE, SIG_IGN);
    fd_ = signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
    if (fd_ < 0) fail("signalfd");
}

Signals::~Signals() {
    close(fd_);
}

std::optional<int> Signals::wait(std::optional<Clock::time_point> deadline) {
    while (true) {
        signalfd_siginfo info{};
        if (read(fd_, &info, sizeof info) == sizeof info) return static_cast<int>(info.ssi_signo);
        pollfd waiting{fd_, POLLIN, 0};
        const int ready = poll(&waiting, 1, poll_timeout(deadline));
        if (ready < 0 && errno != EINTR) fail("poll");
        if (ready == 0 && deadline && Clock::now() >= *deadline) return std::nullopt;
    }
}

} // namespace server
