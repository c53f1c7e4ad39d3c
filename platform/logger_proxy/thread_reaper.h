#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace zo_logger_proxy {

/// Joins threads that their own object cannot join, because the object was destroyed on that same thread. The library
/// must not be unloaded while such a thread runs its code. [any thread]
class ThreadReaper {
public:
    /// The one reaper of this library. Its destruction, at unload or exit, joins the remaining threads.
    static ThreadReaper& instance();

    ThreadReaper() = default;
    ~ThreadReaper();
    ThreadReaper(const ThreadReaper&) = delete;
    ThreadReaper& operator=(const ThreadReaper&) = delete;

    /// Takes over a thread. The thread sets `ended` as its last step.
    void add(std::thread thread, std::shared_ptr<const std::atomic<bool>> ended);
    /// Joins the threads that have ended.
    void reap();

private:
    struct Entry {
        std::thread thread;
        std::shared_ptr<const std::atomic<bool>> ended;
    };

    std::mutex mutex_;
    std::vector<Entry> threads_;
};

} // namespace zo_logger_proxy
