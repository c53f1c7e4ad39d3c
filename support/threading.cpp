#include "support/threading.h"

#include "support/detail/threading_impl.h"

#include <boost/asio/executor_work_guard.hpp>

#include <syslog.h>

#include <utility>

namespace ZoHmiSrv {

class WorkImpl {
public:
    explicit WorkImpl(boost::asio::io_context& context) : guard(context.get_executor()) {}

    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> guard;
};

Work::Work(boost::asio::io_context& context) : impl_(std::make_unique<WorkImpl>(context)) {
}
Work::~Work() = default;

bool Work::owns_work() const {
    return impl_->guard.owns_work();
}

void Work::reset() {
    impl_->guard.reset();
}

Threading::Threading(unsigned long threads) : impl_(std::make_shared<ThreadingImpl>(threads)) {
    try {
        impl_->add_threads(threads);
    } catch (...) {
        impl_->stop(5000, InterruptMode::join);
        impl_->release_context();
        throw;
    }
}

Threading::~Threading() {
    try {
        if (!impl_->stopped()) {
            syslog(LOG_ERR, "Unexpected shutdown of thread pool.");
            impl_->stop(5000, InterruptMode::join);
        }
        impl_->wait(); // for a stop on another thread
    } catch (...) {    // NOLINT(bugprone-empty-catch): no exception may leave a destructor
    }
    impl_->release_context();
}

void Threading::add_threads(unsigned long threads) {
    impl_->add_threads(threads);
}

void Threading::post(std::function<void()> function) {
    impl_->post(std::move(function));
}

unsigned long Threading::start_new_timer(long ms, const std::function<void(TimerError)>& callback) {
    return impl_->start_new_timer(ms, callback);
}

unsigned long Threading::register_new_timer() {
    return impl_->register_new_timer();
}

bool Threading::start_timer(unsigned long id, long ms, const std::function<void(TimerError)>& callback) {
    return impl_->start_timer(id, ms, callback);
}

void Threading::cancel_timer(unsigned long id) {
    impl_->cancel_timer(id);
}

void Threading::cancel_all_timers(const std::vector<unsigned long>& except) {
    impl_->cancel_all_timers(except);
}

void Threading::unregister_timer(unsigned long id) {
    impl_->unregister_timer(id);
}

bool Threading::stop(long timeout_ms, InterruptMode mode, bool /*unused*/) {
    const auto impl = impl_; // a thread in `wait` may destroy this object before the call below returns
    return impl->stop(timeout_ms, mode);
}

bool Threading::stopped() const {
    return impl_->stopped();
}

void Threading::wait() {
    impl_->wait();
}

boost::asio::io_context& Threading::io_context() {
    return impl_->io_context();
}

} // namespace ZoHmiSrv
