#pragma once

#include "platform/logger_proxy/alarm.h"

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

struct IDispatch;

namespace zo_logger_proxy {

/// The connection is dropped when the queue exceeds either maximum: a slow sink must not exhaust the memory of the
/// process.
inline constexpr std::size_t max_waiting_callbacks = 65536;
inline constexpr std::size_t max_waiting_bytes = std::size_t{64} << 20;

/// One call of the sinks.
struct Callback {
    std::int32_t id = 0;        ///< of the event interface
    Snapshot record;            ///< of the message or alarm
    std::uint64_t instance = 0; ///< of the target, for alarms
    std::int16_t removed = 0;
    std::int32_t reason = 0;
    std::size_t bytes = 0;      ///< of its frame
    std::uint64_t sequence = 0; ///< set by the queue, from 1
};

/// The callbacks of one logger object, its sinks and the one thread that calls them. A waiting callback belongs to an
/// epoch, the life of one connection, and is dropped at its end.
class CallbackQueue : public std::enable_shared_from_this<CallbackQueue> {
public:
    /// Takes over the reference of a new sink. Returns its cookie, never 0. [any thread]
    std::uint32_t advise(IDispatch* sink);
    /// Removes a sink; returns false for an unknown cookie. Blocks until a running call of the sink returns, except on
    /// the callback thread. No call of the sink begins afterwards. [any thread]
    bool unadvise(std::uint32_t cookie);

    /// Ends the current epoch and starts a new one. Returns its number; 0 after `stop`. [any thread]
    std::uint64_t begin(std::shared_ptr<AlarmTable> alarms);
    /// Ends the current epoch. The second form does so only if the current epoch is the given one. [any thread]
    void end();
    void end(std::uint64_t epoch);

    /// Returns true until the epoch ends. [any thread]
    bool is_current(std::uint64_t epoch) const;

    /// Adds a callback of an epoch. Returns false when the epoch is over or the queue is full; the caller then drops
    /// the connection. [any thread]
    bool push(std::uint64_t epoch, Callback callback);
    /// Returns the sequence of the last added callback. [any thread]
    std::uint64_t mark() const;
    /// Blocks until all callbacks up to the mark have returned from the sinks. Returns at once on the callback thread.
    /// Returns false when the epoch is over. [any thread]
    bool wait_done(std::uint64_t epoch, std::uint64_t mark);

    /// Ends and joins the thread. On the thread itself, the ThreadReaper joins it later. Must be the last call. [any
    /// thread]
    void stop();

private:
    struct Sink {
        std::uint32_t cookie;
        IDispatch* object;
    };

    void run();
    void deliver(const Callback& callback, std::uint64_t epoch, AlarmTable& alarms);
    static void invoke(const Callback& callback, IDispatch* argument, IDispatch& sink);
    void end_locked();
    bool on_callback_thread_locked() const { return thread_.get_id() == std::this_thread::get_id(); }

    mutable std::mutex mutex_; ///< guards all members; never locked during a call of a sink
    std::condition_variable wake_;
    std::condition_variable progress_;
    std::vector<Sink> sinks_;
    std::uint32_t last_cookie_ = 0;
    std::shared_ptr<AlarmTable> alarms_;
    std::deque<Callback> waiting_;
    std::size_t waiting_bytes_ = 0;
    std::uint64_t epoch_ = 0; ///< 0: none
    std::uint64_t last_epoch_ = 0;
    std::uint64_t last_sequence_ = 0;
    std::uint64_t running_sequence_ = 0; ///< 0: no callback runs
    std::uint32_t running_cookie_ = 0;   ///< 0: no sink is being called
    bool stopping_ = false;
    std::shared_ptr<std::atomic<bool>> ended_ = std::make_shared<std::atomic<bool>>(false);
    std::thread thread_;
};

} // namespace zo_logger_proxy
