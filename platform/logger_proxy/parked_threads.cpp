#include "platform/logger_proxy/parked_threads.h"

#include <mutex>
#include <new>
#include <utility>
#include <vector>

namespace zo_logger_proxy {

namespace {

struct Parked {
    std::thread thread;
    std::shared_ptr<const std::atomic<bool>> ended;
};

// At unload or exit the last ones are waited for; they are past their callbacks.
class Yard {
public:
    ~Yard() {
        for (Parked& parked : threads_) {
            // Exit may have been called inside the callback itself.
            if (parked.thread.get_id() == std::this_thread::get_id())
                parked.thread.detach();
            else
                parked.thread.join();
        }
    }

    void add(Parked parked) {
        const std::lock_guard lock(mutex_);
        try {
            threads_.push_back(std::move(parked));
        } catch (const std::bad_alloc&) { // on its own from here on: a thread that nobody joins would end the process
            parked.thread.detach();
        }
    }

    void reap() {
        const std::lock_guard lock(mutex_);
        std::erase_if(threads_, [](Parked& parked) {
            if (!parked.ended->load()) return false;
            parked.thread.join();
            return true;
        });
    }

private:
    std::mutex mutex_;
    std::vector<Parked> threads_;
};

Yard& yard() {
    static Yard instance;
    return instance;
}

} // namespace

void park(std::thread thread, std::shared_ptr<const std::atomic<bool>> ended) {
    yard().add({std::move(thread), std::move(ended)});
}

void reap_parked() {
    yard().reap();
}

} // namespace zo_logger_proxy
