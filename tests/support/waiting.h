#pragma once

#include "support/threading.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

// Keeps what timer callbacks are called with, and lets a test wait for them. [any thread]
class TimerRecorder {
public:
    std::function<void(ZoHmiSrv::TimerError)> callback() {
        return [this](ZoHmiSrv::TimerError error) {
            const std::lock_guard lock(mutex_);
            errors_.push_back(error);
            changed_.notify_all();
        };
    }

    bool wait_for(std::size_t count, std::chrono::milliseconds timeout = std::chrono::seconds(20)) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, timeout, [&] { return errors_.size() >= count; });
    }

    std::vector<ZoHmiSrv::TimerError> errors() {
        const std::lock_guard lock(mutex_);
        return errors_;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<ZoHmiSrv::TimerError> errors_;
};

// A door that stays shut until a test opens it. [any thread]
class Gate {
public:
    void open() {
        const std::lock_guard lock(mutex_);
        open_ = true;
        changed_.notify_all();
    }

    bool wait(std::chrono::milliseconds timeout = std::chrono::seconds(20)) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, timeout, [&] { return open_; });
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool open_ = false;
};

// True as soon as nobody owns the object any more.
template <class T>
bool wait_until_gone(const std::weak_ptr<T>& object) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!object.expired()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}
