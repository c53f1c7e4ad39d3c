#pragma once

#include <cstdio>
#include <mutex>
#include <string>

namespace server {

/// Where the server's plain lines go: to a stream, or nowhere while an operator has the terminal for himself.
/// [any thread]
class Console {
public:
    explicit Console(std::FILE* stream) : stream_(stream) {}

    /// Writes printable text and ends the line.
    void say(const std::string& text);
    /// From now on lines are only kept, the last one at a time.
    void hush();
    [[nodiscard]] std::string last() const;
    /// Why the first line that could not be written was not: an errno, 0 for none.
    [[nodiscard]] int error() const;

private:
    mutable std::mutex mutex_;
    std::FILE* const stream_;
    bool hushed_ = false;
    int error_ = 0;
    std::string last_;
};

} // namespace server
