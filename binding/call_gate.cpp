#include "binding/call_gate.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace ZoAtlCom {

using ZoHmiSrv::MutexLock;

namespace {

using Works = std::vector<std::function<void()>>;

// Plain data: a thread-local destructor would keep the library mapped until the thread ends.
thread_local int gates_entered = 0;
thread_local Works* deferred = nullptr;

void run(std::function<void()>& work) noexcept {
    try {
        work();
    } catch (...) { // no caller remains that could get a report
    }
}

} // namespace

void CallGate::enter() {
    const MutexLock lock(mutex_);
    inside_.push_back(std::this_thread::get_id());
    ++gates_entered;
}

void CallGate::leave() noexcept {
    {
        const MutexLock lock(mutex_);
        const auto self = std::find(inside_.begin(), inside_.end(), std::this_thread::get_id());
        if (self == inside_.end()) return;
        *self = inside_.back();
        inside_.pop_back();
        if (inside_.empty()) idle_.notify_all();
    }
    if (--gates_entered > 0 || !deferred) return;
    const std::unique_ptr<Works> works(std::exchange(deferred, nullptr));
    for (auto& work : *works)
        run(work);
}

bool CallGate::is_inside() noexcept {
    return gates_entered > 0;
}

void CallGate::run_outside(std::function<void()> work) noexcept {
    if (!is_inside()) return run(work);
    try {
        if (!deferred) deferred = new Works;
        deferred->push_back(std::move(work));
    } catch (...) { // out of memory: leaking the object is safer than destroying it inside its own call
    }
}

void CallGate::wait_until_idle() {
    MutexLock lock(mutex_);
    const auto self = std::find(inside_.begin(), inside_.end(), std::this_thread::get_id());
    if (self != inside_.end()) return;
    while (!inside_.empty())
        lock.wait(idle_);
}

} // namespace ZoAtlCom
