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

/// Runs the commands of a script, of a person at a terminal, or of a pipe.
class Operator {
public:
    /// All must outlive this object. Reads the script; throws std::runtime_error on failure.
    Operator(const Options& options, Host& host, const EventList& events, Configuration& configuration,
             Console& console);

    /// Runs the commands until there are no more, then ends the server by a SIGTERM. Does nothing without a source of
    /// commands. A stop ends the run early. Throws nothing. Must not run inside a host call. [one thread]
    void run(const std::stop_token& stop) noexcept;

    /// Returns the reason of a failure after `run`, or "".
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

/// Returns true if an operator can see a table and type commands. Standard input and output must be a terminal, and
/// this process must be in its foreground.
[[nodiscard]] bool has_terminal();

} // namespace server
