#include "support/threading.h"

#include "tests/support/captured_syslog.h"
#include "tests/support/eventually.h"
#include "tests/support/gate.h"

#include <boost/thread/exceptions.hpp>
#include <boost/thread/thread.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <thread>
#include <vector>

#include <pthread.h>

using namespace std::chrono_literals;
using zo_test::Gate;
using ZoHmiSrv::InterruptMode;
using ZoHmiSrv::Threading;
using ZoHmiSrv::TimerError;

namespace {

constexpr long hour_ms = 60L * 60 * 1000;
using Errors = std::vector<TimerError>;

// Keeps what timer callbacks are called with, and lets a test wait for them. [any thread]
class TimerRecorder {
public:
    std::function<void(TimerError)> callback() {
        return [this](TimerError error) {
            const std::lock_guard lock(mutex_);
            errors_.push_back(error);
            changed_.notify_all();
        };
    }

    bool wait_for(std::size_t count, std::chrono::milliseconds timeout = std::chrono::seconds(20)) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, timeout, [&] { return errors_.size() >= count; });
    }

    std::vector<TimerError> errors() {
        const std::lock_guard lock(mutex_);
        return errors_;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<TimerError> errors_;
};

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
        EXPECT_TRUE(zo_test::eventually([&] { return used.expired(); }));
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
    EXPECT_TRUE(zo_test::eventually([&] { return alive.expired(); }));
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

// Stopped at the end of its scope, so what its callbacks use is declared before it.
struct Pool : Threading {
    using Threading::Threading;
    ~Pool() { stop(20000, InterruptMode::join, false); }
};

TEST(Timers, IdsCountFromOneAndOneShotTimersFireOnceOnThePool) {
    TimerRecorder recorder;
    std::atomic<bool> on_caller = false;
    const auto caller = std::this_thread::get_id();
    const auto callback = recorder.callback();
    Pool pool(2);
    EXPECT_EQ(pool.start_new_timer(1,
                                   [&](TimerError error) {
                                       on_caller = std::this_thread::get_id() == caller;
                                       callback(error);
                                   }),
              1u);
    EXPECT_EQ(pool.register_new_timer(), 2u);
    EXPECT_EQ(pool.start_new_timer(1, callback), 3u);
    ASSERT_TRUE(recorder.wait_for(2));
    EXPECT_FALSE(on_caller);
    // They have left the table, so nothing is left to cancel or to start again.
    pool.cancel_timer(1);
    EXPECT_FALSE(pool.start_timer(3, 0, callback));
    pool.stop(20000, InterruptMode::join, false);
    EXPECT_EQ(recorder.errors(), (Errors{TimerError::none, TimerError::none}));
}

TEST(Timers, ExpiriesSaturate) {
    TimerRecorder soon;
    TimerRecorder never;
    Pool pool(1);
    pool.start_new_timer(std::numeric_limits<long>::max(), never.callback());
    pool.start_new_timer(std::numeric_limits<long>::max() / 1'000'000, never.callback());
    pool.start_timer(pool.register_new_timer(), std::numeric_limits<long>::max(), never.callback());
    pool.start_new_timer(std::numeric_limits<long>::min(), soon.callback());
    pool.start_new_timer(-1, soon.callback());
    ASSERT_TRUE(soon.wait_for(2));
    EXPECT_EQ(soon.errors(), (Errors{TimerError::none, TimerError::none}));
    EXPECT_FALSE(never.wait_for(1, 30ms));
    pool.stop(20000, InterruptMode::join, false);
    EXPECT_EQ(never.errors(), Errors(3, TimerError::cancelled));
}

TEST(Timers, CancelledTimersAreStillCalledBack) {
    TimerRecorder one;
    TimerRecorder other;
    Pool pool(1);
    const auto id = pool.start_new_timer(hour_ms, one.callback());
    pool.start_new_timer(hour_ms, other.callback());
    pool.cancel_timer(id);
    pool.cancel_timer(12345);
    ASSERT_TRUE(one.wait_for(1));
    EXPECT_EQ(one.errors(), Errors{TimerError::cancelled});
    EXPECT_FALSE(other.wait_for(1, 20ms));
}

