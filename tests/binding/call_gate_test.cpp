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
