#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <pthread.h>

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

    // Not by a variable of the thread: threads of the server outlive an extension that is unloaded. The numbers of
    // threads are addresses, far apart; the multiplier of Fibonacci hashing spreads them.
    std::mutex& mine() {
        return stripes_[std::uint64_t{pthread_self()} * 0x9E3779B97F4A7C15U >> 32 & (count - 1)].mutex;
    }

    std::array<Stripe, count> stripes_;
};

} // namespace ZoHmiEventLogger
