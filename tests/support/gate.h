#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace zo_test {

/// Blocks threads until the test opens it. Waits time out, so that a broken test fails. [any thread]
class Gate {
public:
    ~Gate() { open(); }

    /// Blocks until the gate is open; returns false when that timed out.
    bool wait(std::chrono::milliseconds limit = std::chrono::minutes(1)) {
        std::unique_lock lock(mutex_);
        ++arrived_;
        changed_.notify_all();
        return changed_.wait_for(lock, limit, [this] { return open_; });
    }
    /// Blocks until that many threads have reached the gate; returns false when that timed out.
    bool wait_for_arrivals(int count = 1, std::chrono::milliseconds limit = std::chrono::minutes(1)) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, limit, [&] { return arrived_ >= count; });
    }
    void open() {
        const std::lock_guard lock(mutex_);
        open_ = true;
        changed_.notify_all();
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    int arrived_ = 0;
    bool open_ = false;
};

} // namespace zo_test
