#include "server/heard.h"

namespace server {

void Heard::count(std::string_view name) {
    const std::lock_guard lock(mutex_);
    const auto found = untaken_.find(name);
    if (found == untaken_.end()) {
        untaken_.emplace(name, 1);
    } else {
        ++found->second;
    }
    came_.notify_all();
}

bool Heard::take(const std::string& name, std::chrono::nanoseconds limit, const std::stop_token& stop) {
    std::unique_lock lock(mutex_);
    const auto there = [&] { return untaken_.contains(name); };
    if (!came_.wait_for(lock, stop, limit, there)) return false;
    const auto found = untaken_.find(name);
    if (--found->second == 0) untaken_.erase(found);
    return true;
}

void Heard::forget() {
    const std::lock_guard lock(mutex_);
    untaken_.clear();
}

} // namespace server
