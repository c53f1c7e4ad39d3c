#include "support/threading.h"

#include "tests/support/captured_syslog.h"
#include "tests/support/eventually.h"
#include "tests/support/gate.h"
#include "tests/test_headers.h"

#include <boost/thread/exceptions.hpp>
#include <boost/thread/thread.hpp>

#include <stdexcept>

#include <pthread.h>

using namespace std::chrono_literals;
using zo_test::Gate;
using ZoHmiSrv::InterruptMode;
using ZoHmiSrv::Threading;
using ZoHmiSrv::TimerError;

namespace {

constexpr long hour_ms = 60L * 60 * 1000;
using Errors = std::vector<TimerError>;

/// Records the arguments of timer callbacks, and lets a test wait for them. [any thread]
class TimerRecorder {
public:
    std::function<void(TimerError)> callback() {
        return [this](TimerError error) {
            const std::lock_guard lock(mutex_);
            errors_.push_back(error);
        };
    }

    bool wait_for(std::size_t count, std::chrono::milliseconds timeout = std::chrono::seconds(20)) {
        return zo_test::eventually([&] { return errors().size() >= count; }, timeout);
    }

    Errors errors() {
        const std::lock_guard lock(mutex_);
        return errors_;
    }

private:
    std::mutex mutex_;
    Errors errors_;
};

constexpr long ample_ms = 20000;
using Clock = std::chrono::steady_clock;

TEST(Pool, AddedThreadsRunBesideTheFirst) {
    for (const unsigned long first : {0ul, 1ul, 2ul}) {
        SCOPED_TRACE(first);
        Gate gate;
        Threading pool(first);
        pool.add_threads(3 - first);
        // Three functions that block at once need three threads. The first posts the others, which other threads must
        // run.
        const auto block = [&] { gate.wait(); };
        pool.post([&] {
            pool.post(block);
            pool.post(block);
            block();
        });
        EXPECT_TRUE(gate.wait_for_arrivals(3));
        gate.open();
        EXPECT_FALSE(pool.stop(ample_ms, InterruptMode::join, false));
    }
}

TEST(Stop, StoppedPoolRefusesEverything) {
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

TEST(Stop, SecondCallReturnsWhileFirstBlocks) {
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
    const auto wait = [&] {
        pool.wait();
        ++waited;
    };
    std::thread waiters[] = {std::thread(wait), std::thread(wait)};
    EXPECT_TRUE(zo_test::eventually([&] { return pool.stopped(); }));
    EXPECT_FALSE(pool.stop(ample_ms, InterruptMode::join, false));
    EXPECT_FALSE(first_returned);
    EXPECT_EQ(waited, 0);
    leave.open();
    first.join();
    for (auto& waiter : waiters)
        waiter.join();
    EXPECT_EQ(waited, 2);
}

TEST(Stop, EachThreadGetsTheWholeTimeout) {
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

TEST(Stop, LateThreadsAreJoinedOrDetachedByMode) {
    for (const auto mode : {InterruptMode::join, InterruptMode::leave, InterruptMode(7)}) {
        SCOPED_TRACE(static_cast<int>(mode));
        auto in_use = std::make_shared<int>();
        const std::weak_ptr<int> used = in_use;
        const auto interrupted = std::make_shared<Gate>(), leave = std::make_shared<Gate>();
        std::atomic<bool> left = false;
        std::optional<Threading> pool(std::in_place, 1);
        pool->post([in_use = std::move(in_use), interrupted, leave] {
            EXPECT_TRUE(zo_test::eventually(boost::this_thread::interruption_requested));
            interrupted->open();
            leave->wait();
        });
        // The only thread never gets to this timer: its callback is destroyed with the pool.
        TimerRecorder recorder;
        pool->start_new_timer(hour_ms, recorder.callback());
        std::thread opener([&] {
            interrupted->wait();
            if (mode != InterruptMode::join) return;
            left = true;
            leave->open();
        });
        EXPECT_TRUE(pool->stop(10, mode, false));
        EXPECT_EQ(left, mode == InterruptMode::join);
        opener.join();
        pool.reset(); // a detached thread still runs its function
        EXPECT_EQ(used.expired(), mode == InterruptMode::join);
        leave->open();
        EXPECT_TRUE(zo_test::eventually([&] { return used.expired(); }));
        EXPECT_TRUE(recorder.errors().empty());
    }
}

TEST(Stop, PoolThreadSleepsForItsShare) {
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
    // The other thread has called back by now. The pool may be destroyed while its last thread is still inside `stop`.
    pool->wait();
    pool.reset();
    EXPECT_EQ(recorder.errors(), Errors{TimerError::cancelled});
    ASSERT_TRUE(returned.wait());
    EXPECT_TRUE(late);
    EXPECT_GE(took.load(), 100ms);
    EXPECT_LT(took.load(), 15s);
}

TEST(Stop, DestructorWaitsForStopOnOtherThread) {
    Gate leave;
    std::optional<Threading> pool(std::in_place, 1);
    Threading* const running = &*pool;
    pool->post([&] { leave.wait(); });
    ASSERT_TRUE(leave.wait_for_arrivals());
    std::thread stopper([running] { EXPECT_FALSE(running->stop(ample_ms, InterruptMode::join, false)); });
    EXPECT_TRUE(zo_test::eventually([&] { return pool->stopped(); }));
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

TEST(Stop, PoolMayBeDestroyedOnItsOwnThread) {
    auto captured = std::make_shared<int>();
    const std::weak_ptr<int> alive = captured;
    auto* pool = new Threading(1);
    pool->start_new_timer(hour_ms, [captured](TimerError) {});
    pool->start_new_timer(0, [pool, captured = std::move(captured)](TimerError) {
        pool->stop(1, InterruptMode::join, false);
        delete pool;
    });
    EXPECT_TRUE(zo_test::eventually([&] { return alive.expired(); }));
}

TEST(Stop, DestructorStopsRunningPoolAndLogsIt) {
    take_syslog_lines();
    TimerRecorder recorder;
    {
        Threading pool(2);
        pool.start_new_timer(hour_ms, recorder.callback());
    }
    EXPECT_EQ(recorder.errors(), Errors{TimerError::cancelled});
    EXPECT_THAT(take_syslog_lines(), testing::ElementsAre(std::pair(3, "Unexpected shutdown of thread pool.")));
}

TEST(Pool, FailedThreadStartThrowsAndPoolRuns) {
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the sanitizer chooses the stack of threads itself";
#endif
    Threading pool(1);
    // The system starts no thread with such a stack.
    pthread_attr_t before, huge;
    pthread_getattr_default_np(&before);
    pthread_attr_init(&huge);
    pthread_attr_setstacksize(&huge, std::size_t(1) << 46);
    ASSERT_EQ(pthread_setattr_default_np(&huge), 0);
    EXPECT_THROW(pool.add_threads(2), boost::thread_resource_error);
    EXPECT_THROW(Threading(1), boost::thread_resource_error);
    pthread_setattr_default_np(&before);
    take_syslog_lines();
    Gate ran;
    pool.post([&] { ran.open(); });
    EXPECT_TRUE(ran.wait());
    pool.add_threads(1);
    EXPECT_FALSE(pool.stop(ample_ms, InterruptMode::join, false));
}

/// Stopped at the end of its scope, so the objects that its callbacks use are declared before it.
struct Pool : Threading {
    using Threading::Threading;
    ~Pool() { stop(20000, InterruptMode::join, false); }
};

TEST(Timers, OneShotFiresOnce) {
    TimerRecorder recorder;
    const auto callback = recorder.callback();
    Pool pool(2);
    EXPECT_EQ(pool.start_new_timer(1, callback), 1u);
    EXPECT_EQ(pool.register_new_timer(), 2u);
    EXPECT_EQ(pool.start_new_timer(1, callback), 3u);
    ASSERT_TRUE(recorder.wait_for(2));
    // Both are removed from the table: nothing can be cancelled or started again.
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

TEST(Timers, CancelAllSparesListedTimers) {
    TimerRecorder recorders[4];
    Pool pool(2);
    unsigned long ids[4] = {};
    for (std::size_t i = 0; i < 3; ++i)
        ids[i] = pool.start_new_timer(hour_ms, recorders[i].callback());
    ids[3] = pool.register_new_timer();
    ASSERT_TRUE(pool.start_timer(ids[3], hour_ms, recorders[3].callback()));
    pool.cancel_all_timers({4711, ids[1], ids[3]});
    for (const std::size_t cancelled : {0, 2})
        ASSERT_TRUE(recorders[cancelled].wait_for(1)) << cancelled;
    for (const std::size_t spared : {1, 3})
        EXPECT_FALSE(recorders[spared].wait_for(1, 10ms)) << spared;
    pool.cancel_all_timers();
    for (TimerRecorder& recorder : recorders) {
        ASSERT_TRUE(recorder.wait_for(1));
        EXPECT_EQ(recorder.errors(), Errors{TimerError::cancelled});
    }
}

TEST(Timers, RegisteredTimerCanBeRestarted) {
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
    // The cancelled callback runs before `stop` returns, and ends the chain.
    EXPECT_FALSE(pool.stop(20000, InterruptMode::join, false));
    EXPECT_EQ(recorder.errors(), (Errors{TimerError::none, TimerError::none, TimerError::none, TimerError::cancelled}));
}

TEST(Timers, CallbackExceptionEndsNoThread) {
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

TEST(Timers, TimersRacingStopCallBackOnce) {
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
