#pragma once

#include "support/mutex.h"
#include "targets/recorded_callback.h"

#include <atomic>
#include <cstdint>
#include <deque>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>

namespace ZoHmiEventLogger {

/// Keeps a target's live callbacks waiting while it exists. It must be released on the thread that got it.
using LockHolder = std::shared_ptr<std::scoped_lock<std::mutex>>;

/// Locks the callback mutex of a target. `make_holder` moves the lock out of the scope. The compiler does not follow
/// this lock. Only the thread that locks it may use it.
class CallbackLock {
public:
    /// Allocates the holder, so that nothing can fail once the mutex is locked.
    explicit CallbackLock(std::shared_ptr<ZoHmiSrv::Mutex> mutex);
    CallbackLock(const CallbackLock&) = delete;
    CallbackLock& operator=(const CallbackLock&) = delete;

    /// Blocks while a callback is being handled. Call it at most once.
    void lock();
    bool owns_lock() const { return held_ && held_->lock; }
    /// Transfers the lock to the caller. Returns null if it is not locked.
    LockHolder make_holder();

private:
    struct Held {
        std::shared_ptr<ZoHmiSrv::Mutex> mutex; // outlives the lock
        std::optional<std::scoped_lock<std::mutex>> lock;
    };

    std::shared_ptr<Held> held_;
};

/// Receives the live callbacks of a target. Each one is handled, recorded for an import, or dropped.
class CallbackRecorder {
public:
    using Records = std::deque<std::shared_ptr<const RecordedCallback>>;

    explicit CallbackRecorder(std::shared_ptr<const std::atomic<bool>> stopping);

    /// While recording, stores the result of `record`. Otherwise calls `handle`, unless callbacks are dropped. Blocks
    /// while a CallbackLock or a holder exists. [proxy callback]
    template <class Record, class Handle>
    void receive(Record&& record, Handle&& handle) {
        const ZoHmiSrv::MutexLock lock(mutex_);
        if (recording_) {
            recorded_.push_back(record());
            return;
        }
        const ZoHmiSrv::MutexLock handling(handling_mutex_);
        if (!drops_callbacks()) handle();
    }

    /// Callbacks are recorded from now on. Blocks while one is being handled. [tick, server thread]
    void start_recording();
    /// Ends the recording and puts the records into `records`. Requires a locked `callbacks` and empty `records`.
    /// [tick, server thread]
    void stop_recording(const CallbackLock& callbacks, Records& records) noexcept;
    /// The mutex for a CallbackLock. [any thread]
    std::shared_ptr<ZoHmiSrv::Mutex> mutex() const { return owned_mutex_; }

    /// Drops all later live callbacks: the target has left the table. Blocks while a callback is being handled. Returns
    /// at once on a thread that is inside a callback. [any thread]
    void retire();
    /// Starts a new link number, which ends the drop that `drop_callbacks_of` began. [any thread]
    void link_opened() { ++link_; }
    /// The proxy reports that the link is up. Ends a drop: a link may come up after its connect returned a failure.
    /// [any thread]
    void link_is_up() {
        if (lost_link_ == link_) ++link_;
    }
    std::uint64_t link() const { return link_; }
    /// Drops live callbacks until another link is opened. Returns false if a newer link is already open. Requires a
    /// locked `callbacks`. [tick]
    bool drop_callbacks_of(std::uint64_t link, const CallbackLock& callbacks);

private:
    bool drops_callbacks() const {
        return stopping_->load(std::memory_order_acquire) || retired_ || lost_link_ == link_;
    }

    // Shared with lock holders, which may outlive the target.
    const std::shared_ptr<ZoHmiSrv::Mutex> owned_mutex_ = std::make_shared<ZoHmiSrv::Mutex>();
    ZoHmiSrv::Mutex& mutex_ = *owned_mutex_;
    bool recording_ ZO_GUARDED_BY(mutex_) = false;
    Records recorded_ ZO_GUARDED_BY(mutex_);

    ZoHmiSrv::Mutex handling_mutex_; // locked while one live callback is handled
    const std::shared_ptr<const std::atomic<bool>> stopping_;
    std::atomic<bool> retired_ = false;
    std::atomic<std::uint64_t> link_ = 0;
    std::atomic<std::uint64_t> lost_link_ = std::numeric_limits<std::uint64_t>::max();
};

} // namespace ZoHmiEventLogger
