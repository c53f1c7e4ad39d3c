#pragma once

#include <array>
#include <cstddef>
#include <mutex>
#include <sched.h>

namespace ZoHmiEventLogger {

/// A shared mutex for what is looked up all the time and seldom written. A reader locks the stripe of the processor
/// that it runs on, so that readers on several processors do not pull one cache line to and fro; a writer locks all
/// stripes, by std::lock_guard. A reader that locks twice may lock itself out. [any thread]
class StripedMutex {
public:
    /// For a reader, who keeps the lock where it was taken: by then its thread may run on another processor.
    [[nodiscard]] std::unique_lock<std::mutex> lock_shared() {
        // A failure, -1, counts as some processor too.
        return std::unique_lock(stripes_[static_cast<unsigned>(sched_getcpu()) % count].mutex);
    }

    void lock() {
        for (Stripe& stripe : stripes_)
            stripe.mutex.lock();
    }
    void unlock() {
        for (Stripe& stripe : stripes_)
            stripe.mutex.unlock();
    }

private:
    static constexpr std::size_t count = 8;
    static constexpr std::size_t cache_lines = 128; // bytes; processors fetch lines in pairs
    struct alignas(cache_lines) Stripe {
        std::mutex mutex;
    };

    std::array<Stripe, count> stripes_;
};

} // namespace ZoHmiEventLogger
