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

/// Standard input, read so that a stop ends every wait. [one thread]
class Input {
public:
    enum class Got { bytes, nothing, end };

    /// Throws std::system_error.
    explicit Input(const std::stop_token& stop);
    ~Input();
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

    /// Waits for bytes: `nothing` after that time, `end` at the end of the input or when the stop has come.
    Got wait(std::optional<std::chrono::milliseconds> limit = {});
    /// The next byte; nothing at the end.
    std::optional<char> byte();
    /// The next line without its end, cut at 64 KiB; nothing at the end.
    std::optional<std::string> line();
    /// Drops what has come so far.
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

/// While it lives, the terminal at standard input gives each key at once and shows none.
class KeyMode {
public:
    KeyMode();
    ~KeyMode();
    KeyMode(const KeyMode&) = delete;
    KeyMode& operator=(const KeyMode&) = delete;

    /// Sets the terminal so again if somebody has set it otherwise, as a shell does that stops and continues this
    /// process. True when that was so.
    bool renew();

private:
    std::optional<termios> before_;
};

} // namespace server
