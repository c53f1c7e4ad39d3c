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

/// Why a timer's callback is called.
enum class TimerError : std::int32_t {
    none = 0,      ///< the time ran out
    cancelled = 1, ///< the timer was cancelled, by name or because the pool stops
    failed = 2,    ///< any other failure of the wait
};

/// What `Threading::stop` does with threads that did not end in time and were interrupted.
enum class InterruptMode : std::int32_t {
    join = 0,  ///< waits for them, without a bound
    leave = 1, ///< leaves them to end by themselves; any value but 0 means this
};

/// Keeps the threads that run a context in their loop for as long as it owns work.
class ZO_EXPORT Work {
public:
    explicit Work(boost::asio::io_context& context);
    ~Work();
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;

    [[nodiscard]] bool owns_work() const;
    /// Gives the work up; the threads leave their loop once nothing else is left to do.
    void reset();

private:
    std::unique_ptr<WorkImpl> impl_;
};

/// A small pool of threads with timers. It runs from its construction until `stop` and is then stopped for good.
///
/// Every operation but the destructor may be called from any thread, pool threads included [any thread]. Callbacks
/// run on pool threads with no lock of the pool held. What a callback throws is swallowed and costs no thread.
/// Destroying a pool that still runs writes a line to the system log and stops it as stop(5000, join) does.
class ZO_EXPORT Threading {
public:
    /// Throws boost::thread_resource_error when a thread cannot be started; those started are stopped again.
    explicit Threading(unsigned long threads);
    ~Threading();
    Threading(const Threading&) = delete;
    Threading& operator=(const Threading&) = delete;

    /// Starts that many more threads; nothing on a stopped pool. Throws boost::thread_resource_error at the first
    /// thread that cannot be started and keeps those started before it.
    void add_threads(unsigned long threads);

    /// Runs a function on the pool. On a stopped pool it is dropped.
    void post(std::function<void()> function);

    /// Calls back once, `ms` milliseconds from now (a negative time is over at once). The result is the timer's id,
    /// or 0 on a stopped pool, whose callback never comes. The callback always comes otherwise, a cancelled one too,
    /// except for those still waiting for a thread when `stop` ran out of time.
    unsigned long start_new_timer(long ms, const std::function<void(TimerError)>& callback);

    /// Makes a timer that does not run yet, for `start_timer`. The result is its id, or 0 on a stopped pool.
    unsigned long register_new_timer();

    /// Starts a registered timer (again). A wait that is still pending is cancelled first, and its own callback is
    /// called with `cancelled`. False if the pool is stopped or the id is unknown; then no callback comes.
    bool start_timer(unsigned long id, long ms, const std::function<void(TimerError)>& callback);

    /// Cancels a pending timer; a registered one can be started again.
    void cancel_timer(unsigned long id);
    /// Cancels every pending timer whose id is not listed.
    void cancel_all_timers(const std::vector<unsigned long>& except = {});
    /// Cancels a timer if it is pending, and forgets it.
    void unregister_timer(unsigned long id);

    /// Stops the pool: cancels all timers, whose callbacks run while it waits, and waits up to `timeout_ms`
    /// milliseconds for each thread in turn. Threads that are late are interrupted and, with `InterruptMode::join`,
    /// waited for without a bound. True if a thread was late; false if not, or if the pool was stopped before.
    /// Called on a pool thread it sleeps through that thread's own share, and leaves that thread out of all joins.
    /// The last argument is not read.
    bool stop(long timeout_ms, InterruptMode mode, bool unused);

    [[nodiscard]] bool stopped() const;

    /// Blocks until `stop` has finished; returns at once if it has.
    void wait();

    /// The context that the threads run. It lives as long as this object.
    [[nodiscard]] boost::asio::io_context& io_context();

private:
    std::shared_ptr<ThreadingImpl> impl_;
};

} // namespace ZoHmiSrv
