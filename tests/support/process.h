#pragma once

#include "tests/support/files.h"

#include <filesystem>
#include <string>
#include <sys/types.h>
#include <vector>

namespace zo_test {

/// A program that runs. Ends with its object, whatever happened.
class Process {
public:
    /// The environment is this program's own. Without a file for errors they go where the output goes.
    Process(const std::vector<std::string>& words, const std::filesystem::path& output,
            const std::filesystem::path& errors = {});
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    /// Any number of lines, each with its line feed.
    void write(const std::string& lines) const;
    void send(const std::string& line) const { write(line + "\n"); }
    void end_input();
    void signal(int number) const;
    pid_t id() const { return pid_; }
    /// Whether it has not ended yet.
    bool runs() const;
    /// The exit status, or -1 for any other end.
    int wait();

private:
    pid_t pid_ = -1;
    int input_ = -1;
};

/// An output that nobody reads, and that is full soon.
class UnreadOutput {
public:
    UnreadOutput();
    ~UnreadOutput();
    UnreadOutput(const UnreadOutput&) = delete;
    UnreadOutput& operator=(const UnreadOutput&) = delete;

    std::filesystem::path path() const { return folder_ / "pipe"; }
    /// Whether it holds nearly all it can, and gets no more.
    bool full() const;

private:
    const TemporaryFolder folder_;
    int pipe_ = -1;
};

} // namespace zo_test
