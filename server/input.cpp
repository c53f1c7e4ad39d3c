#include "server/input.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <limits>
#include <poll.h>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>

namespace server {

namespace {

constexpr std::size_t max_line = 65536;

} // namespace

Input::Input(const std::stop_token& stop) : wake_fd_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), stop_(stop) {
    if (wake_fd_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
    on_stop_.emplace(stop, [this] { wake(); });
}

Input::~Input() {
    on_stop_.reset();
    close(wake_fd_);
}

void Input::wake() const {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(wake_fd_, &one, sizeof one);
}

Input::Got Input::wait(std::optional<std::chrono::milliseconds> limit) {
    if (stop_.stop_requested()) return Got::end;
    if (next_ < size_) return Got::bytes;
    using Clock = std::chrono::steady_clock;
    const auto deadline = limit ? Clock::now() + *limit : Clock::time_point::max();
    while (true) {
        std::array<pollfd, 2> waiting{pollfd{STDIN_FILENO, POLLIN, 0}, pollfd{wake_fd_, POLLIN, 0}};
        int left = -1;
        if (limit) {
            const auto rest = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
            left = static_cast<int>(std::clamp<std::int64_t>(rest, 0, std::numeric_limits<int>::max()));
        }
        const int ready = poll(waiting.data(), waiting.size(), left);
        if (ready < 0 && errno == EINTR) continue;
        if (ready < 0 || waiting[1].revents != 0) return Got::end;
        if (ready == 0) return Got::nothing;
        const ssize_t count = read(STDIN_FILENO, buffer_.data(), buffer_.size());
        if (count < 0 && (errno == EINTR || errno == EAGAIN)) continue;
        if (count <= 0) return Got::end;
        next_ = 0;
        size_ = static_cast<std::size_t>(count);
        return Got::bytes;
    }
}

std::optional<char> Input::byte() {
    if (wait() != Got::bytes) return std::nullopt;
    return buffer_[next_++];
}

std::optional<std::string> Input::line() {
    std::string line;
    bool any = false;
    while (const auto next = byte()) {
        any = true;
        if (*next == '\n') return line;
        if (line.size() < max_line) line += *next;
    }
    if (!any || stop_.stop_requested()) return std::nullopt;
    return line;
}

void Input::drop() {
    next_ = size_ = 0;
    tcflush(STDIN_FILENO, TCIFLUSH);
}

KeyMode::KeyMode() {
    termios now{};
    if (tcgetattr(STDIN_FILENO, &now) != 0) return;
    before_ = now;
    renew();
}

bool KeyMode::renew() {
    constexpr tcflag_t unwanted = ICANON | ECHO;
    termios now{};
    if (!before_ || tcgetattr(STDIN_FILENO, &now) != 0 || (now.c_lflag & unwanted) == 0) return false;
    now.c_lflag &= ~unwanted;
    now.c_cc[VMIN] = 1;
    now.c_cc[VTIME] = 0;
    return tcsetattr(STDIN_FILENO, TCSANOW, &now) == 0;
}

KeyMode::~KeyMode() {
    if (before_) tcsetattr(STDIN_FILENO, TCSANOW, &*before_);
}

} // namespace server
