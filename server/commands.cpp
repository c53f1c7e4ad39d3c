#include "server/commands.h"

#include "console/text.h"
#include "server/describe.h"
#include "server/event_json.h"
#include "server/localizer.h"
#include "support/numeric.h"

#include <condition_variable>
#include <limits>
#include <mutex>
#include <stdexcept>
#include <utility>

namespace server {

using namespace ZoHmiSrv;
using nlohmann::ordered_json;

namespace {

constexpr std::chrono::seconds default_wait(10);

/// A failed command: its text, and the number of the extension's result if there is one.
struct Failure : std::runtime_error {
    explicit Failure(const std::string& words, ErrorValue number = HMI_SUCCESS)
        : std::runtime_error(words), result(number) {}
    ErrorValue result;
};

std::string hexadecimal(ErrorValue result) {
    return Algorithm::integer_to_hex<unsigned>(static_cast<unsigned>(result), true, false, false);
}

std::string target_of(const Event& event) {
    return parameters_of(event)["targetName"].get_string();
}

ordered_json row_json(const EventRow& row, const EventTexts& texts) {
    ordered_json json{{"number", event_number(row)}, {"time", row.event.time_received().nanoseconds()}};
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
    if (texts.result != HMI_SUCCESS) json["notLocalized"] = hexadecimal(texts.result);
    return json;
}

std::string event_line(const EventRow& row, const EventTexts& texts) {
    const RowText text = row_text(row);
    return text.number + " " + text.time + " severity " + text.severity + " " + text.state + ": " +
           console::printable(texts.text) + " | " + console::printable(texts.class_name) + " | " +
           console::printable(texts.source_name);
}

} // namespace

Answer Commands::run(std::string_view line, const std::stop_token& stop, const Ask& ask) {
    const bool interactive = static_cast<bool>(ask);
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
            diagnostics(answer);
            break;
        case Verb::targets:
            targets(answer);
            break;
        case Verb::reconnect:
            reconnect(command, answer);
            break;
        case Verb::clear:
            clear(command, answer, ask);
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
            if (!interactive) throw Failure("watch needs a terminal");
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
        answer.text = console::printable(error.what());
        answer.json["ok"] = false;
        answer.json["error"] = answer.text;
        const auto* failure = dynamic_cast<const Failure*>(&error);
        if (failure != nullptr && failure->result != HMI_SUCCESS) answer.json["result"] = hexadecimal(failure->result);
    }
    return answer;
}

std::vector<std::string> Commands::candidates(ArgumentKind kind) const {
    if (kind == ArgumentKind::enabled) return {"true", "false"};
    if (kind == ArgumentKind::yes) return {"--yes"};
    std::vector<std::string> found;
    if (kind == ArgumentKind::target) {
        const Value targets = configuration_.get("TARGET_SYSTEMS");
        for (auto entry = targets.begin(); entry != targets.end(); ++entry)
            found.emplace_back(entry.name());
    } else if (kind == ArgumentKind::event || kind == ArgumentKind::alarm) {
        for (const EventRow& row : events_.rows())
            if (kind == ArgumentKind::event || alarm_of(row.event) != nullptr) found.push_back(event_number(row));
    }
    return found;
}

std::string Commands::language(const CommandLine& command, std::size_t index) const {
    return command.arguments.size() > index ? command.arguments[index] : language_;
}

EventRow Commands::row(const std::string& name) const {
    const bool message = name.starts_with('m');
    const std::int64_t wanted = std::stoll(name.substr(message ? 1 : 0));
    for (EventRow& row : events_.rows()) {
        const Alarm* alarm = alarm_of(row.event);
        const bool same_kind = message == (alarm == nullptr);
        if (same_kind && (message ? std::cmp_equal(row.number, wanted) : alarm->id() == wanted)) return row;
    }
    throw Failure((message ? "unknown message " : "unknown alarm ") + name);
}

void Commands::add_incomplete(Answer& answer) const {
    if (const auto names = host_.imports().incomplete(); !names.empty()) answer.json["incomplete"] = names;
}

void Commands::events(const CommandLine& command, Answer& answer) {
    ordered_json rows = ordered_json::array();
    answer.text = incomplete_line(host_.imports().incomplete());
    for (EventRow& row : events_.top(std::numeric_limits<std::size_t>::max())) {
        const EventTexts texts = localize(host_, row.event, language(command, 0));
        if (!answer.text.empty()) answer.text += '\n';
        answer.text += event_line(row, texts);
        rows.push_back(row_json(row, texts));
    }
    if (rows.empty()) answer.text += answer.text.empty() ? "no events" : "\nno events";
    answer.json["events"] = std::move(rows);
    add_incomplete(answer);
}

