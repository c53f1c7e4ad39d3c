#include "binding/call_gate.h"
#include "tests/fakes/callback_thread.h"

#include <atomic>
#include <future>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using ZoAtlCom::CallGate;
using namespace std::chrono_literals;

TEST(CallGate, WaitsForTheOutermostLeaveOfAnotherThread) {
    CallGate gate;
    fakes::CallbackThread caller;
    caller.post([&] {
        gate.enter();
        gate.enter();
    });
    caller.drain();
    auto waiting = std::async(std::launch::async, [&] { gate.wait_until_idle(); });
    EXPECT_EQ(waiting.wait_for(50ms), std::future_status::timeout);
    caller.post([&] { gate.leave(); });
    caller.drain();
    EXPECT_EQ(waiting.wait_for(50ms), std::future_status::timeout);
    caller.post([&] { gate.leave(); });
    EXPECT_EQ(waiting.wait_for(10s), std::future_status::ready);
    gate.wait_until_idle();
}

TEST(CallGate, NeverWaitsOnAThreadThatIsInside) {
    CallGate gate;
    fakes::CallbackThread caller;
    caller.post([&] { gate.enter(); });
    caller.drain();
    gate.enter();
    gate.wait_until_idle(); // would hang: this thread and another are inside
    gate.leave();
    caller.post([&] { gate.leave(); });
    caller.drain();
    gate.wait_until_idle();
}

TEST(CallGate, NobodyIsInsideOnceTheWaitEnds) {
    for (int round = 0; round < 50; ++round) {
        CallGate gate;
        std::atomic<int> inside = 0, entered = 0;
        std::vector<std::thread> callers;
        for (int i = 0; i < 4; ++i)
            callers.emplace_back([&] {
                gate.enter();
                ++inside;
                ++entered;
                std::this_thread::yield();
                --inside;
                gate.leave();
            });
        while (entered < 4)
            std::this_thread::yield();
        gate.wait_until_idle();
        EXPECT_EQ(inside, 0);
        for (std::thread& caller : callers)
            caller.join();
    }
}

TEST(CallGate, RunsWorkOutsideOnceTheOutermostGateIsLeft) {
    CallGate outer, inner;
    std::vector<int> ran;
    CallGate::run_outside([&] { ran.push_back(0); });
    EXPECT_EQ(ran, std::vector{0}); // nobody is inside
    outer.enter();
    inner.enter();
    CallGate::run_outside([&] { ran.push_back(1); });
    CallGate::run_outside([] { throw 42; }); // stops neither the thread nor what comes after
    CallGate::run_outside([&] {
        outer.wait_until_idle(); // this thread counts as outside by now
        ran.push_back(2);
    });
    // Another thread is not concerned.
    std::thread([&] { CallGate::run_outside([&] { ran.push_back(3); }); }).join();
    EXPECT_EQ(ran, (std::vector{0, 3}));
    inner.leave();
    EXPECT_EQ(ran, (std::vector{0, 3}));
    outer.leave();
    EXPECT_EQ(ran, (std::vector{0, 3, 1, 2}));
}
