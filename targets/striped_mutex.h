#pragma once

#include "support/mutex.h"

#include <array>
#include <cstddef>
#include <mutex>
#include <sched.h>

namespace ZoHmiEventLogger {

/// A shared mutex for data that is read often and seldom written. A reader locks the stripe of its processor, so that
/// readers on several processors do not compete for one cache line. A writer locks all stripes. [any thread]
class ZO_CAPABILITY("mutex") StripedMutex {
public:
    // The stripes have no attributes, so the two loops are invisible to the analysis.
    void lock() ZO_ACQUIRE() {
        for (Stripe& stripe : stripes_)
            stripe.mutex.lock();
    }
    void unlock() ZO_RELEASE() {
        for (Stripe& stripe : stripes_)
            stripe.mutex.unlock();
    }

private:
    friend class StripedReadLock;
    static constexpr std::size_t count = 8;
    static constexpr std::size_t cache_lines = 128; // bytes; processors fetch lines in pairs
    struct alignas(cache_lines) Stripe {
        std::mutex mutex;
    };

    // A failure of sched_getcpu, -1, counts as some processor too.
    std::mutex& current_stripe() { return stripes_[static_cast<unsigned>(sched_getcpu()) % count].mutex; }

    std::array<Stripe, count> stripes_;
};

/// Locks a striped mutex for reading. A thread that locks twice can block itself.
class ZO_SCOPED_CAPABILITY StripedReadLock {
public:
    explicit StripedReadLock(StripedMutex& mutex) ZO_ACQUIRE_SHARED(mutex) : lock_(mutex.current_stripe()) {}
    ~StripedReadLock() ZO_RELEASE() = default;
    StripedReadLock(const StripedReadLock&) = delete;
    StripedReadLock& operator=(const StripedReadLock&) = delete;

private:
    const std::lock_guard<std::mutex> lock_; // this stripe, although the thread may move to another processor
};

/// Locks a striped mutex for writing.
class ZO_SCOPED_CAPABILITY StripedWriteLock {
public:
    explicit StripedWriteLock(StripedMutex& mutex) ZO_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
    ~StripedWriteLock() ZO_RELEASE() { mutex_.unlock(); }
    StripedWriteLock(const StripedWriteLock&) = delete;
    StripedWriteLock& operator=(const StripedWriteLock&) = delete;

private:
    StripedMutex& mutex_;
};

} // namespace ZoHmiEventLogger
