#include "tests/extension/extension_fixture.h"

#include "binding/error.h"
#include "tests/fakes/callback_thread.h"
#include "tests/server_api/allocations.h"

#include <gmock/gmock.h>

#include <chrono>
#include <thread>

using namespace ZoHmiSrv;
using fakes::call_log;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Tick : public ExtensionTest {
protected:
    Tick() { add_targets(); }
    void add_targets() {
        loggers.clear();
        for (const char* name : {"a", "b", "c"})
            loggers.push_back(add_target(name));
    }
    std::size_t questions(std::size_t index) { return loggers[index]->plan->count("IsConnected"); }
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
    EXPECT_EQ(questions(0), 0u);
    for (const auto error : {TimerError::none, TimerError::failed}) {
        const auto before = questions(0);
        tick(error);
        EXPECT_GT(questions(0), before);
    }
    EXPECT_THAT(take_calls("host."), IsEmpty()); // all is well: nothing to tell
}

TEST_F(Tick, SeveralReconnectsCauseOneResetBehindTheImports) {
    start_without_ticks();
    lose_all();
    tick();
    const auto calls = take_calls("host.");
    EXPECT_THAT(calls,
                ElementsAre("host.get_config_value PRELOAD_TRANSLATIONS", "host.send_message TARGET_SYSTEM_CONNECTED a",
                            "host.send_message GETLOGGEDEVENTS_GETACTIVEALARMS a",
                            "host.get_config_value PRELOAD_TRANSLATIONS", "host.send_message TARGET_SYSTEM_CONNECTED b",
                            "host.send_message GETLOGGEDEVENTS_GETACTIVEALARMS b",
                            "host.get_config_value PRELOAD_TRANSLATIONS", "host.send_message TARGET_SYSTEM_CONNECTED c",
                            "host.send_message GETLOGGEDEVENTS_GETACTIVEALARMS c",
                            "host.send_message RESET_TEMPORARY_EVENTS", "host.reset_temporary_events"));
    EXPECT_STREQ(host.context_of("reset_temporary_events").domain(), "tick"); // the tick's own
    EXPECT_STREQ(host.context_of("send_message").domain(), "HMI");
    const auto resets = host.messages("RESET_TEMPORARY_EVENTS");
    ASSERT_EQ(resets.size(), 1u);
    Message reset = resets[0];
    EXPECT_EQ(reset.severity(), Severity{-1});
    EXPECT_STREQ(reset.domain(), "HMI");
    EXPECT_TRUE(reset.parameters().empty());
    EXPECT_LT(Timestamp::now().nanoseconds() - reset.time_raised().nanoseconds(), 60'000'000'000);
    tick();
    EXPECT_THAT(take_calls("host."), IsEmpty());
}

TEST_F(Tick, LiveCallbacksOfFreshConnectionsComeBehindTheReset) {
    start_without_ticks();
    lose_all();
    const auto alarm = loggers[0]->make_alarm();
    fakes::CallbackThread callbacks;
    // While the second target is still connecting, the first one, imported already, raises an alarm.
    host.plan().run(
        "send_message TARGET_SYSTEM_CONNECTED", [&] { callbacks.post([&] { loggers[0]->fire_raised(alarm); }); }, 2);
    std::size_t raised_before_reset = 99;
    std::size_t listed_in_reset = 99;
    loggers[2]->history.push_back(loggers[2]->make_logged_event());
    host.plan().run("reset_temporary_events", [&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        raised_before_reset = host.alarms();
        listed_in_reset = listed().size(); // as the server does, inside the call
    });
    tick();
    callbacks.drain();
    EXPECT_EQ(raised_before_reset, 0u);
    EXPECT_EQ(listed_in_reset, 1u);
    EXPECT_EQ(host.alarms(), 1u);
    EXPECT_EQ(listed().size(), 2u);
}

TEST_F(Tick, ATargetThatIsTakenAwayMeanwhileIsSkipped) {
    start_without_ticks();
    // The first target is taken away in its own turn: it lives until the tick is done with it.
    loggers[0]->plan->run(
        "IsConnected",
        [this] {
            EXPECT_EQ(remove("a"), HMI_SUCCESS);
            EXPECT_EQ(remove("b"), HMI_SUCCESS);
        },
        1);
    tick();
    EXPECT_EQ(questions(0), 2u);
    EXPECT_EQ(questions(1), 0u);
    EXPECT_EQ(questions(2), 2u);
    const auto calls = take_calls();
    EXPECT_THAT(calls, ElementsAre("host.send_message RESET_TEMPORARY_EVENTS", "host.reset_temporary_events",
                                   "b.FindConnectionPoint", "b.Unadvise", "b.Disconnect", "b.FindConnectionPoint",
                                   "b.Unadvise", "host.send_message RESET_TEMPORARY_EVENTS",
                                   "host.reset_temporary_events", "a.FindConnectionPoint", "a.Unadvise", "a.Disconnect",
                                   "a.FindConnectionPoint", "a.Unadvise"));
}

TEST_F(Tick, ATargetThatIsTakenAwayDuringATickRaisesNothingMore) {
    fakes::CallbackThread callbacks;
    // While another one is polled; and in its own turn, with an alarm that waits for the end of the tick.
    for (const bool own_turn : {false, true}) {
        start_without_ticks();
        if (own_turn) loggers[0]->connected = VARIANT_FALSE;
        loggers[own_turn ? 0 : 1]->plan->run(
            own_turn ? "ConnectWithSettings" : "IsConnected", [this] { EXPECT_EQ(remove("a"), HMI_SUCCESS); }, 1);
        const auto alarm = loggers[0]->make_alarm();
        loggers[own_turn ? 0 : 2]->plan->run(
            "IsConnected", [&] { callbacks.post([&] { loggers[0]->fire_raised(alarm); }); }, own_turn ? 3 : 2);
        tick();
        callbacks.drain();
        EXPECT_EQ(host.alarms(), 0u) << own_turn; // the server would never be told to forget it
        shut_down();
        add_targets();
    }
}

TEST_F(Tick, AnAlarmOnItsWayComesBeforeTheResetThatTakesItsTargetAway) {
    start_without_ticks();
    fakes::CallbackThread callbacks;
    const auto alarm = loggers[0]->make_alarm();
    const auto told = host.plan().block("notify_alarm");
    std::thread remover;
    // The tick still holds the first target while it polls the last one.
    loggers[2]->plan->run(
        "IsConnected",
        [&] {
            callbacks.post([&] { loggers[0]->fire_raised(alarm); });
            ASSERT_TRUE(told->wait_for_arrivals());
            remover = std::thread([this] { EXPECT_EQ(remove("a"), HMI_SUCCESS); });
            EXPECT_FALSE(call_log().wait_for("host.reset_temporary_events", 1, std::chrono::milliseconds(200)));
            told->open();
            remover.join();
            EXPECT_EQ(call_log().count("host.reset_temporary_events"), 1u);
        },
        1);
    tick();
    callbacks.drain();
}

TEST_F(Tick, AFailingStateQueryIsReportedOnceAndLeavesTheTick) {
    start_without_ticks();
    loggers[0]->connected = VARIANT_FALSE; // its change finds no reset either
    loggers[1]->plan->answer("IsConnected", E_FAIL, 1);
    EXPECT_THROW(tick(), ZoAtlCom::CAtlException);
    EXPECT_EQ(questions(2), 0u);
    EXPECT_THAT(take_calls("host.send_message"), ElementsAre("host.send_message TARGET_SYSTEM_CONNECTED a",
                                                             "host.send_message GETLOGGEDEVENTS_GETACTIVEALARMS a",
                                                             "host.send_message ZORVANE_EVENTLOGGER_ERROR b"));
    tick();
    EXPECT_GT(questions(2), 0u);
}

TEST_F(Tick, AFailingStateQueryEndsTheChainOfTimersAndNothingElse) {
    loggers[1]->plan->answer("IsConnected", E_FAIL);
    ASSERT_EQ(init(), HMI_SUCCESS);
    ASSERT_TRUE(call_log().wait_for("host.send_message ZORVANE_EVENTLOGGER_ERROR b"));
    std::this_thread::sleep_for(std::chrono::milliseconds(1200));
    EXPECT_EQ(questions(0), 2u);
    EXPECT_EQ(call_log().count("host.send_message ZORVANE_EVENTLOGGER_ERROR b"), 1u);
    // The pool still has its threads: a new chain runs.
    loggers[1]->plan->clear();
    tick();
    EXPECT_TRUE(call_log().wait_for("c.IsConnected", 6));
}

TEST_F(Tick, WhatElseATickThrowsIsReportedAndTheChainGoesOn) {
    loggers[1]->plan->answer("ConnectWithSettings", E_FAIL, 1); // so that the first tick has a change to tell
    host.plan().throw_error("reset_temporary_events", "server", 1);
    ASSERT_EQ(init(), HMI_SUCCESS);
    ASSERT_TRUE(call_log().wait_for("c.IsConnected", 4));
    EXPECT_TRUE(call_log().wait_for("host.reset_temporary_events", 2)); // the server still has to start over
    const auto errors = host.messages("ZORVANE_EVENTLOGGER_ERROR");
    ASSERT_EQ(errors.size(), 1u);
    Message error = errors[0];
    EXPECT_EQ(error.parameters()["0"], Value("")); // of no target
    EXPECT_EQ(error.parameters()["2"], Value("server"));
}

TEST_F(Tick, WantOfMemoryForTheNextTimerOnlyDelaysIt) {
    loggers[2]->plan->run(
        "IsConnected", [] { allocations::fail_after(0); }, 2); // the last question of the first tick
    ASSERT_EQ(init(), HMI_SUCCESS);
    EXPECT_TRUE(call_log().wait_for("c.IsConnected", 4));
    EXPECT_EQ(host.messages("ZORVANE_EVENTLOGGER_ERROR").size(), 1u);
}

TEST_F(Tick, LiveCallbacksDoNotWaitForATargetThatGoes) {
    start_without_ticks();
    loggers[2]->connected = VARIANT_FALSE;
    loggers[0]->plan->run(
        "IsConnected", [this] { EXPECT_EQ(remove("a"), HMI_SUCCESS); }, 1);
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

TEST_F(Tick, AServerThatRefusesACallLosesNoEventOfAReconnect) {
    // Errors are told by messages, so a message that is refused is not told of.
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

TEST_F(Tick, WhatAProxyThrowsBehindAnImportHoldsUpNoReset) {
    start_without_ticks();
    loggers[0]->connected = VARIANT_FALSE;
    loggers[0]->plan->throw_foreign("IsConnected", 3); // no result code, which would be the end of the ticks
    tick();
    EXPECT_EQ(call_log().count("host.reset_temporary_events"), 1u);
    EXPECT_GT(questions(2), 0u);
}

TEST_F(Tick, ComesHalfASecondAfterInitAndAfterEachTick) {
    using Clock = std::chrono::steady_clock;
    std::vector<Clock::time_point> begun;
    loggers[0]->plan->run("IsConnected", [&] { begun.push_back(Clock::now()); });
    loggers[2]->plan->run("IsConnected", [] { std::this_thread::sleep_for(std::chrono::milliseconds(150)); });
    const auto start = Clock::now();
    ASSERT_EQ(init(), HMI_SUCCESS);
    ASSERT_TRUE(call_log().wait_for("a.IsConnected", 5));
    EXPECT_EQ(extension->on_shutdown(Context()), 0);
    const auto ended = call_log().count("a.IsConnected");
    // Two questions each tick; the tick itself takes three tenths of a second, and the next waits for its end.
    EXPECT_GE(begun[0] - start, std::chrono::milliseconds(500));
    EXPECT_GE(begun[2] - begun[0], std::chrono::milliseconds(800));
    EXPECT_GE(begun[4] - begun[2], std::chrono::milliseconds(800));
    std::this_thread::sleep_for(std::chrono::milliseconds(700));
    EXPECT_EQ(call_log().count("a.IsConnected"), ended);
}

} // namespace
