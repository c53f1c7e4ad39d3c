#include "support/detail/threading_impl.h"

#include <boost/asio/post.hpp>
#include <boost/thread/thread_only.hpp>

#include <algorithm>
#include <chrono>
#include <exception>
#include <limits>
#include <thread>
#include <utility>

namespace ZoHmiSrv {

namespace {

/// Returns the context's hint of how many threads run it. The hint 1 would omit locks and wake-ups that threads added
/// later need. The largest hints have special meanings.
int concurrency_hint(unsigned long threads) {
    return static_cast<int>(std::clamp(threads, 2UL, 1024UL));
}

/// Returns the time `ms` milliseconds from now, or the maximum of the clock.
std::chrono::steady_clock::time_point expiry_after(long ms) {
    using std::chrono::steady_clock;
    const auto now = steady_clock::now();
    if (ms <= 0) return now;
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(steady_clock::time_point::max() - now);
    if (ms >= left.count()) return steady_clock::time_point::max();
    return now + std::chrono::milliseconds(ms);
}

/// Returns a waiting time of at most about thirty years, on which neither clock nor system call overflows.
long bounded_timeout(long timeout_ms) {
    return std::clamp(timeout_ms, 0L, 1'000'000'000'000L);
}

TimerError to_timer_error(const boost::system::error_code& error) {
    if (!error) return TimerError::none;
    return error == boost::asio::error::operation_aborted ? TimerError::cancelled : TimerError::failed;
}

/// The body of a pool thread. It survives exceptions of callbacks and ends at an interruption.
void run_until_done(boost::asio::io_context& context) {
    for (;;) {
        try {
            context.run();
            return;
        } catch (const boost::thread_interrupted&) {
            return;
        } catch (...) { // NOLINT(bugprone-empty-catch): no caller remains that could get a report
        }
    }
}

bool is_this_thread(const boost::thread& thread) {
    return thread.get_id() == boost::this_thread::get_id();
}

} // namespace

ThreadingImpl::ThreadingImpl(unsigned long threads)
    : io_context_(std::make_shared<boost::asio::io_context>(concurrency_hint(threads))),
      promise_(std::make_shared<boost::promise<void>>()), work_(std::make_shared<Work>(*io_context_)),
      finished_(promise_->get_future()) {
}

void ThreadingImpl::add_threads(unsigned long threads) {
    const MutexLock lock(pool_mutex_);
    for (; threads > 0 && !stopped(); --threads)
        add_thread();
}

void ThreadingImpl::add_thread() {
    // Allocate everything before the thread starts, so that a running thread is in both tables.
    const auto thread = std::make_shared<boost::thread>();
    ThreadTable entry;
    entry.emplace(boost::thread::native_handle_type(), thread);
    auto node = entry.extract(entry.begin());
    group_.push_back(thread);
    try {
        *thread = boost::thread([context = io_context_] { run_until_done(*context); });
    } catch (...) {
        group_.pop_back();
        throw;
    }
    node.key() = thread->native_handle();
    threads_.insert(std::move(node));
}

void ThreadingImpl::post(std::function<void()> function) {
    if (stopped() || !function) return;
    boost::asio::post(*io_context_, std::move(function));
}

std::shared_ptr<ThreadingImpl::Timer> ThreadingImpl::make_timer() {
    const MutexLock lock(pool_mutex_);
    return std::make_shared<Timer>(*io_context_);
}

unsigned long ThreadingImpl::start_new_timer(long ms, const Callback& callback) {
    if (stopped()) return 0;
    const auto timer = make_timer();
    timer->expires_at(expiry_after(ms));

    // `stop` sets its flag before it locks this mutex: either it cancels a wait, or the wait does not start.
    const MutexLock lock(timer_mutex_);
    if (stopped()) return 0;
    const unsigned long id = ++last_timer_id_;
    const auto entry = timers_.emplace(id, timer).first;
    try {
        start_wait(*timer, id, callback);
    } catch (...) {
        timers_.erase(entry);
        throw;
    }
    return id;
}

unsigned long ThreadingImpl::register_new_timer() {
    if (stopped()) return 0;
    const auto timer = make_timer();
    const MutexLock lock(timer_mutex_);
    if (stopped()) return 0;
    const unsigned long id = ++last_timer_id_;
    timers_.emplace(id, timer);
    return id;
}

bool ThreadingImpl::start_timer(unsigned long id, long ms, const Callback& callback) {
    if (stopped()) return false;
    const MutexLock lock(timer_mutex_);
    if (stopped()) return false;
    const auto found = timers_.find(id);
    if (found == timers_.end()) return false;
    found->second->expires_at(expiry_after(ms)); // cancels a pending wait
    start_wait(*found->second, 0, callback);
    return true;
}

void ThreadingImpl::start_wait(Timer& timer, unsigned long id, const Callback& callback) {
    timer.async_wait([self = shared_from_this(), callback, id](const boost::system::error_code& error) {
        self->callback_proxy(callback, id, error);
    });
}

void ThreadingImpl::callback_proxy(const Callback& callback, unsigned long id, const boost::system::error_code& error) {
    if (id != 0) {
        const MutexLock lock(timer_mutex_);
        timers_.erase(id);
    }
    if (callback) callback(to_timer_error(error));
}

void ThreadingImpl::cancel_timer(unsigned long id) {
    if (stopped()) return;
    const MutexLock lock(timer_mutex_);
    if (const auto found = timers_.find(id); found != timers_.end()) found->second->cancel();
}

void ThreadingImpl::cancel_all_timers(const std::vector<unsigned long>& except) {
    if (stopped()) return;
    const MutexLock lock(timer_mutex_);
    for (const auto& [id, timer] : timers_) {
        if (std::ranges::find(except, id) == except.end()) timer->cancel();
    }
}

void ThreadingImpl::unregister_timer(unsigned long id) {
    if (stopped()) return;
    const MutexLock lock(timer_mutex_);
    timers_.erase(id); // a timer that is destroyed cancels its wait
}

void ThreadingImpl::cancel_timers_for_good() {
    const MutexLock lock(timer_mutex_);
    timers_.clear();
}

bool ThreadingImpl::stop(long timeout_ms, InterruptMode mode) {
    if (stopped_.exchange(true, std::memory_order_acq_rel)) return false;
    // An interruption of a pool thread must not end this function early.
    const boost::this_thread::disable_interruption uninterrupted;
    // Once this mutex is free, each thread that saw the flag unset has started its wait, and the wait counts as work.
    // Without this lock, a wait could start after the token below is dropped. The context could then be out of work,
    // and the callback would never run.
    { const MutexLock lock(timer_mutex_); }

    ThreadTable threads;
    {
        const MutexLock lock(pool_mutex_);
        if (!work_->owns_work()) {
            fulfil_promise();
            return false;
        }
        work_->reset();
        threads.swap(threads_);
    }
    cancel_timers_for_good();
    const bool in_time = join_in_time(threads, timeout_ms);

    std::vector<Thread> group;
    {
        const MutexLock lock(pool_mutex_);
        group.swap(group_);
        if (!in_time) {
            io_context_->stop();
            for (const Thread& thread : group)
                thread->interrupt();
        }
    }
    for (const Thread& thread : group) {
        if (!thread->joinable()) continue;
        if (mode == InterruptMode::join && !is_this_thread(*thread))
            thread->join();
        else
            thread->detach();
    }
    const MutexLock lock(pool_mutex_);
    fulfil_promise();
    return !in_time;
}

bool ThreadingImpl::join_in_time(const ThreadTable& threads, long timeout_ms) {
    timeout_ms = bounded_timeout(timeout_ms);
    bool in_time = true;
    for (const auto& [handle, thread] : threads) {
        if (!thread->joinable()) continue;
        if (is_this_thread(*thread)) {
            std::this_thread::sleep_for(std::chrono::milliseconds(timeout_ms));
            in_time = false;
        } else if (!thread->try_join_until(boost::chrono::steady_clock::now() +
                                           boost::chrono::milliseconds(timeout_ms))) {
            in_time = false;
        }
    }
    return in_time;
}

void ThreadingImpl::fulfil_promise() {
    try {
        if (promise_) promise_->set_value();
    } catch (const std::exception&) { // NOLINT(bugprone-empty-catch): the promise was fulfilled before
    }
    promise_.reset();
}

void ThreadingImpl::wait() const {
    boost::shared_future<void> finished = finished_; // only one thread may wait on each copy
    finished.wait();
}

} // namespace ZoHmiSrv
