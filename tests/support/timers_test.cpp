#include "support/threading.h"

#include "tests/support/waiting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <limits>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace std::chrono_literals;
using ZoHmiSrv::InterruptMode;
using ZoHmiSrv::Threading;
using ZoHmiSrv::TimerError;

namespace {

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
