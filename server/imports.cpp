#include "server/imports.h"

#include "console/text.h"
#include "extension/host/value.h"

#include <algorithm>
#include <string_view>

namespace server {

std::string Imports::follow(const ZoHmiSrv::Message& message) {
    const std::string_view name = message.name();
    const bool connected = name == "TARGET_SYSTEM_CONNECTED";
    const bool summary = name == "GETLOGGEDEVENTS_GETACTIVEALARMS";
    if (!connected && !summary && name != "ZORVANE_EVENTLOGGER_ERROR") return {};
    const std::string target_name = message.parameters()["0"].get_string();

    const std::lock_guard lock(mutex_);
    if (connected) {
        Target& target = targets_[target_name];
        target.importing = true;
        target.due.reset();
    }
    if (summary) targets_.erase(target_name);
    const auto found = targets_.find(target_name);
    if (connected || summary || found == targets_.end() || !found->second.importing) return {};
    Target& target = found->second;
    target.importing = false;
    target.failed = true;
    schedule(target);
    std::string line = console::printable(target_name) + ": " + incomplete_text;
    if (target.due) {
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(target.pause).count();
        line += "; reconnecting in " + std::to_string(seconds) + " s";
    }
    return line;
}

void Imports::schedule(Target& target) {
    if (!pauses_) return;
    target.pause =
        target.pause == Clock::duration() ? pauses_->first : std::min<Clock::duration>(target.pause * 2, pauses_->max);
    target.due = Clock::now() + target.pause;
    changed_.notify_all();
}

void Imports::postpone(const std::string& target) {
    const std::lock_guard lock(mutex_);
    const auto found = targets_.find(target);
    if (found != targets_.end() && found->second.failed && !found->second.importing) schedule(found->second);
}

void Imports::forget(const std::string& target) {
    const std::lock_guard lock(mutex_);
    targets_.erase(target);
}

std::vector<std::string> Imports::incomplete() const {
    const std::lock_guard lock(mutex_);
    std::vector<std::string> names;
    for (const auto& [name, target] : targets_)
        if (target.failed) names.push_back(name);
    return names;
}

bool Imports::is_incomplete(const std::string& target) const {
    const std::lock_guard lock(mutex_);
    const auto found = targets_.find(target);
    return found != targets_.end() && found->second.failed;
}

std::string Imports::label(const std::string& target) const {
    return console::printable(target) + (is_incomplete(target) ? std::string(" (") + incomplete_text + ")" : "");
}

std::map<std::string, Imports::Target>::iterator Imports::first_due() {
    auto first = targets_.end();
    for (auto target = targets_.begin(); target != targets_.end(); ++target) {
        if (target->second.due && (first == targets_.end() || *target->second.due < *first->second.due)) first = target;
    }
    return first;
}

std::optional<std::string> Imports::wait_until_due(const std::stop_token& stop) {
    std::unique_lock lock(mutex_);
    while (!stop.stop_requested()) {
        const auto first = first_due();
        if (first == targets_.end()) {
            changed_.wait(lock, stop, [this] { return first_due() != targets_.end(); });
        } else if (const auto due = *first->second.due; Clock::now() < due) {
            // Meanwhile another target may become due earlier, or this target may be imported.
            changed_.wait_until(lock, stop, due, [&] {
                const auto now_first = first_due();
                return now_first == targets_.end() || *now_first->second.due != due;
            });
        } else {
            first->second.due.reset();
            return first->first;
        }
    }
    return std::nullopt;
}

std::string incomplete_line(const std::vector<std::string>& targets) {
    std::string line;
    for (const std::string& target : targets)
        line += (line.empty() ? "" : ", ") + console::printable(target);
    return line.empty() ? line : line + ": " + incomplete_text;
}

} // namespace server
