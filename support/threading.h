#pragma once

#include "support/export.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace boost::asio {
class io_context;
}

namespace ZoHmiSrv {

class ThreadingImpl;
class WorkImpl;

/// Why the callback of a timer is called.
enum class TimerError : std::int32_t {
    none = 0,      ///< the timer ran out
    cancelled = 1, ///< the timer was cancelled, by name or because the pool stops
    failed = 2,    ///< the wait failed otherwise
};

/// How `Threading::stop` treats interrupted threads that do not end in time.
enum class InterruptMode : std::int32_t {
    join = 0,  ///< waits for them without a maximum
    leave = 1, ///< detaches them; every value but 0 means this
};

/// Keeps the threads of a context in their loop while it owns work. [any thread]
class ZO_EXPORT Work {
public:
    explicit Work(boost::asio::io_context& context);
    ~Work();
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;

    [[nodiscard]] bool owns_work() const;
    /// Drops the work; the threads leave their loop once the context has no other work.
    void reset();

private:
    std::unique_ptr<WorkImpl> impl_;
};

/// A small pool of threads with timers. It runs from its construction until `stop` and never starts again.
///
/// Callbacks run on pool threads without a lock of the pool. Exceptions of a callback are dropped and end no thread.
/// Destroying a running pool writes a line to the system log and stops it as stop(5000, join) does.
/// [any thread], pool threads included, for every operation but the destructor.
class ZO_EXPORT Threading {
public:
    /// Throws boost::thread_resource_error when a thread cannot be started, and stops the threads started before it.
    explicit Threading(unsigned long threads);
    ~Threading();
    Threading(const Threading&) = delete;
    Threading& operator=(const Threading&) = delete;

    /// Starts that many more threads; does nothing on a stopped pool. Throws boost::thread_resource_error at the first
    /// thread that cannot be started, and keeps the threads started before it.
    void add_threads(unsigned long threads);

    /// Runs a function on the pool; drops it on a stopped pool.
    void post(std::function<void()> function);

    /// Calls back once, `ms` milliseconds from now; a negative time counts as 0. Returns the timer's id, or 0 on a
    /// stopped pool, which drops the callback. A cancelled timer calls back too. If `stop` times out, callbacks that
    /// still wait for a thread are dropped.
    unsigned long start_new_timer(long ms, const std::function<void(TimerError)>& callback);

    /// Makes a timer for `start_timer` that does not run yet. Returns its id, or 0 on a stopped pool.
    unsigned long register_new_timer();

    /// Starts or restarts a registered timer. A pending wait is cancelled first and calls its own callback with
    /// `cancelled`. Returns false for a stopped pool or an unknown id; the callback is then dropped.
    bool start_timer(unsigned long id, long ms, const std::function<void(TimerError)>& callback);

    /// Cancels a pending timer; a registered one can be started again.
    void cancel_timer(unsigned long id);
    /// Cancels every pending timer whose id is not listed.
    void cancel_all_timers(const std::vector<unsigned long>& except = {});
    /// Cancels a pending timer and removes it.
    void unregister_timer(unsigned long id);

    /// Stops the pool. Cancels all timers; their callbacks still run. Waits up to `timeout_ms` milliseconds for each
    /// thread in turn. Interrupts late threads and, with `InterruptMode::join`, blocks until they end. Returns true if
    /// a thread was late; false if none was, or if the pool was stopped before. On a pool thread, `stop` sleeps for
    /// that thread's share of the time and never joins that thread. The last argument is not read.
    bool stop(long timeout_ms, InterruptMode mode, bool unused);

    [[nodiscard]] bool stopped() const;

    /// Blocks until `stop` has finished.
    void wait();

    /// Returns the context that the threads run. It lives as long as this object.
    [[nodiscard]] boost::asio::io_context& io_context();

private:
    std::shared_ptr<ThreadingImpl> impl_;
};

} // namespace ZoHmiSrv