TEST(Timers, CancellingAllSparesExactlyTheListedOnes) {
    // By index of the timer; the registered timer is the last.
    const std::vector<std::vector<std::size_t>> cases = {{}, {0}, {1, 3}, {0, 1, 2, 3}};
    for (const auto& spared : cases) {
        SCOPED_TRACE(spared.size());
        TimerRecorder recorders[4];
        Pool pool(2);
        unsigned long ids[4] = {};
        for (std::size_t i = 0; i < 3; ++i)
            ids[i] = pool.start_new_timer(hour_ms, recorders[i].callback());
        ids[3] = pool.register_new_timer();
        ASSERT_TRUE(pool.start_timer(ids[3], hour_ms, recorders[3].callback()));

        std::vector<unsigned long> except = {4711};
        for (const auto i : spared)
            except.push_back(ids[i]);
        pool.cancel_all_timers(spared.empty() ? std::vector<unsigned long>() : except);

        for (std::size_t i = 0; i < 4; ++i) {
            if (std::find(spared.begin(), spared.end(), i) == spared.end()) {
                EXPECT_TRUE(recorders[i].wait_for(1)) << i;
            }
        }
        for (const auto i : spared)
            EXPECT_FALSE(recorders[i].wait_for(1, 10ms)) << i;
    }
}

TEST(Timers, RegisteredTimersCanBeStartedAgain) {
    TimerRecorder recorder;
    TimerRecorder pending;
    Pool pool(1);
    const auto id = pool.register_new_timer();
    for (std::size_t i = 1; i <= 3; ++i) {
        ASSERT_TRUE(pool.start_timer(id, 0, recorder.callback()));
        ASSERT_TRUE(recorder.wait_for(i));
    }
    // Starting a pending timer cancels its wait, whose callback comes first; a cancelled timer stays registered.
    ASSERT_TRUE(pool.start_timer(id, hour_ms, pending.callback()));
    ASSERT_TRUE(pool.start_timer(id, 0, recorder.callback()));
    ASSERT_TRUE(pending.wait_for(1));
    ASSERT_TRUE(recorder.wait_for(4));
    EXPECT_EQ(pending.errors(), Errors{TimerError::cancelled});
    EXPECT_EQ(recorder.errors(), Errors(4, TimerError::none));

    ASSERT_TRUE(pool.start_timer(id, hour_ms, pending.callback()));
    pool.unregister_timer(id);
    ASSERT_TRUE(pending.wait_for(2));
    EXPECT_EQ(pending.errors(), Errors(2, TimerError::cancelled));
    EXPECT_FALSE(pool.start_timer(id, 0, recorder.callback()));
    pool.unregister_timer(id);
}

TEST(Timers, CallbacksMayUseThePool) {
    TimerRecorder recorder;
    Gate waiting;
    const auto report = recorder.callback();
    std::function<void(TimerError)> tick;
    Pool pool(1);
    tick = [&](TimerError error) {
        report(error);
        if (error == TimerError::cancelled) return;
        const bool last = recorder.errors().size() == 3;
        pool.start_new_timer(last ? hour_ms : 0, tick);
        if (last) waiting.open();
    };
    pool.start_new_timer(0, tick);
    ASSERT_TRUE(waiting.wait());
    // The chain ends because the callback hears of the cancellation before the stop returns.
    EXPECT_FALSE(pool.stop(20000, InterruptMode::join, false));
    EXPECT_EQ(recorder.errors(), (Errors{TimerError::none, TimerError::none, TimerError::none, TimerError::cancelled}));
}

TEST(Timers, WhatCallbacksThrowCostsNoThread) {
    TimerRecorder recorder;
    Pool pool(1);
    pool.start_new_timer(0, [](TimerError) { throw std::runtime_error("expected"); });
    pool.start_new_timer(0, [](TimerError) { throw 42; });
    pool.post([] { throw std::runtime_error("expected"); });
    pool.start_new_timer(0, nullptr);
    pool.post(nullptr);
    pool.start_new_timer(5, recorder.callback());
    EXPECT_TRUE(recorder.wait_for(1));
}

TEST(Timers, EachTimerIsCalledBackOnceHoweverItRacesTheStop) {
    for (int round = 0; round < 30; ++round) {
        Threading pool(2);
        std::atomic<unsigned> started = 0;
        std::atomic<unsigned> called = 0;
        std::atomic<unsigned> refused = 0;
        std::vector<std::thread> users;
        for (int user = 0; user < 3; ++user) {
            users.emplace_back([&, user] {
                const auto callback = [&](TimerError) { ++called; };
                const auto id = pool.register_new_timer();
                while (refused < 3) {
                    const bool ok = user == 0 ? pool.start_timer(id, hour_ms, callback)
                                              : pool.start_new_timer(user == 1 ? 0 : hour_ms, callback) != 0;
                    ++(ok ? started : refused);
                }
            });
        }
        std::this_thread::sleep_for(std::chrono::microseconds(100 * round));
        EXPECT_FALSE(pool.stop(20000, InterruptMode::join, false));
        EXPECT_TRUE(pool.stopped());
        const unsigned called_before_return = called;
        for (auto& user : users)
            user.join();
        EXPECT_EQ(called_before_return, started);
        EXPECT_EQ(called, started);
    }
}

} // namespace
