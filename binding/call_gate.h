#pragma once

#include "support/mutex.h"

#include <condition_variable>
#include <functional>
#include <thread>
#include <vector>

namespace ZoAtlCom {

/// Counts the threads inside an object, so that its destruction can wait for them.
class CallGate {
public:
    /// A thread calls both in pairs, which may be nested. [any thread]
    void enter();
    void leave() noexcept;
    /// Blocks without a maximum until no thread is inside. Returns at once on a thread that is inside: it would wait
    /// for itself. [any thread]
    void wait_until_idle();

    /// Returns true if this thread is inside any gate. [any thread]
    static bool is_inside() noexcept;
    /// Runs `work` at once. On a thread inside any gate, runs it later: when the thread leaves the outermost gate. Use
    /// this for work that would destroy an object inside its own call. [any thread]
    static void run_outside(std::function<void()> work) noexcept;

private:
    ZoHmiSrv::Mutex mutex_;
    std::condition_variable idle_;
    std::vector<std::thread::id> inside_ ZO_GUARDED_BY(mutex_); ///< once for each nested visit
};

} // namespace ZoAtlCom
