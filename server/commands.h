#pragma once

#include "server/command_line.h"
#include "server/configuration.h"
#include "server/event_list.h"
#include "server/host.h"

#include <nlohmann/json.hpp>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace server {

/// What a command gave, for people and as JSON: {"command": line, "ok": true, ...} or {..., "ok": false, "error": ...}.
struct Answer {
    bool ok = true;
    std::string text; ///< printable lines, without the last line's end; empty when there is nothing to say
    nlohmann::ordered_json json;
    const CommandKind* kind = nullptr; ///< null when the line said nothing, or could not be done
    std::string language;              ///< of `watch`
};

/// Does an operator's commands. Calls into the extension and so may block; never to be used inside a host call.
/// [one thread]
class Commands {
public:
    /// All but the language must outlive this object. The language is for texts where a command names none.
    Commands(Host& host, const EventList& events, Configuration& configuration, std::string language)
        : host_(host), events_(events), configuration_(configuration), language_(std::move(language)) {}

    /// What fails is told in the answer. `quit` and `watch` only give their kind: the caller does them. `sleep` and
    /// `wait` end early when `stop` comes.
    Answer run(std::string_view line, bool interactive, const std::stop_token& stop);

    /// What an argument of a kind could be.
    [[nodiscard]] std::vector<std::string> candidates(std::string_view kind) const;

private:
    void events(const CommandLine& command, Answer& answer);
    void show(const CommandLine& command, Answer& answer);
    void confirm(const CommandLine& command, Answer& answer);
    void request(const CommandLine& command, Answer& answer);
    void configure(const CommandLine& command, Answer& answer);
    void pause(const CommandLine& command, const std::stop_token& stop);
    [[nodiscard]] EventRow row(const std::string& name) const;
    [[nodiscard]] std::string language(const CommandLine& command, std::size_t index) const;

    Host& host_;
    const EventList& events_;
    Configuration& configuration_;
    const std::string language_;
};

} // namespace server
