#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <termios.h>

namespace server {

/// Reads standard input; a stop ends every wait. [one thread]
class Input {
public:
    enum class Got { bytes, nothing, end };

    /// Throws std::system_error.
    explicit Input(const std::stop_token& stop);
    ~Input();
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

    /// Blocks until bytes come. Returns `nothing` after `limit`, `end` at the end of the input or after a stop.
    Got wait(std::optional<std::chrono::milliseconds> limit = {});
    /// Returns the next byte; nothing at the end.
    std::optional<char> byte();
    /// Returns the next line without its line feed, cut at 64 KiB; nothing at the end.
    std::optional<std::string> line();
    /// Drops all bytes that have arrived.
    void drop();

private:
    void wake() const;

    int wake_fd_;
    std::stop_token stop_;
    std::optional<std::stop_callback<std::function<void()>>> on_stop_;
    std::array<char, 4096> buffer_{};
    std::size_t next_ = 0;
    std::size_t size_ = 0;
};

/// While it lives, the terminal at standard input passes on each key at once and echoes none.
class KeyMode {
public:
    KeyMode();
    ~KeyMode();
    KeyMode(const KeyMode&) = delete;
    KeyMode& operator=(const KeyMode&) = delete;

    /// Restores this mode if another program has changed it, such as a shell that stops and continues this process.
    /// Returns true if the mode was changed.
    bool renew();

private:
    std::optional<termios> before_;
};

} // namespace server
