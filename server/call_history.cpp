#include "server/call_history.h"

namespace server {

void CallHistory::record(std::string_view name) {
    const std::lock_guard lock(mutex_);
    const auto found = counts_.find(name);
    if (found == counts_.end()) {
        counts_.emplace(name, 1);
    } else {
        ++found->second;
    }
    recorded_.notify_all();
}

bool CallHistory::take(const std::string& name, std::chrono::nanoseconds limit, const std::stop_token& stop) {
    std::unique_lock lock(mutex_);
    if (!recorded_.wait_for(lock, stop, limit, [&] { return counts_.contains(name); })) return false;
    const auto found = counts_.find(name);
    if (--found->second == 0) counts_.erase(found);
    return true;
}

void CallHistory::clear() {
    const std::lock_guard lock(mutex_);
    counts_.clear();
}

} // namespace server
