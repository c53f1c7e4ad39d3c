#pragma once

#include "support/threading.h"

#include <future>

namespace fakes {

/// One thread that runs posted work in order, as the proxy's callback thread does. The destructor runs what is queued.
class CallbackThread {
public:
    ~CallbackThread() {
        drain();
        pool_.stop(5000, ZoHmiSrv::InterruptMode::join, false);
    }

    void post(std::function<void()> work) { pool_.post(std::move(work)); }
    /// Blocks until everything posted so far has run.
    void drain() {
        std::packaged_task<void()> last([] {});
        pool_.post([&last] { last(); });
        last.get_future().wait();
    }

private:
    ZoHmiSrv::Threading pool_{1};
};

} // namespace fakes
