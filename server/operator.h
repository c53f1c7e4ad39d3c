#pragma once

#include "server/commands.h"
#include "server/console.h"
#include "server/host.h"
#include "server/options.h"

#include <cstddef>
#include <stop_token>
#include <string>
#include <vector>

namespace server {

/// Whoever gives the commands: a script, a person at a terminal, or a pipe.
class Operator {
public:
    /// All must outlive this object. Reads the script; throws std::runtime_error when it cannot.
    Operator(const Options& options, Host& host, const EventList& events, Configuration& configuration,
             Console& console);

    /// Does the commands until there are no more, then ends the server with a SIGTERM; where nobody gives commands,
    /// does nothing. A stop ends it early. Throws nothing. Not inside a host call. [one thread]
    void run(const std::stop_token& stop) noexcept;

    /// What went wrong, as one sentence; empty when nothing did. After `run`.
    [[nodiscard]] const std::string& failure() const { return failure_; }

private:
    void run_script(const std::stop_token& stop);
    void run_pipe(const std::stop_token& stop);
    void run_terminal(const std::stop_token& stop);
    bool run_command(const std::string& line, const std::stop_token& stop);
    void print(const Answer& answer);

    const Options& options_;
    Host& host_;
    const EventList& events_;
    Console& console_;
    Commands commands_;
    std::vector<std::string> script_;
    std::size_t failed_ = 0;
    std::string failure_;
};

/// True when a person can be shown a table and asked for commands: standard input and output are the terminal that this
/// process is in the foreground of.
[[nodiscard]] bool has_terminal();

} // namespace server
