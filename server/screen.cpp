#include "server/screen.h"

#include "server/console.h"
#include "server/host.h"
#include "server/input.h"
#include "server/localizer.h"
#include "server/table.h"

#include <chrono>
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
        if (written <= 0) return; // a closed terminal
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

struct OwnScreen {
    OwnScreen() { put(enter_screen); }
    ~OwnScreen() { put(leave_screen); }
    OwnScreen(const OwnScreen&) = delete;
    OwnScreen& operator=(const OwnScreen&) = delete;
};

std::string picture(const EventList& list, const Host& host, const Console& console, ShownTexts& texts) {
    const auto [width, height] = window_size();
    TableContent content{list.counts(), {}, console.last(), host.imports().incomplete()};
    const std::vector<EventRow> rows = list.top(height);
    std::vector<EventTexts> shown = texts.of(rows);
    for (std::size_t i = 0; i < rows.size(); ++i)
        content.rows.push_back({rows[i], std::move(shown[i])});

    std::string picture(home);
    const std::vector<std::string> lines = table_lines(content, width, height);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (i != 0) picture += "\r\n";
        const bool titles = i + 1 == table_header_lines;
        if (titles) picture += inverse;
        picture += lines[i];
        if (titles) picture += plain;
    }
    // Clears only from a line start: after a full line the cursor is still on its last character.
    if (lines.size() < height) picture.append("\r\n").append(clear_below);
    return picture;
}

} // namespace

bool watch(const EventList& list, Host& host, const Console& console, Input& keys, const std::string& language) {
    KeyMode key_mode;
    const OwnScreen own_screen;
    ShownTexts texts(host, language);
    std::string drawn;
    while (true) {
        if (key_mode.renew()) {
            put(enter_screen);
            drawn.clear();
        }
        if (std::string next = picture(list, host, console, texts); next != drawn) {
            put(next);
            drawn = std::move(next);
        }
        const Input::Got got = keys.wait(period);
        // One key may be several bytes; they must not reach the next command.
        if (got == Input::Got::bytes) keys.drop();
        if (got != Input::Got::nothing) return got == Input::Got::bytes;
    }
}

} // namespace server
