#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace server {

/// The options of the command line.
struct Options {
    std::filesystem::path extension; ///< shared object to load
    std::filesystem::path config;    ///< JSON file with the extension's configuration
    std::optional<double> seconds;   ///< end after this time; without it a signal ends the server
    bool plain = false;              ///< one line for each call instead of the live table
    std::filesystem::path trace;     ///< file for one JSON object a call, "-" for standard output, empty for none
    std::filesystem::path dump;      ///< file for the final list, empty for none
    std::filesystem::path script;    ///< file with an operator's commands, empty for none
    std::vector<std::string> commands;
    std::string language;  ///< of texts, unless a command names one
    bool json = false;     ///< answers as one JSON object a line; all other lines go to standard error
    bool no_retry = false; ///< do not reconnect a target after a failed import

    /// Returns true if there are commands to run. The server ends after them.
    [[nodiscard]] bool has_commands() const { return !script.empty() || !commands.empty(); }

    [[nodiscard]] bool trace_to_stdout() const { return trace == "-"; }
};

/// Reads the command line into `options`. Returns an exit status if the program must end at once: 0 after help or
/// version, 2 for a wrong command line. A wrong command line causes one line on standard error.
[[nodiscard]] std::optional<int> parse_options(int argc, const char* const* argv, Options& options);

} // namespace server
