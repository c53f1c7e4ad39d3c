#include "server/operator.h"

#include "console/text.h"
#include "server/event_json.h"
#include "server/input.h"
#include "server/prompt.h"
#include "server/read_file.h"
#include "server/screen.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <sstream>
#include <unistd.h>

namespace server {

namespace {

constexpr std::size_t max_script_size = std::size_t{4} << 20;

std::vector<std::string> read_script(const Options& options) {
    std::vector<std::string> lines;
    if (!options.script.empty()) {
        std::istringstream in(read_file(options.script, max_script_size, FileKind::regular_or_stream));
        for (std::string line; std::getline(in, line);)
            lines.push_back(line);
    }
    lines.insert(lines.end(), options.commands.begin(), options.commands.end());
    return lines;
}

void end_server() {
    kill(getpid(), SIGTERM);
}

} // namespace

bool has_terminal() {
    return isatty(STDIN_FILENO) == 1 && isatty(STDOUT_FILENO) == 1 && tcgetpgrp(STDIN_FILENO) == getpgrp();
}

Operator::Operator(const Options& options, Host& host, const EventList& events, Configuration& configuration,
                   Console& console)
    : options_(options), host_(host), events_(events), console_(console),
      commands_(host, events, configuration, options.language), script_(read_script(options)) {
}

void Operator::run(const std::stop_token& stop) noexcept {
    try {
        if (options_.has_commands()) {
            run_script(stop);
        } else if (!options_.plain && !options_.trace_to_stdout() && has_terminal()) {
            run_terminal(stop);
        } else if (isatty(STDIN_FILENO) == 0) {
            run_pipe(stop);
        }
        if (failed_ != 0 && failure_.empty()) {
            failure_ = failed_ == 1 ? "1 command failed" : std::to_string(failed_) + " commands failed";
        }
    } catch (const std::exception& error) {
        failure_ = error.what();
        end_server();
    }
}

void Operator::run_script(const std::stop_token& stop) {
    for (const std::string& line : script_) {
        if (stop.stop_requested()) {
            failure_ = "stopped before the last command";
            return;
        }
        if (!run_command(line, stop)) break;
    }
    end_server();
}

void Operator::run_pipe(const std::stop_token& stop) {
    Input input(stop);
    bool any = false;
    bool go_on = true;
    while (go_on) {
        const auto line = input.line();
        if (!line) break;
        any = true;
        go_on = run_command(*line, stop);
    }
    // An input without any byte, such as /dev/null, does not end the server.
    if (any) end_server();
}

/// Returns false after the last command.
bool Operator::run_command(const std::string& line, const std::stop_token& stop) {
    const CommandLine command = parse_command(line, false);
    if (command.kind == nullptr && command.error.empty()) return true;
    if (!options_.json) host_.print("> " + console::printable(line));
    const Answer answer = commands_.run(line, stop);
    if (!answer.ok) ++failed_;
    print(answer);
    return answer.kind == nullptr || answer.kind->verb != Verb::quit;
}

void Operator::print(const Answer& answer) {
    if (options_.json) {
        const bool written = std::printf("%s\n", json_line(answer.json).c_str()) >= 0 && std::fflush(stdout) == 0;
        if (!written) failure_ = std::string("cannot write an answer: ") + std::strerror(errno);
    } else if (!answer.text.empty()) {
        host_.print((answer.ok ? "" : "error: ") + answer.text);
    }
}

void Operator::run_terminal(const std::stop_token& stop) {
    console_.set_quiet();
    Input input(stop);
    const KeyMode key_mode;
    Prompt prompt(input, [this](ArgumentKind kind) { return commands_.candidates(kind); });
    bool go_on = watch(events_, host_, console_, input, options_.language);
    if (go_on) std::puts("help: the commands; watch: the table again; quit: the end of the server");
    const Ask ask = [&input](const std::string& question) {
        input.drop(); // earlier keys are no answer
        std::printf("%s ", question.c_str());
        std::fflush(stdout);
        const char key = input.byte().value_or('n');
        std::puts(key == 'y' || key == 'Y' ? "y" : "n");
        return key == 'y' || key == 'Y';
    };
    while (go_on) {
        const auto line = prompt.line();
        if (!line) break;
        const Answer answer = commands_.run(*line, stop, ask);
        if (options_.json && (answer.kind != nullptr || !answer.ok)) {
            print(answer);
        } else if (!answer.text.empty()) {
            std::puts(((answer.ok ? "" : "error: ") + answer.text).c_str());
        }
        if (answer.kind == nullptr) continue;
        if (answer.kind->verb == Verb::quit) break;
        if (answer.kind->verb == Verb::watch) go_on = watch(events_, host_, console_, input, answer.language);
    }
    end_server();
}

} // namespace server
