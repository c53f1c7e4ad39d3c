#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <mutex>

namespace ZoHmiEventLogger {

/// A shared mutex for what is looked up all the time and seldom written. Each reading thread locks one stripe, which it
/// shares with few others or none, so that readers on several processors do not pull one cache line to and fro; a
/// writer locks all stripes. A reader that locks twice locks itself out. For std::shared_lock and std::lock_guard. [any
/// thread]
class StripedMutex {
public:
    void lock() {
        for (Stripe& stripe : stripes_)
            stripe.mutex.lock();
    }
    void unlock() {
        for (Stripe& stripe : stripes_)
            stripe.mutex.unlock();
    }
    void lock_shared() { mine().lock(); }
    /// On the thread that locked.
    void unlock_shared() { mine().unlock(); }

private:
    static constexpr std::size_t count = 8;
    static constexpr std::size_t cache_line = 64; // bytes
    struct alignas(cache_line) Stripe {
        std::mutex mutex;
    };

    std::mutex& mine() {
        static std::atomic<std::size_t> threads = 0;
        thread_local const std::size_t number = threads++;
        return stripes_[number % count].mutex;
    }

    std::array<Stripe, count> stripes_;
};

} // namespace ZoHmiEventLogger
