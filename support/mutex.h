#pragma once

#include <condition_variable>
#include <mutex>

// The capability attributes of clang's thread safety analysis; empty for other compilers.
// Source: https://clang.llvm.org/docs/ThreadSafetyAnalysis.html
#ifdef __clang__
#define ZO_THREAD_ATTRIBUTE(attribute) __attribute__((attribute))
#else
#define ZO_THREAD_ATTRIBUTE(attribute)
#endif

#define ZO_CAPABILITY(kind) ZO_THREAD_ATTRIBUTE(capability(kind))
#define ZO_SCOPED_CAPABILITY ZO_THREAD_ATTRIBUTE(scoped_lockable)
#define ZO_GUARDED_BY(mutex) ZO_THREAD_ATTRIBUTE(guarded_by(mutex))
#define ZO_REQUIRES(...) ZO_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define ZO_EXCLUDES(...) ZO_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
#define ZO_ACQUIRE(...) ZO_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define ZO_ACQUIRE_SHARED(...) ZO_THREAD_ATTRIBUTE(acquire_shared_capability(__VA_ARGS__))
#define ZO_RELEASE(...) ZO_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define ZO_RETURN_CAPABILITY(mutex) ZO_THREAD_ATTRIBUTE(lock_returned(mutex))
/// Every use requires a reason beside it.
#define ZO_NO_THREAD_SAFETY_ANALYSIS ZO_THREAD_ATTRIBUTE(no_thread_safety_analysis)

namespace ZoHmiSrv {

/// A `std::mutex` that the compiler's analysis recognises as a lock. [any thread]
class ZO_CAPABILITY("mutex") Mutex {
public:
    constexpr Mutex() noexcept = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock() ZO_ACQUIRE() { inner_.lock(); }
    void unlock() ZO_RELEASE() { inner_.unlock(); }

    /// The mutex inside, for an interface that takes a `std::mutex`. The compiler does not see what is locked here.
    std::mutex& inner() noexcept { return inner_; }

private:
    std::mutex inner_;
};

/// Locks a mutex for a scope. Only the thread that created it may use it.
class ZO_SCOPED_CAPABILITY MutexLock {
public:
    explicit MutexLock(Mutex& mutex) ZO_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
    ~MutexLock() ZO_RELEASE() {
        if (locked_) mutex_.unlock();
    }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

    /// Releases the lock before the scope ends.
    void unlock() ZO_RELEASE() {
        locked_ = false;
        mutex_.unlock();
    }

    /// Blocks until `condition` is notified, or spuriously; releases the lock meanwhile. The compiler does not look
    /// into a predicate, so callers loop with `while`.
    void wait(std::condition_variable& condition) {
        std::unique_lock inner(mutex_.inner(), std::adopt_lock);
        condition.wait(inner);
        inner.release();
    }

private:
    Mutex& mutex_;
    bool locked_ = true;
};

} // namespace ZoHmiSrv
