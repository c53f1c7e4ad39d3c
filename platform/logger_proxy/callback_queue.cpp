#include "platform/logger_proxy/callback_queue.h"

#include "binding/connection_points.h"
#include "platform/logger_proxy/invoke.h"
#include "platform/logger_proxy/thread_reaper.h"

#include <algorithm>
#include <utility>

namespace zo_logger_proxy {

namespace {

using Event = ZoEventLoggerFdxProxyLib::_IZoEventLoggerEvents;

/// Returns the object argument of a callback; null for a callback without one.
ZoAtlCom::CComPtr<IDispatch> make_argument(const Callback& callback, AlarmTable& alarms) {
    ZoAtlCom::CComPtr<IDispatch> argument;
    if (callback.id == Event::OnMessageSent) {
        argument.attach(static_cast<ZoEventLoggerFdxProxyLib::IZoMessageJson*>(new Message(callback.record)));
    } else if (callback.id != Event::OnDatabaseChanged) {
        auto alarm = alarms.get({callback.instance, callback.record->handle}, callback.record, callback.sequence);
        argument.attach(static_cast<ZoEventLoggerFdxProxyLib::IZoAlarmJson*>(alarm.detach()));
    }
    return argument;
}

} // namespace

std::uint32_t CallbackQueue::advise(IDispatch* sink) {
    const std::lock_guard lock(mutex_);
    sinks_.push_back({last_cookie_ + 1, sink});
    return ++last_cookie_;
}

bool CallbackQueue::unadvise(std::uint32_t cookie) {
    IDispatch* sink = nullptr;
    {
        std::unique_lock lock(mutex_);
        const auto it = std::ranges::find(sinks_, cookie, &Sink::cookie);
        if (it == sinks_.end()) return false;
        sink = it->object;
        sinks_.erase(it);
        if (!on_callback_thread_locked()) progress_.wait(lock, [&] { return running_cookie_ != cookie; });
    }
    // On the callback thread this may destroy the sink inside its own call. Nothing uses the sink after that call.
    sink->Release();
    return true;
}

std::uint64_t CallbackQueue::begin(std::shared_ptr<AlarmTable> alarms) {
    const std::lock_guard lock(mutex_);
    end_locked();
    if (stopping_) return 0;
    alarms_ = std::move(alarms);
    epoch_ = ++last_epoch_;
    if (!thread_.joinable()) {
        thread_ = std::thread([self = shared_from_this()] {
            self->run();
            self->ended_->store(true);
        });
    }
    return epoch_;
}

void CallbackQueue::end() {
    const std::lock_guard lock(mutex_);
    end_locked();
}

void CallbackQueue::end(std::uint64_t epoch) {
    const std::lock_guard lock(mutex_);
    if (epoch == epoch_) end_locked();
}

void CallbackQueue::end_locked() {
    epoch_ = 0;
    waiting_.clear();
    waiting_bytes_ = 0;
    progress_.notify_all();
}

bool CallbackQueue::is_current(std::uint64_t epoch) const {
    const std::lock_guard lock(mutex_);
    return epoch == epoch_ && epoch != 0;
}

bool CallbackQueue::push(std::uint64_t epoch, Callback callback) {
    const std::lock_guard lock(mutex_);
    if (epoch != epoch_ || epoch == 0) return false;
    if (waiting_.size() >= max_waiting_callbacks || waiting_bytes_ + callback.bytes > max_waiting_bytes) return false;
    callback.sequence = ++last_sequence_;
    waiting_bytes_ += callback.bytes;
    waiting_.push_back(std::move(callback));
    wake_.notify_one();
    return true;
}

std::uint64_t CallbackQueue::mark() const {
    const std::lock_guard lock(mutex_);
    return last_sequence_;
}

bool CallbackQueue::wait_done(std::uint64_t epoch, std::uint64_t mark) {
    std::unique_lock lock(mutex_);
    if (on_callback_thread_locked()) return epoch == epoch_;
    // A callback of an earlier epoch may still run. It was also sent before the mark.
    progress_.wait(lock, [&] {
        if (epoch != epoch_) return true;
        const bool none_waits = waiting_.empty() || waiting_.front().sequence > mark;
        return none_waits && (running_sequence_ == 0 || running_sequence_ > mark);
    });
    return epoch == epoch_;
}

void CallbackQueue::stop() {
    std::thread thread;
    std::vector<Sink> sinks;
    bool inside = false;
    {
        const std::lock_guard lock(mutex_);
        end_locked();
        stopping_ = true;
        inside = on_callback_thread_locked();
        sinks.swap(sinks_);
        thread = std::exchange(thread_, std::thread());
        wake_.notify_one();
    }
    if (inside)
        ThreadReaper::instance().add(std::move(thread), ended_);
    else if (thread.joinable())
        thread.join();
    for (const Sink& sink : sinks)
        sink.object->Release();
}

void CallbackQueue::run() {
    std::unique_lock lock(mutex_);
    for (;;) {
        wake_.wait(lock, [&] { return stopping_ || !waiting_.empty(); });
        if (stopping_) return;
        Callback callback = std::move(waiting_.front());
        waiting_.pop_front();
        waiting_bytes_ -= callback.bytes;
        running_sequence_ = callback.sequence;
        const std::uint64_t epoch = epoch_;
        const std::shared_ptr<AlarmTable> alarms = alarms_;
        lock.unlock();
        try {
            deliver(callback, epoch, *alarms);
        } catch (...) {
            // Out of memory: end the link. The lists of the next connect bring the lost callback's event.
            end(epoch);
        }
        lock.lock();
        running_sequence_ = 0;
        progress_.notify_all();
    }
}

void CallbackQueue::deliver(const Callback& callback, std::uint64_t epoch, AlarmTable& alarms) {
    const auto argument = make_argument(callback, alarms);
    // Find the next sink by its cookie: sinks are added and removed during the calls, and cookies only grow.
    std::uint32_t called = 0;
    for (;;) {
        IDispatch* sink = nullptr;
        {
            const std::lock_guard lock(mutex_);
            running_cookie_ = 0;
            progress_.notify_all();
            const auto next = std::ranges::find_if(sinks_, [&](const Sink& one) { return one.cookie > called; });
            if (epoch != epoch_ || next == sinks_.end()) return;
            called = running_cookie_ = next->cookie;
            sink = next->object;
        }
        invoke(callback, argument.get(), *sink);
    }
}

// The result of the sink is ignored.
void CallbackQueue::invoke(const Callback& callback, IDispatch* argument, IDispatch& sink) {
    VARIANT object = object_variant(argument);
    VARIANT flag_and_object[] = {flag_variant(callback.removed), object};
    VARIANT reason = number_variant(callback.reason);
    VARIANT result{};
    switch (callback.id) {
    case Event::OnAlarmCleared:
    case Event::OnAlarmConfirmed:
        zo_logger_proxy::invoke(sink, callback.id, flag_and_object);
        break;
    case Event::OnDatabaseChanged:
        zo_logger_proxy::invoke(sink, callback.id, {&reason, 1}, &result);
        break;
    default:
        zo_logger_proxy::invoke(sink, callback.id, {&object, 1});
    }
}

} // namespace zo_logger_proxy
