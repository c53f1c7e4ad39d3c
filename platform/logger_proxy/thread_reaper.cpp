#include "platform/logger_proxy/thread_reaper.h"

#include <new>
#include <utility>

namespace zo_logger_proxy {

ThreadReaper& ThreadReaper::instance() {
    static ThreadReaper reaper;
    return reaper;
}

ThreadReaper::~ThreadReaper() {
    for (Entry& entry : threads_) {
        // The callback itself may have called `exit`.
        if (entry.thread.get_id() == std::this_thread::get_id())
            entry.thread.detach();
        else
            entry.thread.join();
    }
}

void ThreadReaper::add(std::thread thread, std::shared_ptr<const std::atomic<bool>> ended) {
    Entry entry{std::move(thread), std::move(ended)};
    const std::lock_guard lock(mutex_);
    try {
        threads_.push_back(std::move(entry));
    } catch (const std::bad_alloc&) { // destroying a joinable thread would end the process
        entry.thread.detach();
    }
}

void ThreadReaper::reap() {
    const std::lock_guard lock(mutex_);
    std::erase_if(threads_, [](Entry& entry) {
        if (!entry.ended->load()) return false;
        entry.thread.join();
        return true;
    });
}

} // namespace zo_logger_proxy
