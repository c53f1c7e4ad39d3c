#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace zo_test {

// Holds threads until the test lets them go. The waits end by themselves some time, so that a broken test fails.
// [any thread]
class Gate {
public:
    ~Gate() { open(); }

    // Comes through as soon as the gate is open; false when it stays shut.
    bool wait(std::chrono::milliseconds limit = std::chrono::minutes(1)) {
        std::unique_lock lock(mutex_);
        ++arrived_;
        changed_.notify_all();
        return changed_.wait_for(lock, limit, [this] { return open_; });
    }
    // Waits until so many threads have come to the gate.
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
