#include "server/commands.h"

#include "server/describe.h"
#include "server/event_json.h"
#include "server/localizer.h"
#include "server/text.h"

#include <array>
#include <condition_variable>
#include <cstdio>
#include <limits>
#include <mutex>
#include <stdexcept>
#include <utility>

namespace server {

using namespace ZoHmiSrv;
using nlohmann::ordered_json;

namespace {

constexpr std::chrono::seconds default_wait(10);

/// A command that failed: what is said, and the number behind it if there is one.
struct Failure : std::runtime_error {
    explicit Failure(const std::string& sentence, unsigned number = 0) : std::runtime_error(sentence), result(number) {}
    unsigned result;
};

std::string hexadecimal(unsigned number) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%x", number);
    return text.data();
}

std::string named(std::string_view text) {
    return "\"" + printable(text) + "\"";
}

ordered_json row_json(const EventRow& row, const EventTexts& texts) {
    ordered_json json{{"row", row.number}, {"time", row.event.time_received().nanoseconds()}};
    if (const Alarm* alarm = alarm_of(row.event)) {
        json["severity"] = static_cast<std::int32_t>(alarm->severity());
        json["id"] = alarm->id();
    } else if (const Message* message = message_of(row.event)) {
        json["severity"] = static_cast<std::int32_t>(message->severity());
    }
    json["state"] = state_text(row);
    json["text"] = texts.text;
    json["class"] = texts.class_name;
    json["source"] = texts.source_name;
    if (texts.result != HMI_SUCCESS) json["notLocalized"] = hexadecimal(static_cast<unsigned>(texts.result));
    return json;
}

std::string event_line(const EventRow& row, const EventTexts& texts) {
    const RowText text = row_text(row);
    return text.number + " " + text.time + " severity " + text.severity + " " + text.state + ": " +
           printable(texts.text) + " | " + printable(texts.class_name) + " | " + printable(texts.source_name);
}

} // namespace

Answer Commands::run(std::string_view line, bool interactive, const std::stop_token& stop) {
    const CommandLine command = parse_command(line, interactive);
    Answer answer;
    answer.json = {{"command", line}, {"ok", true}};
    try {
        if (!command.error.empty()) throw Failure(command.error);
        if (command.kind == nullptr) return answer;
        switch (command.kind->verb) {
        case Verb::events:
            events(command, answer);
            break;
        case Verb::show:
            show(command, answer);
            break;
        case Verb::confirm:
            confirm(command, answer);
            break;
        case Verb::diagnostics:
        case Verb::targets:
        case Verb::reconnect:
        case Verb::clear:
            request(command, answer);
            break;
        case Verb::config_set:
        case Verb::config_delete:
            configure(command, answer);
            break;
        case Verb::sleep:
        case Verb::wait:
            pause(command, stop);
            break;
        case Verb::watch:
            if (!interactive) throw Failure("The live table needs a terminal.");
            answer.language = language(command, 0);
            break;
        case Verb::help:
            answer.text = help_text();
            answer.json["help"] = answer.text;
            break;
        case Verb::quit:
            break;
        }
        answer.kind = command.kind;
    } catch (const std::exception& error) {
        answer.ok = false;
        answer.text = printable(error.what());
        answer.json["ok"] = false;
        answer.json["error"] = answer.text;
        const auto* failure = dynamic_cast<const Failure*>(&error);
        if (failure != nullptr && failure->result != 0) answer.json["result"] = hexadecimal(failure->result);
    }
    return answer;
}

std::vector<std::string> Commands::candidates(std::string_view kind) const {
    if (kind == "ENABLED") return {"true", "false"};
    std::vector<std::string> found;
    if (kind == "NAME") {
        const Value targets = configuration_.get("TARGET_SYSTEMS");
        for (auto entry = targets.begin(); entry != targets.end(); ++entry)
            found.emplace_back(entry.name());
    } else if (kind == "#N|ID") {
        for (const EventRow& row : events_.rows())
            found.push_back("#" + std::to_string(row.number));
    }
    return found;
}

std::string Commands::language(const CommandLine& command, std::size_t index) const {
    return command.arguments.size() > index ? command.arguments[index] : language_;
}

EventRow Commands::row(const std::string& name) const {
    const bool by_row = name.starts_with('#');
    const std::int64_t wanted = std::stoll(name.substr(by_row ? 1 : 0));
    for (EventRow& row : events_.rows()) {
        const Alarm* alarm = alarm_of(row.event);
        if (by_row ? std::cmp_equal(row.number, wanted) : alarm != nullptr && alarm->id() == wanted) return row;
    }
    throw Failure(by_row ? "There is no row " + name + "." : "There is no alarm " + name + ".");
}

