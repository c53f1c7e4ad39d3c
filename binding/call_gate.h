#pragma once

#include "support/mutex.h"

#include <condition_variable>
#include <functional>
#include <thread>
#include <vector>

namespace ZoAtlCom {

// Knows which threads are inside an object, so that its destruction can wait for them.
class CallGate {
public:
    // A thread enters and leaves in pairs, nested as it likes. [any thread]
    void enter();
    void leave() noexcept;
    // Waits without bound until nobody is inside. Returns at once on a thread that is itself inside: it would wait for
    // itself. [any thread]
    void wait_until_idle();

    // Whether this thread is inside a gate, whichever. [any thread]
    static bool is_inside() noexcept;
    // Runs `work` at once; on a thread that is inside a gate, whichever, when it has left the outermost one. For work
    // that would destroy an object under its own call. [any thread]
    static void run_outside(std::function<void()> work) noexcept;

private:
    ZoHmiSrv::Mutex mutex_;
    std::condition_variable idle_;
    std::vector<std::thread::id> inside_ ZO_GUARDED_BY(mutex_); ///< once for each nested visit
};

} // namespace ZoAtlCom
