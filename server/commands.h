#pragma once

#include "server/command_line.h"
#include "server/configuration.h"
#include "server/event_list.h"
#include "server/host.h"

#include <functional>
#include <nlohmann/json.hpp>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace server {

/// The result of a command as text and as JSON: {"command": line, "ok": true, ...} or {..., "ok": false, "error": ...}.
struct Answer {
    bool ok = true;
    std::string text; ///< printable lines, without the end of the last line; may be empty
    nlohmann::ordered_json json;
    const CommandKind* kind = nullptr; ///< null for an empty line and after a failure
    std::string language;              ///< of `watch`
};

/// Asks the operator a printable question. Returns true for yes.
using Ask = std::function<bool(const std::string& question)>;

/// Runs an operator's commands. They call into the extension and may block, so they must not run inside a host call.
/// [one thread]
class Commands {
public:
    /// The references must outlive this object. The language is the default of commands that name none.
    Commands(Host& host, const EventList& events, Configuration& configuration, std::string language)
        : host_(host), events_(events), configuration_(configuration), language_(std::move(language)) {}

    /// Runs one line. The answer contains a failure. With `ask` the line comes from a person at a terminal. The caller
    /// runs `quit` and `watch`: their kind is in the answer. A stop ends `sleep` and `wait` early.
    Answer run(std::string_view line, const std::stop_token& stop, const Ask& ask = {});

    /// Returns possible arguments of a kind.
    [[nodiscard]] std::vector<std::string> candidates(ArgumentKind kind) const;

private:
    void events(const CommandLine& command, Answer& answer);
    void show(const CommandLine& command, Answer& answer);
    void confirm(const CommandLine& command, Answer& answer);
    void diagnostics(Answer& answer);
    void targets(Answer& answer);
    void reconnect(const CommandLine& command, Answer& answer);
    void clear(const CommandLine& command, Answer& answer, const Ask& ask);
    void configure(const CommandLine& command, Answer& answer);
    void pause(const CommandLine& command, const std::stop_token& stop);
    /// Runs a command of the extension, for a target if one is named. Throws when it failed.
    ZoHmiSrv::Command request(const char* mapping, ZoHmiSrv::Value input, const std::string& target);
    void add_incomplete(Answer& answer) const;
    [[nodiscard]] EventRow row(const std::string& name) const;
    [[nodiscard]] std::string language(const CommandLine& command, std::size_t index) const;

    Host& host_;
    const EventList& events_;
    Configuration& configuration_;
    const std::string language_;
};

} // namespace server
