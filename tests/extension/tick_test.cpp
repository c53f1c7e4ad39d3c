#include "tests/extension/extension_fixture.h"

#include "binding/error.h"
#include "tests/fakes/callback_thread.h"
#include "tests/server_api/allocations.h"

using namespace ZoHmiSrv;
using fakes::call_log;

namespace {

class Tick : public ExtensionTest {
protected:
    Tick() { add_targets(); }
    void add_targets() {
        loggers.clear();
        for (const char* name : {"a", "b", "c"})
            loggers.push_back(add_target(name));
    }
    std::size_t queries(std::size_t index) { return loggers[index]->plan->count("IsConnected"); }
    void lose_all() {
        for (const auto& logger : loggers)
            logger->connected = VARIANT_FALSE;
    }
    ErrorValue remove(const char* name) {
        const std::string path = std::string("TARGET_SYSTEMS::") + name;
        return extension->on_config_delete(Context(), path.c_str()).result();
    }

    std::vector<fakes::LoggerPtr> loggers;
};

TEST_F(Tick, RunsUnlessTheTimerWasCancelled) {
    start_without_ticks();
    tick(TimerError::cancelled);
    EXPECT_EQ(queries(0), 0u);
    tick(TimerError::failed);
    EXPECT_EQ(queries(0), 2u);
    EXPECT_EQ(take_calls("host."), Texts());
}

TEST_F(Tick, ReconnectsCauseOneResetAfterImports) {
    start_without_ticks();
    lose_all();
    tick();
    EXPECT_EQ(take_calls(), in_order({connected("a", "a"), connected("b", "b"), connected("c", "c"), reset_calls}));
    EXPECT_STREQ(host.context_of("reset_temporary_events").domain(), "tick");
    EXPECT_STREQ(host.context_of("send_message").domain(), "HMI");
    tick();
    EXPECT_EQ(take_calls("host."), Texts());
}

TEST_F(Tick, NewConnectionsCallBackAfterTheReset) {
    start_without_ticks();
    lose_all();
    loggers[2]->history.push_back(loggers[2]->make_logged_event());
    // The first target, imported already, raises an alarm while the second connects.
    EXPECT_EQ(raise_before_reset("send_message TARGET_SYSTEM_CONNECTED", 2, loggers[0], [this] { tick(); }), 1u);
    EXPECT_EQ(listed().size(), 2u);
}

TEST_F(Tick, RemovedTargetIsSkipped) {
    start_without_ticks();
    // The first target is removed during its own poll: it lives until the tick ends.
    loggers[0]->plan->run("IsConnected", 1, [this] {
        EXPECT_EQ(remove("a"), HMI_SUCCESS);
        EXPECT_EQ(remove("b"), HMI_SUCCESS);
    });
    tick();
    EXPECT_EQ(queries(0), 2u);
    EXPECT_EQ(queries(1), 0u);
    EXPECT_EQ(queries(2), 2u);
    EXPECT_EQ(take_calls(), in_order({reset_calls, destroyed("b"), reset_calls, destroyed("a")}));
}

TEST_F(Tick, TargetRemovedDuringTickRaisesNothing) {
    fakes::CallbackThread callbacks;
    // Removed during the poll of another target, and during its own, with an alarm that waits for the end of the tick.
    for (const bool own_turn : {false, true}) {
        start_without_ticks();
        if (own_turn) loggers[0]->connected = VARIANT_FALSE;
        loggers[own_turn ? 0 : 1]->plan->run(own_turn ? "ConnectWithSettings" : "IsConnected", 1,
                                             [this] { EXPECT_EQ(remove("a"), HMI_SUCCESS); });
        const auto alarm = loggers[0]->make_alarm();
        loggers[own_turn ? 0 : 2]->plan->run("IsConnected", own_turn ? 3 : 2,
                                             [&] { callbacks.post([&] { loggers[0]->fire_raised(alarm); }); });
        tick();
        callbacks.drain();
        EXPECT_EQ(host.alarms(), 0u) << own_turn; // no later reset would remove it
        shut_down();
        add_targets();
    }
}

TEST_F(Tick, RunningCallbackPrecedesResetOfRemoval) {
    start_without_ticks();
    fakes::CallbackThread callbacks;
    const auto alarm = loggers[0]->make_alarm();
    const auto notified = host.plan().block("notify_alarm");
    std::thread remover;
    // The tick still uses the first target while it polls the last one.
    loggers[2]->plan->run("IsConnected", 1, [&] {
        callbacks.post([&] { loggers[0]->fire_raised(alarm); });
        ASSERT_TRUE(notified->wait_for_arrivals());
        remover = std::thread([this] { EXPECT_EQ(remove("a"), HMI_SUCCESS); });
        EXPECT_FALSE(call_log().wait_for("host.reset_temporary_events", 1, std::chrono::milliseconds(200)));
        notified->open();
        remover.join();
        EXPECT_EQ(call_log().count("host.reset_temporary_events"), 1u);
    });
    tick();
    callbacks.drain();
}

TEST_F(Tick, FailedStateQueryEndsOnlyTheTimerChain) {
    loggers[0]->plan->answer("ConnectWithSettings", E_FAIL, 1); // connects in this tick, but without a reset
    loggers[1]->plan->answer("IsConnected", E_FAIL);
    ASSERT_EQ(init(), HMI_SUCCESS);
    ASSERT_TRUE(call_log().wait_for("host.send_message ZORVANE_EVENTLOGGER_ERROR b"));
    std::this_thread::sleep_for(std::chrono::milliseconds(1200)); // two periods without a tick
    EXPECT_EQ(call_log().count("host.send_message GETLOGGEDEVENTS_GETACTIVEALARMS a"), 1u);
    EXPECT_EQ(call_log().count("host.reset_temporary_events"), 0u);
    EXPECT_EQ(call_log().count("host.send_message ZORVANE_EVENTLOGGER_ERROR b"), 1u);
    EXPECT_EQ(queries(2), 0u);
    // The pool still has its threads: a new chain runs.
    loggers[1]->plan->clear();
    tick();
    EXPECT_TRUE(call_log().wait_for("c.IsConnected", 6));
}

TEST_F(Tick, OtherExceptionsKeepTheTimerChain) {
    loggers[1]->plan->answer("ConnectWithSettings", E_FAIL, 1); // so that the first tick resets
    host.plan().throw_error("reset_temporary_events", "server", 1);
    ASSERT_EQ(init(), HMI_SUCCESS);
    ASSERT_TRUE(call_log().wait_for("c.IsConnected", 4));
    EXPECT_TRUE(call_log().wait_for("host.reset_temporary_events", 2)); // the refused reset is repeated
    const auto errors = host.messages("ZORVANE_EVENTLOGGER_ERROR");
    ASSERT_EQ(errors.size(), 1u);
    Message error = errors[0];
    EXPECT_EQ(error.parameters()["0"], Value("")); // of no target
    EXPECT_EQ(error.parameters()["2"], Value("server"));
}

TEST_F(Tick, FailedTimerAllocationDelaysNextTick) {
    loggers[2]->plan->run("IsConnected", 2, [] { allocations::fail_after(0); }); // the last query of the first tick
    ASSERT_EQ(init(), HMI_SUCCESS);
    EXPECT_TRUE(call_log().wait_for("c.IsConnected", 4));
    EXPECT_EQ(host.messages("ZORVANE_EVENTLOGGER_ERROR").size(), 1u);
}

TEST_F(Tick, CallbacksDoNotWaitForDestruction) {
    start_without_ticks();
    loggers[2]->connected = VARIANT_FALSE;
    loggers[0]->plan->run("IsConnected", 1, [this] { EXPECT_EQ(remove("a"), HMI_SUCCESS); });
    const auto going = loggers[0]->plan->block("Disconnect");
    const auto alarm = loggers[2]->make_alarm();
    std::thread ticking([this] { tick(); });
    EXPECT_TRUE(going->wait_for_arrivals());
    fakes::CallbackThread callbacks;
    callbacks.post([&] { loggers[2]->fire_raised(alarm); });
    EXPECT_TRUE(call_log().wait_for("host.notify_alarm 0 1"));
    going->open();
    ticking.join();
}

TEST_F(Tick, RefusedHostCallLosesNoEvent) {
    // Errors are reported by messages, so a refused message is not reported.
    const std::pair<const char*, Texts> cases[] = {
        {"get_config_value PRELOAD_TRANSLATIONS", {"host.send_message ZORVANE_EVENTLOGGER_ERROR b"}},
        {"send_message TARGET_SYSTEM_CONNECT_FAILED", {}},
        {"send_message TARGET_SYSTEM_CONNECTED", {}},
        {"send_message GETLOGGEDEVENTS_GETACTIVEALARMS", {}},
        {"send_message RESET_TEMPORARY_EVENTS", {}},
        {"reset_temporary_events", {"host.send_message ZORVANE_EVENTLOGGER_ERROR"}},
    };
    for (const auto& [call, errors] : cases) {
        SCOPED_TRACE(call);
        start_without_ticks();
        loggers[1]->active = {loggers[1]->make_alarm()};
        loggers[1]->connected = VARIANT_FALSE;
        loggers[1]->plan->answer("ConnectWithSettings", E_FAIL, 1);
        host.plan().throw_error(call, "busy", 1);
        std::size_t listed_in_reset = 0;
        host.plan().run("reset_temporary_events", [&] { listed_in_reset = listed().size(); });
        for (int ticks = 0; ticks < 3; ++ticks)
            EXPECT_NO_THROW(tick());
        EXPECT_EQ(listed_in_reset, 1u);
        EXPECT_EQ(take_calls("host.send_message ZORVANE_EVENTLOGGER_ERROR"), errors);
        shut_down();
        host.plan().clear();
        add_targets();
    }
}

TEST_F(Tick, ExceptionAfterImportKeepsTheReset) {
    start_without_ticks();
    loggers[0]->connected = VARIANT_FALSE;
    loggers[0]->plan->throw_foreign("IsConnected", 3); // not a result code, which would end the ticks
    tick();
    EXPECT_EQ(call_log().count("host.reset_temporary_events"), 1u);
    EXPECT_GT(queries(2), 0u);
}

TEST_F(Tick, StartsHalfASecondAfterTheLastEnded) {
    using Clock = std::chrono::steady_clock;
    std::vector<Clock::time_point> begun;
    loggers[0]->plan->run("IsConnected", [&] { begun.push_back(Clock::now()); });
    loggers[2]->plan->run("IsConnected", [] { std::this_thread::sleep_for(std::chrono::milliseconds(150)); });
    const auto start = Clock::now();
    ASSERT_EQ(init(), HMI_SUCCESS);
    ASSERT_TRUE(call_log().wait_for("a.IsConnected", 5));
    EXPECT_EQ(extension->on_shutdown(Context()), 0);
    const auto ended = call_log().count("a.IsConnected");
    // Each tick makes two queries and takes 300 ms; the next tick starts 500 ms after its end.
    EXPECT_GE(begun[0] - start, std::chrono::milliseconds(500));
    EXPECT_GE(begun[2] - begun[0], std::chrono::milliseconds(800));
    EXPECT_GE(begun[4] - begun[2], std::chrono::milliseconds(800));
    std::this_thread::sleep_for(std::chrono::milliseconds(700));
    EXPECT_EQ(call_log().count("a.IsConnected"), ended);
}

} // namespace
