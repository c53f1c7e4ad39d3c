// The program on a terminal: the live table, the prompt, and the terminal afterwards.
#include "tests/support/eventually.h"
#include "tests/support/files.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <functional>
#include <poll.h>
#include <pty.h>
#include <string>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

namespace {

using zo_test::TemporaryFile;

/// The server with a small extension on a terminal of its own.
class Terminal {
public:
    Terminal() {
        winsize size{24, 100, 0, 0};
        pid_ = forkpty(&master_, nullptr, nullptr, &size);
        if (pid_ == 0) {
            setenv("TERM", "xterm", 1);
            execl(ZO_SERVER, ZO_SERVER, "--extension", ZO_TEST_EXTENSION, "--config", config_.path().c_str(), nullptr);
            _exit(127);
        }
        tcgetattr(master_, &before_);
    }
    ~Terminal() {
        if (pid_ > 0) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
        }
        close(master_);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    void type(const std::string& keys) const {
        EXPECT_EQ(write(master_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    }
    /// Reads until the text comes, and drops everything up to its end.
    [[nodiscard]] bool shows(const std::string& text) {
        const bool found = reads_until([&] { return shown_.find(text) != std::string::npos; });
        EXPECT_TRUE(found) << "no \"" << text << "\" in: " << shown_;
        if (found) shown_.erase(0, shown_.find(text) + text.size());
        return found;
    }
    void signal(int number) const { kill(pid_, number); }
    /// Returns the exit status; the terminal must be restored.
    int wait() {
        int status = -1;
        if (!reads_until([&] { return waitpid(pid_, &status, WNOHANG) != 0; })) return -1;
        pid_ = 0;
        termios after{};
        tcgetattr(master_, &after);
        EXPECT_EQ(std::memcmp(&after, &before_, sizeof after), 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    bool reads_until(const std::function<bool()>& condition) {
        return zo_test::eventually([&] {
            pollfd waiting{master_, POLLIN, 0};
            char buffer[4096];
            const ssize_t count = poll(&waiting, 1, 10) > 0 ? read(master_, buffer, sizeof buffer) : 0;
            if (count > 0) shown_.append(buffer, static_cast<std::size_t>(count));
            return condition();
        });
    }

    TemporaryFile config_{R"({"TARGET_SYSTEMS": {"Bottling": {"ADDRESS": "", "ENABLED": false}}})"};
    int master_ = -1;
    pid_t pid_ = -1;
    termios before_{};
    std::string shown_;
};

const std::string enter_screen = "\x1b[?1049h";
const std::string leave_screen = "\x1b[?1049l";
const std::string arrow_up = "\x1b[A";
const std::string tabulator = "\t";

TEST(Terminal, KeyOpensPromptAndWatchTheTable) {
    Terminal terminal;
    const std::pair<std::string, std::string> steps[]{
        {"", enter_screen},
        {"", " 5  "},
        {arrow_up, leave_screen}, // a key of several bytes, which must not reach the first command
        {"", "zo> "},
        {"conf" + tabulator + "g" + tabulator + "del" + tabulator + "Bot" + tabulator + "\r",
         "configuration changed\r\n"},
        {arrow_up + "\r", "error: unknown target \"Bottling\"\r\n"},
        {"clear Plant\r", "Empty the log of Plant? (y/n) "},
        {"n", "log unchanged\r\n"},
        {"clear Plant\r", "(y/n) "},
        {"y", "error: ClearLoggedEvents failed: "},
        {"watch\r", enter_screen},
        {"q", leave_screen},
        {"", "zo> "},
    };
    for (const auto& [keys, text] : steps) {
        terminal.type(keys);
        ASSERT_TRUE(terminal.shows(text));
    }
    terminal.type("quit\r");
    EXPECT_EQ(terminal.wait(), 0);
}

TEST(Terminal, IsRestoredAtEveryEnd) {
    for (const std::string end : {"\x03", "\x15\x04", "SIGTERM", "\x03 in the table"}) { // Ctrl-C; Ctrl-U and Ctrl-D
        SCOPED_TRACE(end);
        Terminal terminal;
        ASSERT_TRUE(terminal.shows(enter_screen));
        if (!end.ends_with("table")) {
            terminal.type("x");
            ASSERT_TRUE(terminal.shows("zo> "));
            terminal.type("half");
            ASSERT_TRUE(terminal.shows("half"));
        }
        if (end == "SIGTERM")
            terminal.signal(SIGTERM);
        else
            terminal.type(end.substr(0, end.find(' ')));
        EXPECT_EQ(terminal.wait(), 0);
    }
}

} // namespace
