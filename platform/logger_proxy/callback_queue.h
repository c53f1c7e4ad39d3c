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

// Beyond either the connection is dropped: a sink that does not keep up must not eat the process's memory.
inline constexpr std::size_t max_waiting_callbacks = 65536;
inline constexpr std::size_t max_waiting_bytes = std::size_t{64} << 20;

// One call of the sinks.
struct Callback {
    std::int32_t id = 0;        // of the event interface
    Snapshot record;            // of the message or alarm
    std::uint64_t instance = 0; // the target's, for alarms
    std::int16_t removed = 0;
    std::int32_t reason = 0;
    std::size_t bytes = 0;      // of its frame
    std::uint64_t sequence = 0; // set by the queue, from 1
};

// The callbacks of one logger object, its sinks and the one thread that calls them. What waits belongs to an epoch, the
// life of one connection, and is dropped when that ends. No call waits for a callback but those that say so.
class CallbackQueue : public std::enable_shared_from_this<CallbackQueue> {
public:
    // The cookie of a new sink, never 0. The sink's reference is taken over. [any thread]
    std::uint32_t advise(IDispatch* sink);
    // False for an unknown cookie. Waits for a call of this sink that is under way, except on the callback thread: no
    // call of it begins or goes on when this has returned. [any thread]
    bool unadvise(std::uint32_t cookie);

    // Starts an epoch, which ends the one before; starts the thread. [any thread]
    std::uint64_t begin(std::shared_ptr<AlarmTable> alarms);
    // Ends the epoch that is current, whichever (no number), or only if it is the given one. [any thread]
    void end();
    void end(std::uint64_t epoch);

    // Whether the epoch goes on. [any thread]
    bool is_current(std::uint64_t epoch) const;

    // Adds a callback of an epoch. False when that is over or the queue is full: the connection is of no use then.
    // [reader thread]
    bool push(std::uint64_t epoch, Callback callback);
    // The sequence of the last callback that was added. [any thread]
    std::uint64_t mark() const;
    // Waits until all callbacks up to the mark have returned from the sinks. False when the epoch is over. Returns true
    // at once on the callback thread. [any thread]
    bool wait_done(std::uint64_t epoch, std::uint64_t mark);

    // Ends the thread: waits for it, or parks it when called on it. The last call. [any thread]
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

    mutable std::mutex mutex_; // guards everything; never held during a call of a sink
    std::condition_variable wake_;
    std::condition_variable progress_;
    std::vector<Sink> sinks_;
    std::uint32_t last_cookie_ = 0;
    std::shared_ptr<AlarmTable> alarms_;
    std::deque<Callback> waiting_;
    std::size_t waiting_bytes_ = 0;
    std::uint64_t epoch_ = 0; // 0: none
    std::uint64_t last_epoch_ = 0;
    std::uint64_t last_sequence_ = 0;
    std::uint64_t running_sequence_ = 0; // 0: no callback runs
    std::uint32_t running_cookie_ = 0;   // 0: no sink is being called
    bool stopping_ = false;
    std::shared_ptr<std::atomic<bool>> ended_ = std::make_shared<std::atomic<bool>>(false);
    std::thread thread_;
};

} // namespace zo_logger_proxy
