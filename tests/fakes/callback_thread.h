#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace fakes {

// One thread that runs what is posted, in order, as the proxy's callback thread does. Ends with what is queued run.
class CallbackThread {
public:
    CallbackThread() = default;
    ~CallbackThread() {
        {
            const std::lock_guard lock(mutex_);
            stopping_ = true;
            changed_.notify_all();
        }
        thread_.join();
    }
    CallbackThread(const CallbackThread&) = delete;
    CallbackThread& operator=(const CallbackThread&) = delete;

    void post(std::function<void()> work) {
        const std::lock_guard lock(mutex_);
        queue_.push_back(std::move(work));
        changed_.notify_all();
    }
    // Waits until everything posted so far has run.
    void drain() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return queue_.empty() && !busy_; });
    }

private:
    void body() {
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

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> queue_;
    bool busy_ = false;
    bool stopping_ = false;
    std::thread thread_{[this] { body(); }}; // last
};

} // namespace fakes
