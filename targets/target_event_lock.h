#pragma once

#include "targets/logging_functions.h"
#include "targets/target_system.h"
#include "targets/trace_message.h"

#include <exception>
#include <mutex>
#include <utility>
#include <vector>

namespace ZoHmiEventLogger {

/// Holds a target's event mutex for a live handler. The host is never called under it, so the events that were evicted
/// meanwhile are told to the listener once it is unlocked, before anything else is.
class TargetSystem::EventLock {
public:
    explicit EventLock(TargetSystem& target) : target_(target), lock_(target.event_mutex_) {}
    EventLock(const EventLock&) = delete;
    EventLock& operator=(const EventLock&) = delete;

    /// Tells of every event, even when the listener throws; the first exception is thrown on at the end.
    void unlock() {
        std::vector<ZoHmiSrv::Event> evicted;
        evicted.swap(target_.evicted_);
        lock_.unlock();
        std::exception_ptr failure;
        const auto tell = [&failure](auto&& call) {
            try {
                call();
            } catch (...) {
                if (!failure) failure = std::current_exception();
            }
        };
        for (const ZoHmiSrv::Event& event : evicted) {
            tell([&] {
                target_.listener_->log_message(
                    trace_message("FORGET_EVENT", {target_.name_.c_str(), event.time_received()}));
            });
            tell([&] { target_.listener_->forget_event(event); });
        }
        if (failure) std::rethrow_exception(failure);
    }

    /// A handler that throws must not keep back what was evicted.
    ~EventLock() {
        if (!lock_.owns_lock()) return;
        try {
            unlock();
        } catch (...) { // the handler's own exception goes on
        }
    }

private:
    TargetSystem& target_;
    std::unique_lock<std::mutex> lock_;
};

} // namespace ZoHmiEventLogger
