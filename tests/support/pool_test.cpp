#include "support/threading.h"

#include "tests/support/captured_syslog.h"
#include "tests/support/waiting.h"

#include <boost/thread/exceptions.hpp>
#include <boost/thread/thread.hpp>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

#include <pthread.h>

using namespace std::chrono_literals;
using ZoHmiSrv::InterruptMode;
using ZoHmiSrv::Threading;
using ZoHmiSrv::TimerError;

namespace {

constexpr long ample_ms = 20000;
using Clock = std::chrono::steady_clock;

TEST(Pool, ThreadsAddedLaterRunBesideTheFirst) {
    for (const unsigned long first : {0ul, 1ul, 2ul}) {
        SCOPED_TRACE(first);
        Gate gate;
        Threading pool(first);
        pool.add_threads(3 - first);
        // Three functions that are held at once need three threads. The first one posts the others, which must not be
        // kept for its own thread.
        const auto held = [&] { gate.wait(); };
        pool.post([&] {
            pool.post(held);
            pool.post(held);
            held();
        });
        EXPECT_TRUE(gate.wait_for_arrivals(3));
        gate.open();
        EXPECT_FALSE(pool.stop(ample_ms, InterruptMode::join, false));
    }
}

TEST(Stop, AStoppedPoolRefusesEverything) {
    Threading pool(1);
    const auto registered = pool.register_new_timer();
    pool.stop(ample_ms, InterruptMode::join, false);

    TimerRecorder recorder;
    bool ran = false;
    EXPECT_EQ(pool.start_new_timer(0, recorder.callback()), 0u);
    EXPECT_EQ(pool.register_new_timer(), 0u);
    EXPECT_FALSE(pool.start_timer(registered, 0, recorder.callback()));
    pool.post([&] { ran = true; });
    pool.add_threads(1);
    pool.cancel_timer(registered);
    pool.cancel_all_timers();
    pool.unregister_timer(registered);
    pool.wait();
    EXPECT_FALSE(pool.stop(ample_ms, InterruptMode::join, false));
    EXPECT_FALSE(recorder.wait_for(1, 20ms));
    EXPECT_FALSE(ran);
}

TEST(Stop, TheSecondCallReturnsAtOnceWhileTheFirstStillWaits) {
    Threading pool(1);
    Gate leave;
    pool.post([&] { leave.wait(); });
    ASSERT_TRUE(leave.wait_for_arrivals());
    std::atomic<bool> first_returned = false;
    std::thread first([&] {
        EXPECT_FALSE(pool.stop(ample_ms, InterruptMode::join, false));
        first_returned = true;
    });
    std::atomic<int> waited = 0;
    std::thread waiters[2];
    for (auto& waiter : waiters) {
        waiter = std::thread([&] {
            pool.wait();
            ++waited;
        });
    }
    while (!pool.stopped())
        std::this_thread::yield();
    EXPECT_FALSE(pool.stop(ample_ms, InterruptMode::join, false));
    EXPECT_FALSE(first_returned);
    EXPECT_EQ(waited, 0);
    leave.open();
    first.join();
    for (auto& waiter : waiters)
        waiter.join();
    EXPECT_EQ(waited, 2);
}

TEST(Stop, EachThreadHasTheWholeTimeoutForItself) {
    Threading pool(2);
    std::atomic<int> inside = 0;
    for (int i = 0; i < 2; ++i) {
        pool.post([&] {
            ++inside;
            boost::this_thread::sleep_for(boost::chrono::hours(1));
        });
    }
    while (inside < 2)
        std::this_thread::yield();
    const auto start = Clock::now();
    EXPECT_TRUE(pool.stop(100, InterruptMode::join, false));
    EXPECT_GE(Clock::now() - start, 200ms);
}

TEST(Stop, LateThreadsAreJoinedOrLeftAsAsked) {
    for (const auto mode : {InterruptMode::join, InterruptMode::leave, InterruptMode(7)}) {
        SCOPED_TRACE(static_cast<int>(mode));
        const auto in_use = std::make_shared<int>();
        std::weak_ptr<int> used = in_use;
        const auto leave = std::make_shared<Gate>();
        std::atomic<bool> left = false;
        std::optional<Threading> pool(std::in_place, 1);
        pool->post([in_use, leave] { leave->wait(); });
        ASSERT_TRUE(leave->wait_for_arrivals());
        const_cast<std::shared_ptr<int>&>(in_use).reset();
        // This wait never gets a thread: it dies with the pool instead of being called back.
        TimerRecorder recorder;
        pool->start_new_timer(hour_ms, recorder.callback());

        std::thread opener;
        if (mode == InterruptMode::join) {
            opener = std::thread([&] {
                std::this_thread::sleep_for(100ms);
                left = true;
                leave->open();
            });
        }
        EXPECT_TRUE(pool->stop(10, mode, false));
        EXPECT_EQ(left, mode == InterruptMode::join);
        pool.reset(); // a thread that was left still runs its function
        EXPECT_EQ(used.expired(), mode == InterruptMode::join);
        leave->open();
        EXPECT_TRUE(wait_until_gone(used));
        if (opener.joinable()) opener.join();
        EXPECT_TRUE(recorder.errors().empty());
    }
}

TEST(Stop, OnAPoolThreadSleepsThroughItsOwnShare) {
    TimerRecorder recorder;
    std::atomic<bool> late = false;
    std::atomic<std::chrono::nanoseconds> took{};
    Gate returned;
    std::optional<Threading> pool(std::in_place, 2);
    Threading* const running = &*pool;
    pool->start_new_timer(hour_ms, recorder.callback());
    pool->post([&, running] {
        const auto start = Clock::now();
        late = running->stop(100, InterruptMode::join, false);
        took = Clock::now() - start;
        returned.open();
    });
    // The other thread has called back by now. The pool may go although its last thread is still leaving `stop`.
    pool->wait();
    pool.reset();
    EXPECT_EQ(recorder.errors(), Errors{TimerError::cancelled});
    ASSERT_TRUE(returned.wait());
    EXPECT_TRUE(late);
    EXPECT_GE(took.load(), 100ms);
    EXPECT_LT(took.load(), 15s);
}

TEST(Stop, TheDestructorWaitsForAStopOnAnotherThread) {
    Gate leave;
    std::optional<Threading> pool(std::in_place, 1);
    Threading* const running = &*pool;
    pool->post([&] { leave.wait(); });
    ASSERT_TRUE(leave.wait_for_arrivals());
    std::thread stopper([running] { EXPECT_FALSE(running->stop(ample_ms, InterruptMode::join, false)); });
    while (!pool->stopped())
        std::this_thread::yield();
    std::thread opener([&] {
        std::this_thread::sleep_for(30ms);
        leave.open();
    });
    take_syslog_lines();
    pool.reset();
    EXPECT_TRUE(take_syslog_lines().empty());
    stopper.join();
    opener.join();
}

TEST(Stop, APoolMayEndOnItsOwnThread) {
    const auto captured = std::make_shared<int>();
    const std::weak_ptr<int> alive = captured;
    auto* pool = new Threading(1);
    pool->start_new_timer(hour_ms, [captured](TimerError) {});
    pool->start_new_timer(0, [pool, captured](TimerError) {
        pool->stop(1, InterruptMode::join, false);
        delete pool;
    });
    const_cast<std::shared_ptr<int>&>(captured).reset();
    EXPECT_TRUE(wait_until_gone(alive));
}

TEST(Destructor, ARunningPoolIsStoppedAndTheSystemLogHearsOfIt) {
    take_syslog_lines();
    TimerRecorder recorder;
    {
        Threading pool(2);
        pool.start_new_timer(hour_ms, recorder.callback());
    }
    EXPECT_EQ(recorder.errors(), Errors{TimerError::cancelled});
    const auto lines = take_syslog_lines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].first, 3);
    EXPECT_EQ(lines[0].second, "Unexpected shutdown of thread pool.");
    {
        Threading pool(2);
        pool.stop(ample_ms, InterruptMode::join, false);
    }
    EXPECT_TRUE(take_syslog_lines().empty());
}