void Commands::events(const CommandLine& command, Answer& answer) {
    ordered_json rows = ordered_json::array();
    for (EventRow& row : events_.top(std::numeric_limits<std::size_t>::max())) {
        const EventTexts texts = localize(host_, row.event, language(command, 0));
        if (!answer.text.empty()) answer.text += '\n';
        answer.text += event_line(row, texts);
        rows.push_back(row_json(row, texts));
    }
    if (rows.empty()) answer.text = "There are no events.";
    answer.json["events"] = std::move(rows);
}

void Commands::show(const CommandLine& command, Answer& answer) {
    EventRow found = row(command.arguments[0]);
    const EventTexts texts = localize(host_, found.event, language(command, 1));
    answer.json.update(row_json(found, texts));
    answer.json["event"] = event_json(found.event);
    answer.text = event_line(found, texts);
    if (texts.result != HMI_SUCCESS) {
        answer.text += "\n  not localized: " + hexadecimal(static_cast<unsigned>(texts.result));
    }
    answer.text += "\n" + event_lines(found.event, "  ");
}

void Commands::confirm(const CommandLine& command, Answer& answer) {
    const EventRow found = row(command.arguments[0]);
    const Alarm* alarm = alarm_of(found.event);
    if (alarm == nullptr) throw Failure(command.arguments[0] + " is no alarm.");
    host_.heard().forget();
    if (const ErrorValue result = host_.confirm(*alarm); result != HMI_SUCCESS) {
        const auto number = static_cast<unsigned>(result);
        throw Failure("Alarm " + std::to_string(alarm->id()) + " was not confirmed: " + hexadecimal(number) + ".",
                      number);
    }
    answer.text = "Alarm " + std::to_string(alarm->id()) + " was confirmed.";
    answer.json["id"] = alarm->id();
}

void Commands::request(const CommandLine& command, Answer& answer) {
    const Verb verb = command.kind->verb;
    const char* const mapping = verb == Verb::diagnostics ? "Diagnostics"
                                : verb == Verb::targets   ? "ListEnabledTargetSystems"
                                : verb == Verb::reconnect ? "ForceReconnect"
                                                          : "ClearLoggedEvents";
    const bool acts = verb == Verb::reconnect || verb == Verb::clear;
    Value input;
    if (verb == Verb::reconnect) input.set(command.arguments[0].c_str());
    if (verb == Verb::clear) {
        input.set_type(ValueType::Struct);
        input.insert("targetName", command.arguments[0].c_str());
    }
    if (acts) host_.heard().forget();
    const Command done = host_.request(mapping, std::move(input));
    const unsigned result =
        done.result() != HMI_SUCCESS ? static_cast<unsigned>(done.result()) : done.extension_result();
    if (acts && result == HMI_E_ENTRY_NOT_FOUND) {
        throw Failure("There is no target " + named(command.arguments[0]) + ".", result);
    }
    if (result != HMI_SUCCESS) {
        const std::string text = *done.result_string() == '\0' ? "." : ": " + printable(done.result_string());
        throw Failure(std::string(mapping) + " failed with " + hexadecimal(result) + text, result);
    }
    if (verb == Verb::reconnect) answer.text = "The connection was dropped.";
    if (verb == Verb::clear) answer.text = "The log was cleared.";
    if (verb == Verb::diagnostics) {
        answer.json["diagnostics"] = value_json(done.read_value());
        answer.text = value_lines(done.read_value()["TARGET_SYSTEMS"], "");
    }
    if (verb == Verb::targets) {
        const Value& names = done.read_value();
        answer.json["targets"] = value_json(names);
        for (auto name = names.begin_vector(); name != names.end_vector(); ++name)
            answer.text += (answer.text.empty() ? "" : "\n") + printable(name->get_string());
    }
    if (answer.text.empty()) answer.text = "There are no targets.";
}

void Commands::configure(const CommandLine& command, Answer& answer) {
    const std::string& name = command.arguments[0];
    const bool set = command.kind->verb == Verb::config_set;
    host_.heard().forget();
    const auto changes = set ? configuration_.set_target(name, command.arguments[1], command.arguments[2] == "true")
                             : configuration_.delete_target(name);
    if (changes.empty() && !set) throw Failure("There is no target " + named(name) + ".");
    if (const std::string refusal = host_.tell(changes); !refusal.empty()) {
        throw Failure("The configuration has changed, but the extension answered: " + refusal + ".");
    }
    answer.text = "The configuration has changed.";
    if (changes.empty()) answer.text = "The configuration was so already.";
}

void Commands::pause(const CommandLine& command, const std::stop_token& stop) {
    const std::string& what = command.arguments[0];
    if (command.kind->verb == Verb::sleep) {
        std::mutex mutex;
        std::unique_lock lock(mutex);
        std::condition_variable_any wake;
        wake.wait_for(lock, stop, std::chrono::milliseconds(std::stoll(what)), [] { return false; });
        return;
    }
    const auto limit =
        command.arguments.size() > 1 ? std::chrono::seconds(std::stoll(command.arguments[1])) : default_wait;
    if (!host_.heard().take(what, limit, stop)) throw Failure(named(what) + " has not come in time.");
}

} // namespace server
