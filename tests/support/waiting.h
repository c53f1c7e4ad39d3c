#pragma once

#include "support/threading.h"
#include "tests/support/eventually.h"
#include "tests/support/gate.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

using zo_test::Gate;

constexpr long hour_ms = 60L * 60 * 1000;
using Errors = std::vector<ZoHmiSrv::TimerError>;

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

// True as soon as nobody owns the object any more.
template <class T>
bool wait_until_gone(const std::weak_ptr<T>& object) {
    return zo_test::eventually([&] { return object.expired(); });
}
