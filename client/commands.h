#pragma once

#include "client/device.h"
#include "client/output.h"

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace fdx {

/// The command of one line, with its arguments.
struct Call {
    void (*run)(Device& device, Output& output, const Call& call) = nullptr;
    std::vector<std::string> words; ///< arguments, in the order of the command's usage
    bool hidden = false;            ///< lists hidden symbols too
};

/// Adds all commands to a command line. After parsing, `call` has the given command, if any.
void add_commands(CLI::App& app, Call& call);

/// Runs one line of a script or prompt: a command, or `sleep MS`. Ignores an empty line and a comment ("#").
void run_line(Device& device, Output& output, const std::string& line);

/// The commands that need the symbols.
void add_symbol_commands(CLI::App& app, Call& call);

/// Adds a command.
CLI::App* add_command(CLI::App& app, Call& call, const char* name, const char* description,
                      void (*run)(Device&, Output&, const Call&));

} // namespace fdx
