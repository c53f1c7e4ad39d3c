#include "tests/fakes/call_log.h"

#include <algorithm>

namespace fakes {

void CallLog::add(std::string text) {
    const std::lock_guard lock(mutex_);
    calls_.push_back({std::move(text), std::this_thread::get_id()});
    added_.notify_all();
}

void CallLog::clear() {
    const std::lock_guard lock(mutex_);
    calls_.clear();
}

std::vector<Call> CallLog::calls() const {
    const std::lock_guard lock(mutex_);
    return calls_;
}

std::vector<std::string> CallLog::texts(std::string_view prefix) const {
    const std::lock_guard lock(mutex_);
    std::vector<std::string> texts;
    for (const Call& call : calls_)
        if (call.text.starts_with(prefix)) texts.push_back(call.text);
    return texts;
}

std::size_t CallLog::count(std::string_view text) const {
    const std::lock_guard lock(mutex_);
    return count_locked(text);
}

bool CallLog::wait_for(std::string_view text, std::size_t times, std::chrono::milliseconds timeout) const {
    std::unique_lock lock(mutex_);
    return added_.wait_for(lock, timeout, [&] { return count_locked(text) >= times; });
}

std::size_t CallLog::count_locked(std::string_view text) const {
    return static_cast<std::size_t>(
        std::count_if(calls_.begin(), calls_.end(), [&](const Call& call) { return call.text == text; }));
}

CallLog& call_log() {
    static CallLog log;
    return log;
}

} // namespace fakes
