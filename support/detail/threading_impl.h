#pragma once

#include "support/mutex.h"
#include "support/threading.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/thread/future.hpp>
#include <boost/thread/thread.hpp>

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace ZoHmiSrv {

/// The state that a Threading handle shares with the waits that it started.
///
/// Ownership: the handle and every pending wait own this object. This object and every pool thread own the context. The
/// context owns the waits in its queue. A wait that stays in the queue would close a cycle, so the handle's destructor
/// calls `release_context`. The last owner of the context is then the handle, or a pool thread that has left its loop.
/// So the context is never destroyed while a thread runs it.
///
/// No thread locks both mutexes, and neither is locked while a thread is joined or a callback runs.
class ThreadingImpl : public std::enable_shared_from_this<ThreadingImpl> {
public:
    using Callback = std::function<void(TimerError)>;

    /// Starts no thread; `threads` is the number that the caller will add.
    explicit ThreadingImpl(unsigned long threads);

    void add_threads(unsigned long threads);
    void post(std::function<void()> function);

    unsigned long start_new_timer(long ms, const Callback& callback);
    unsigned long register_new_timer();
    bool start_timer(unsigned long id, long ms, const Callback& callback);
    void cancel_timer(unsigned long id);
    void cancel_all_timers(const std::vector<unsigned long>& except);
    void unregister_timer(unsigned long id);

    bool stop(long timeout_ms, InterruptMode mode);
    [[nodiscard]] bool stopped() const { return stopped_.load(std::memory_order_acquire); }
    void wait() const;

    [[nodiscard]] boost::asio::io_context& io_context() { return *io_context_; }
    /// Requires that `stop` has returned: this object no longer uses the context then.
    void release_context() { io_context_.reset(); }

private:
    using Timer = boost::asio::steady_timer;
    using Thread = std::shared_ptr<boost::thread>;
    using ThreadTable = std::map<boost::thread::native_handle_type, Thread>;

    void add_thread() ZO_REQUIRES(pool_mutex_);
    /// Starts the wait of a timer whose expiry is set; `id` is 0 for a registered timer.
    void start_wait(Timer& timer, unsigned long id, const Callback& callback) ZO_REQUIRES(timer_mutex_);
    void callback_proxy(const Callback& callback, unsigned long id, const boost::system::error_code& error);
    std::shared_ptr<Timer> make_timer();
    void cancel_timers_for_good();
    static bool join_in_time(const ThreadTable& threads, long timeout_ms);
    /// Ends `wait`.
    void fulfil_promise() ZO_REQUIRES(pool_mutex_);

    Mutex pool_mutex_;
    Mutex timer_mutex_;                                   ///< a timer's wait is started under it
    std::shared_ptr<boost::asio::io_context> io_context_; ///< constant until `release_context`
    std::shared_ptr<boost::promise<void>> promise_ ZO_GUARDED_BY(pool_mutex_);
    const std::shared_ptr<Work> work_ ZO_GUARDED_BY(pool_mutex_);
    std::vector<Thread> group_ ZO_GUARDED_BY(pool_mutex_);
    unsigned long last_timer_id_ ZO_GUARDED_BY(timer_mutex_) = 0;
    std::atomic<bool> stopped_ = false;
    std::map<unsigned long, std::shared_ptr<Timer>> timers_ ZO_GUARDED_BY(timer_mutex_);
    ThreadTable threads_ ZO_GUARDED_BY(pool_mutex_);
    const boost::shared_future<void> finished_;
};

} // namespace ZoHmiSrv