// Threads get a stack that no machine has, so that the system refuses to start them.
class ThreadsRefused {
public:
    ThreadsRefused() {
        pthread_getattr_default_np(&before_);
        pthread_attr_t huge;
        pthread_attr_init(&huge);
        pthread_attr_setstacksize(&huge, std::size_t(1) << 46);
        refused_ = pthread_setattr_default_np(&huge) == 0;
        pthread_attr_destroy(&huge);
    }
    ~ThreadsRefused() {
        pthread_setattr_default_np(&before_);
        pthread_attr_destroy(&before_);
    }
    bool refused() const { return refused_; }

private:
    pthread_attr_t before_;
    bool refused_ = false;
};

TEST(Pool, AThreadThatCannotBeStartedIsReportedAndThePoolStaysWhole) {
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the sanitizer starts threads with a stack of its own choice";
#endif
    Threading pool(1);
    {
        ThreadsRefused scope;
        ASSERT_TRUE(scope.refused());
        EXPECT_THROW(pool.add_threads(2), boost::thread_resource_error);
        EXPECT_THROW(Threading(1), boost::thread_resource_error);
    }
    take_syslog_lines();
    Gate ran;
    pool.post([&] { ran.open(); });
    EXPECT_TRUE(ran.wait());
    pool.add_threads(1);
    EXPECT_FALSE(pool.stop(ample_ms, InterruptMode::join, false));
}

} // namespace
