#include "server/screen.h"

#include "server/table.h"

#include <chrono>
#include <condition_variable>
#include <stop_token>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>

namespace server {

namespace {

constexpr auto period = std::chrono::milliseconds(250);
constexpr std::string_view enter_screen = "\x1b[?1049h\x1b[?25l"; // a screen of its own, no cursor
constexpr std::string_view leave_screen = "\x1b[?25h\x1b[?1049l";
constexpr std::string_view home = "\x1b[H";
constexpr std::string_view inverse = "\x1b[7m";
constexpr std::string_view plain = "\x1b[0m";
constexpr std::string_view clear_below = "\x1b[J";

void put(std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(STDOUT_FILENO, text.data(), text.size());
        if (written <= 0) return; // a terminal that is gone shows nothing more
        text.remove_prefix(static_cast<std::size_t>(written));
    }
}

struct Size {
    std::size_t width = 80;
    std::size_t height = 24;
};

Size window_size() {
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0) return {};
    return {size.ws_col, size.ws_row};
}

} // namespace

Screen::Screen(const EventList& list) : list_(list) {
    put(enter_screen);
    thread_ = std::jthread([this](const std::stop_token& stop) {
        std::mutex mutex;
        std::condition_variable_any wake;
        std::unique_lock lock(mutex);
        while (!stop.stop_requested()) {
            draw();
            wake.wait_for(lock, stop, period, [] { return false; });
        }
    });
}

Screen::~Screen() {
    thread_.request_stop();
    thread_.join();
    put(leave_screen);
}

void Screen::note(const std::string& line) {
    const std::lock_guard lock(mutex_);
    note_ = line;
}

void Screen::draw() {
    const auto [width, height] = window_size();
    TableContent content{list_.counts(), list_.top(height), {}};
    {
        const std::lock_guard lock(mutex_);
        content.note = note_;
    }
    std::string picture(home);
    const std::vector<std::string> lines = table_lines(content, width, height);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (i != 0) picture += "\r\n";
        const bool titles = i + 1 == table_header_lines;
        if (titles) picture += inverse;
        picture += lines[i];
        if (titles) picture += plain;
    }
    // Only from the start of a line: behind a full one the cursor still stands on its last character.
    if (lines.size() < height) picture.append("\r\n").append(clear_below);
    if (picture == drawn_) return;
    put(picture);
    drawn_ = std::move(picture);
}

} // namespace server
