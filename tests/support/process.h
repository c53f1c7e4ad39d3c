#pragma once

#include "tests/support/files.h"

#include <filesystem>
#include <string>
#include <sys/types.h>
#include <vector>

namespace zo_test {

/// A running program. The destructor kills it.
class Process {
public:
    /// The program gets the environment of this one. Without a file for errors, they go to the output.
    Process(const std::vector<std::string>& words, const std::filesystem::path& output,
            const std::filesystem::path& errors = {});
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    /// Writes text to its input, line feeds included.
    void write(const std::string& lines) const;
    void send(const std::string& line) const { write(line + "\n"); }
    void end_input();
    void signal(int number) const;
    pid_t id() const { return pid_; }
    /// Returns true until the program ends.
    bool runs() const;
    /// Blocks until the program ends. Returns its exit status, or -1 for any other end.
    int wait();

private:
    pid_t pid_ = -1;
    int input_ = -1;
};

/// An output without a reader, which is soon full.
class UnreadOutput {
public:
    UnreadOutput();
    ~UnreadOutput();

    std::filesystem::path path() const { return folder_ / "pipe"; }
    /// Returns true if the pipe is nearly full and gets no more.
    bool full() const;

private:
    const TemporaryFolder folder_;
    int pipe_ = -1;
};

} // namespace zo_test
