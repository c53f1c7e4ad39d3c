#include "server/signals.h"

#include <cstdio>
#include <cstdlib>
#include <poll.h>
#include <string_view>
#include <system_error>
#include <unistd.h>

namespace server {

namespace {

constexpr timespec step{0, 100'000'000};
constexpr int max_steps = 20;

bool is_writable(int file) {
    pollfd waiting{file, POLLOUT, 0};
    return poll(&waiting, 1, 0) != 0;
}

[[noreturn]] void end_now() {
    constexpr std::string_view sentence = "zo-hmi-server: stopped: no reader of its output\n";
    if (is_writable(STDERR_FILENO)) {
        [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, sentence.data(), sentence.size());
    }
    std::_Exit(1);
}

} // namespace

Signals::Signals() {
    sigemptyset(&set_);
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&set_, number);
    if (const int error = pthread_sigmask(SIG_BLOCK, &set_, nullptr); error != 0) {
        throw std::system_error(error, std::generic_category(), "pthread_sigmask");
    }
    std::signal(SIGPIPE, SIG_IGN);
    thread_ = std::jthread([this](const std::stop_token& stop) { listen(stop); });
}

Signals::~Signals() {
    thread_.request_stop();
    pthread_kill(thread_.native_handle(), SIGHUP);
}

void Signals::listen(const std::stop_token& stop) {
    int steps = 0; // while an output is blocked
    for (bool ending = false;;) {
        siginfo_t info{};
        const int number = ending ? sigtimedwait(&set_, &info, &step) : sigwaitinfo(&set_, &info);
        if (stop.stop_requested()) return;
        if (number > 0) {
            post(number);
            // A signal of this process does not set `ending`: after its own commands it waits for the reader of their
            // answers.
            ending = ending || (number != SIGHUP && info.si_pid != getpid());
        } else if (ending) {
            steps = is_writable(STDOUT_FILENO) && is_writable(STDERR_FILENO) ? 0 : steps + 1;
            if (steps == max_steps) end_now();
        }
    }
}

void Signals::post(int number) {
    {
        const std::lock_guard lock(mutex_);
        numbers_.push_back(number);
    }
    received_.notify_one();
}

std::optional<int> Signals::wait(std::optional<Clock::time_point> deadline) {
    std::unique_lock lock(mutex_);
    const auto any = [this] { return !numbers_.empty(); };
    if (!deadline) {
        received_.wait(lock, any);
    } else if (!received_.wait_until(lock, *deadline, any)) {
        return std::nullopt;
    }
    const int number = numbers_.front();
    numbers_.pop_front();
    return number;
}

} // namespace server
