#pragma once

#include <cstdio>
#include <mutex>
#include <string>

namespace server {

/// The server's plain lines. They are printed to a stream, or only stored while an operator uses the terminal. [any
/// thread]
class Console {
public:
    explicit Console(std::FILE* stream) : stream_(stream) {}

    /// Writes printable text and ends the line.
    void print(const std::string& text);
    /// Stores only the last line from now on, and writes none.
    void set_quiet();
    [[nodiscard]] std::string last() const;
    /// Returns the errno of the first line that could not be written, or 0.
    [[nodiscard]] int error() const;

private:
    mutable std::mutex mutex_;
    std::FILE* const stream_;
    bool quiet_ = false;
    int error_ = 0;
    std::string last_;
};

} // namespace server