void Commands::show(const CommandLine& command, Answer& answer) {
    EventRow found = row(command.arguments[0]);
    const EventTexts texts = localize(host_, found.event, language(command, 1));
    answer.json.update(row_json(found, texts));
    answer.json["event"] = event_json(found.event);
    answer.text = event_line(found, texts);
    answer.text += "\n  target: " + host_.imports().label(target_of(found.event));
    if (texts.result != HMI_SUCCESS) answer.text += "\n  not localized: " + result_text(texts.result);
    answer.text += "\n" + event_lines(found.event, "  ");
    add_incomplete(answer);
}

void Commands::confirm(const CommandLine& command, Answer& answer) {
    EventRow found = row(command.arguments[0]);
    const Alarm* alarm = alarm_of(found.event);
    if (alarm == nullptr) throw Failure(command.arguments[0] + " is a message; only alarms can be confirmed");
    const std::string target = target_of(found.event);
    const std::string name =
        "alarm " + command.arguments[0] + (target.empty() ? "" : " of " + host_.imports().label(target));
    Event localized = found.event;
    const EventTexts texts = localize(host_, localized, language_);
    host_.history().clear();
    if (const ResultPair result = host_.confirm(*alarm); result.result() != HMI_SUCCESS) {
        // A result without a text means that the logger was not asked: the extension found no live alarm of that id.
        const bool asked = *result.text() != '\0' || result.result() != HMI_E_FAIL;
        throw Failure(name + " not confirmed: " +
                          result_text(result.result(), asked ? result.text() : "the alarm is not active on its target"),
                      result.result());
    }
    answer.text = name +
                  " confirmed: " + (texts.source_name.empty() ? "" : console::printable(texts.source_name) + ": ") +
                  console::printable(texts.text);
    answer.json["id"] = alarm->id();
    answer.json["target"] = target;
    answer.json["source"] = texts.source_name;
    answer.json["text"] = texts.text;
}

Command Commands::request(const char* mapping, Value input, const std::string& target) {
    Command done = host_.request(mapping, std::move(input));
    const ErrorValue result = result_of(done);
    if (result == HMI_E_ENTRY_NOT_FOUND && !target.empty())
        throw Failure("unknown target " + quoted_name(target), result);
    if (result != HMI_SUCCESS)
        throw Failure(std::string(mapping) + " failed: " + result_text(result, done.result_string()), result);
    return done;
}

void Commands::diagnostics(Answer& answer) {
    const Command done = request("Diagnostics", {}, {});
    answer.json["diagnostics"] = value_json(done.read_value());
    const Value& targets = done.read_value()["TARGET_SYSTEMS"];
    for (auto target = targets.begin(); target != targets.end(); ++target) {
        answer.text += (answer.text.empty() ? "" : "\n") + host_.imports().label(target.name()) + ":\n" +
                       value_lines(*target, "  ");
    }
    if (answer.text.empty()) answer.text = "no targets";
    add_incomplete(answer);
}

void Commands::targets(Answer& answer) {
    const Command done = request("ListEnabledTargetSystems", {}, {});
    const Value& names = done.read_value();
    answer.json["targets"] = value_json(names);
    for (auto name = names.begin_vector(); name != names.end_vector(); ++name)
        answer.text += (answer.text.empty() ? "" : "\n") + host_.imports().label(name->get_string());
    if (answer.text.empty()) answer.text = "no targets";
    add_incomplete(answer);
}

void Commands::reconnect(const CommandLine& command, Answer& answer) {
    const std::string& target = command.arguments[0];
    host_.history().clear();
    request("ForceReconnect", target.c_str(), target);
    answer.text = console::printable(target) + " disconnected; reconnecting";
}

void Commands::clear(const CommandLine& command, Answer& answer, const Ask& ask) {
    const std::string& target = command.arguments[0];
    if (command.arguments.size() == 1) {
        if (!ask) throw Failure("clear empties a log for good; in scripts use: clear NAME --yes");
        if (!ask("Empty the log of " + host_.imports().label(target) + "? (y/n)")) {
            answer.text = "log unchanged";
            return;
        }
    }
    Value input;
    input.set_type(ValueType::Struct);
    input.insert("targetName", target.c_str());
    host_.history().clear();
    request("ClearLoggedEvents", std::move(input), target);
    answer.text = "log of " + host_.imports().label(target) + " cleared";
}

void Commands::configure(const CommandLine& command, Answer& answer) {
    const std::string& name = command.arguments[0];
    const bool set = command.kind->verb == Verb::config_set;
    host_.history().clear();
    const auto changes = set ? configuration_.set_target(name, command.arguments[1], command.arguments[2] == "true")
                             : configuration_.delete_target(name);
    if (changes.empty() && !set) throw Failure("unknown target " + quoted_name(name));
    if (const std::string refusal = host_.notify_config(changes); !refusal.empty()) {
        throw Failure("configuration changed, but the extension answered " + refusal);
    }
    answer.text = changes.empty() ? "configuration unchanged" : "configuration changed";
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
    if (!host_.history().take(what, limit, stop)) throw Failure("timed out waiting for " + quoted_name(what));
}

} // namespace server
