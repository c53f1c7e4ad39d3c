#include "targets/callback_recorder.h"

#include "binding/call_gate.h"

#include <utility>

namespace ZoHmiEventLogger {

using ZoHmiSrv::Mutex;
using ZoHmiSrv::MutexLock;

CallbackLock::CallbackLock(std::shared_ptr<Mutex> mutex) : held_(std::make_shared<Held>()) {
    held_->mutex = std::move(mutex);
}

void CallbackLock::lock() {
    held_->lock.emplace(held_->mutex->inner());
}

LockHolder CallbackLock::make_holder() {
    if (!owns_lock()) return {};
    auto* const lock = &*held_->lock;
    return {std::move(held_), lock};
}

CallbackRecorder::CallbackRecorder(std::shared_ptr<const std::atomic<bool>> stopping) : stopping_(std::move(stopping)) {
}

void CallbackRecorder::start_recording() {
    const MutexLock lock(mutex_);
    recording_ = true;
}

// Without analysis: the compiler does not know that `callbacks` locks this mutex. The swap allocates nothing: an import
// that ran out of memory also ends here. Even an empty deque allocates.
void CallbackRecorder::stop_recording(const CallbackLock&, Records& records) noexcept ZO_NO_THREAD_SAFETY_ANALYSIS {
    recording_ = false;
    recorded_.swap(records);
}

// This function does not use the callback mutex: a tick can keep that locked until it has polled all other targets.
void CallbackRecorder::retire() {
    retired_ = true;
    if (ZoAtlCom::CallGate::is_inside()) return;
    const MutexLock handled(handling_mutex_);
}

bool CallbackRecorder::drop_callbacks_of(std::uint64_t link, const CallbackLock&) {
    lost_link_ = link;
    return link_ == link;
}

} // namespace ZoHmiEventLogger
