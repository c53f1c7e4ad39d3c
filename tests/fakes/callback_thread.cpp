#include "tests/fakes/callback_thread.h"

namespace fakes {

CallbackThread::CallbackThread() : thread_([this] { body(); }) {
}

CallbackThread::~CallbackThread() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
        changed_.notify_all();
    }
    thread_.join();
}

void CallbackThread::post(std::function<void()> work) {
    const std::lock_guard lock(mutex_);
    queue_.push_back(std::move(work));
    changed_.notify_all();
}

void CallbackThread::drain() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return queue_.empty() && !busy_; });
}

void CallbackThread::body() {
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return stopping_ || !queue_.empty(); });
        if (queue_.empty()) return;
        std::function<void()> work = std::move(queue_.front());
        queue_.pop_front();
        busy_ = true;
        lock.unlock();
        work();
        work = nullptr;
        lock.lock();
        busy_ = false;
        changed_.notify_all();
    }
}

} // namespace fakes
