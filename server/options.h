#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace server {

/// What the command line asks for.
struct Options {
    std::filesystem::path extension; ///< shared object to load
    std::filesystem::path config;    ///< JSON file with the extension's configuration
    std::optional<double> seconds;   ///< end by itself after this time; without it a signal ends the server
    bool plain = false;              ///< one line for each call instead of the live table
    std::filesystem::path trace;     ///< file for one JSON object a call, "-" for standard output, empty for none
    std::filesystem::path dump;      ///< file for the final list, empty for none
    std::filesystem::path script;    ///< file with an operator's commands, empty for none
    std::vector<std::string> commands;
    std::string language; ///< of texts, where a command names no other
    bool json = false;    ///< answers as one JSON object a line; all other lines go to standard error

    /// Commands to run, and then to end.
    [[nodiscard]] bool has_commands() const { return !script.empty() || !commands.empty(); }

    [[nodiscard]] bool trace_to_stdout() const { return trace == "-"; }
};

/// Reads the command line into `options`. The result is set when the program is to end at once with that exit status:
/// after the help text (0), or after a complaint on standard error.
[[nodiscard]] std::optional<int> parse_options(int argc, const char* const* argv, Options& options);

} // namespace server
