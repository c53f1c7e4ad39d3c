#include "binding/call_gate.h"

#include <algorithm>

namespace ZoAtlCom {

void CallGate::enter() {
    const std::lock_guard lock(mutex_);
    inside_.push_back(std::this_thread::get_id());
}

void CallGate::leave() noexcept {
    const std::lock_guard lock(mutex_);
    const auto self = std::find(inside_.begin(), inside_.end(), std::this_thread::get_id());
    if (self == inside_.end()) return;
    *self = inside_.back();
    inside_.pop_back();
    if (inside_.empty()) idle_.notify_all();
}

void CallGate::wait_until_idle() {
    std::unique_lock lock(mutex_);
    const auto self = std::find(inside_.begin(), inside_.end(), std::this_thread::get_id());
    if (self != inside_.end()) return;
    idle_.wait(lock, [this] { return inside_.empty(); });
}

} // namespace ZoAtlCom
