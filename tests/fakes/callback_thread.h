#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace fakes {

// One thread that runs what is posted, in order, as the proxy's callback thread does. Ends with what is queued run.
class CallbackThread {
public:
    CallbackThread();
    ~CallbackThread();
    CallbackThread(const CallbackThread&) = delete;
    CallbackThread& operator=(const CallbackThread&) = delete;

    void post(std::function<void()> work);
    // Waits until everything posted so far has run.
    void drain();
    [[nodiscard]] std::thread::id id() const { return thread_.get_id(); }

private:
    void body();

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> queue_;
    bool busy_ = false;
    bool stopping_ = false;
    std::thread thread_;
};

} // namespace fakes
