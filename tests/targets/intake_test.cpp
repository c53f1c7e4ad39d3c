#include "tests/targets/target_fixture.h"

#include "extension/host/event_payload.h"

namespace {

using namespace ZoHmiSrv;
using testing::IsEmpty;

class Intake : public TargetTest {
protected:
    // A live alarm 1, raised at 5 s, with the logger's id 70.
    fakes::AlarmPtr raise_first(std::uint32_t limit = 100) {
        make_connected(limit);
        const auto first = alarm(5, 70);
        EXPECT_EQ(logger->fire_raised(first), S_OK);
        log();
        return first;
    }
};

TEST_F(Intake, MessageIsStoredAndReported) {
    make_connected();
    EXPECT_EQ(logger->fire_message(message(5)), S_OK);
    EXPECT_EQ(log(), (Lines{"on_message @5s"})); // no trace of it
    EXPECT_EQ(stored(), (Lines{"message@5s"}));
    EXPECT_EQ(*next_id, 1U); // takes no id
    EXPECT_TRUE(listener.messages.at(0) == std::as_const(listed()[0]).payload().get_message());
}

TEST_F(Intake, AlarmIsRaisedAndRaisedAgain) {
    const auto first = raise_first();
    EXPECT_EQ(stored(), (Lines{"1@5s"}));
    logger->fire_raised(alarm(6));
    EXPECT_EQ(log(), (Lines{R"(log_message NEW_ALARM_RAISED "T" 2 @6s)", "on_alarm_raised 2 @6s"}));
    first->update([](auto& fields) {
        fields.raised = fakes::file_time(9);
        fields.severity = 4;
    });
    logger->fire_raised(first);
    EXPECT_EQ(log(), (Lines{R"(log_message ACTIVE_ALARM_RAISED_AGAIN "T" 1 @9s)", "on_alarm_raised 1 @9s"}));
    EXPECT_EQ(stored(), (Lines{"2@6s", "1@9s"}));
    EXPECT_EQ(static_cast<int>(stored_alarm(1).severity()), 4);
    EXPECT_TRUE(listener.alarms.back() == stored_alarm(1));
    EXPECT_EQ(*next_id, 4U); // one id was wasted
    EXPECT_EQ(target->counters().active_alarms, 2U);
    EXPECT_EQ(target->counters().imported_events, 2U);
}

TEST_F(Intake, TimeMovedMeanwhileReportsStoredAlarm) {
    const auto first = raise_first();
    first->update([](auto& fields) { fields.raised = fakes::file_time(9); });
    // Two reads convert it, one makes the key of the stored pointer, the fourth is to find it again.
    logger->plan->run("Alarm.GetTimeRaised", 4,
                      [&] { first->update([](auto& f) { f.raised = fakes::file_time(10); }); });
    logger->fire_raised(first);
    EXPECT_EQ(log(), (Lines{R"(log_message ACTIVE_ALARM_RAISED_AGAIN "T" 1 @9s)", "on_alarm_raised 1 @9s"}));
    EXPECT_EQ(stored(), (Lines{"1@9s"}));
}

TEST_F(Intake, ClearedAndConfirmedAlarmsAreUpdated) {
    const struct {
        bool clear; // else confirm
        VARIANT_BOOL flag;
        std::int64_t time;
        bool removed;
        const char* traced_time;
    } cases[] = {
        {true, VARIANT_TRUE, fakes::file_time(8), true, "@8s"},
        {true, VARIANT_FALSE, fakes::file_time(8), false, "@8s"},
        {true, 1, fakes::file_time(8), false, "@8s"}, // only -1 is true
        {true, VARIANT_FALSE, 0, false, "@now"},      // now in place of a missing time,
        {false, VARIANT_FALSE, 0, false, "@0"},       // here not
        {false, VARIANT_TRUE, fakes::file_time(8), true, "@8s"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(&row - cases);
        fresh_logger();
        *next_id = 1;
        const auto first = raise_first();
        first->update([&](auto& fields) {
            (row.clear ? fields.cleared : fields.confirmed) = row.time;
            fields.confirmation_state = 5; // none of those that are known
            fields.severity = 4;           // what else changed is not taken over
        });
        EXPECT_EQ(row.clear ? logger->fire_cleared(first, row.flag) : logger->fire_confirmed(first, row.flag), S_OK);
        EXPECT_EQ(log(), (Lines{std::string("log_message KNOWN_ALARM_") + (row.clear ? "CLEARED" : "CONFIRMED") +
                                    (row.removed ? " \"T\" true 1 @5s " : " \"T\" false 1 @5s ") + row.traced_time,
                                row.removed ? "on_alarm_changed 1 removed" : "on_alarm_changed 1 kept"}));
        const Alarm alarm = stored_alarm(1);
        EXPECT_TRUE(listener.alarms.back() == alarm);
        EXPECT_EQ(fakes::describe(Value(row.clear ? alarm.time_cleared() : alarm.time_confirmed())), row.traced_time);
        EXPECT_EQ((row.clear ? alarm.time_confirmed() : alarm.time_cleared()), Timestamp());
        EXPECT_EQ(static_cast<int>(alarm.confirmation_state()), 0);
        EXPECT_EQ(static_cast<int>(alarm.severity()), 0);
        EXPECT_EQ(target->counters().active_alarms, row.removed ? 0U : 1U);
        EXPECT_EQ(target->counters().not_live, row.removed ? 1U : 0U);
        release();
    }
}

TEST_F(Intake, UnknownAlarmsAreOnlyTraced) {
    const auto first = raise_first();
    const auto other = logger->make_alarm({.raised = fakes::file_time(5), .cleared = fakes::file_time(7)});
    logger->fire_cleared(first, VARIANT_TRUE);
    log();
    logger->fire_cleared(first, VARIANT_TRUE); // it is history by now
    EXPECT_EQ(log(), (Lines{R"(log_message UNKNOWN_ALARM_CLEARED "T" true @5s @0)"}));
    EXPECT_EQ(logger->fire_confirmed(other, 1), S_OK);
    EXPECT_EQ(logger->fire_cleared(other, VARIANT_TRUE), S_OK);
    EXPECT_EQ(log(), (Lines{R"(log_message UNKNOWN_ALARM_CONFIRMED "T" false @5s @0)",
                            R"(log_message UNKNOWN_ALARM_CLEARED "T" true @5s @7s)"}));
    EXPECT_EQ(stored(), (Lines{"1@5s"}));
    const auto moved = alarm(20, 71);
    logger->fire_raised(moved);
    moved->update([](auto& fields) { fields.raised = fakes::file_time(21); });
    log();
    logger->fire_confirmed(moved);
    EXPECT_EQ(log(), (Lines{R"(log_message UNKNOWN_ALARM_CONFIRMED "T" false @21s @0)"}));
}

TEST_F(Intake, EvictedEventsAreForgottenFirst) {
    const auto first = raise_first(1);
    const auto expect_forgotten = [](const std::string& time, Lines rest) {
        Lines lines{"log_message FORGET_EVENT \"T\" " + time, "forget_event " + time};
        lines.insert(lines.end(), rest.begin(), rest.end());
        EXPECT_EQ(log(), lines);
    };
    logger->fire_message(message(3)); // older than the alarm, which takes the one place
    expect_forgotten("@3s", {"on_message @3s"});
    logger->fire_message(message(6));
    EXPECT_EQ(log(), (Lines{"on_message @6s"}));
    logger->fire_raised(alarm(7, 71));
    expect_forgotten("@6s", {R"(log_message NEW_ALARM_RAISED "T" 2 @7s)", "on_alarm_raised 2 @7s"});
    EXPECT_TRUE(listener.forgotten.back().payload().type() == ValueType::Message);
    logger->fire_cleared(first, VARIANT_TRUE); // evicts itself, and is still reported as changed
    expect_forgotten("@5s", {R"(log_message KNOWN_ALARM_CLEARED "T" true 1 @5s @now)", "on_alarm_changed 1 removed"});
    EXPECT_EQ(listener.forgotten.back().payload().get_alarm().id(), 1);
    EXPECT_EQ(stored(), (Lines{"2@7s"}));
}

TEST_F(Intake, FailedHandlerReportsEvictions) {
    const auto first = raise_first(2);
    logger->fire_message(message(6));
    logger->fire_message(message(7));
    log();
    first->update([](auto& fields) { fields.raised = fakes::file_time(9); });
    logger->plan->answer("Alarm.GetTimeRaised", E_ACCESSDENIED, 4); // to find it again
    EXPECT_EQ(logger->fire_raised(first), E_ACCESSDENIED);
    EXPECT_EQ(log(), (Lines{R"(log_message FORGET_EVENT "T" @6s)", "forget_event @6s"}));
    EXPECT_EQ(stored(), (Lines{"message@7s", "1@9s"}));
    // A listener that fails at the trace still gets the event.
    listener.plan().throw_error("log_message FORGET_EVENT", "host", 1);
    EXPECT_EQ(logger->fire_message(message(8)), E_FAIL);
    EXPECT_EQ(log(), (Lines{R"(log_message FORGET_EVENT "T" @7s)", "forget_event @7s"}));
}

TEST_F(Intake, UnreadableAlarmRaisedAgainStays) {
    const auto first = raise_first();
    HRESULT code = E_FAIL;
    for (unsigned nth = 1; failed(code); ++nth) {
        logger->plan->answer_any(E_FAIL, nth);
        code = logger->fire_raised(first);
        EXPECT_EQ(stored(), (Lines{"1@5s"})) << logger->plan->answered();
        logger->plan->clear();
        if (HasFailure()) return;
    }
    EXPECT_EQ(logger->fire_cleared(first), S_OK);
    EXPECT_EQ(reports().back(), "on_alarm_changed 1 kept");
}

TEST_F(Intake, DatabaseChangeDisconnects) {
    raise_first();
    for (const auto& [reason, text] :
         {std::pair{0, "Undefined"}, {1, "ClearLoggedEvents"}, {2, "MaximumSizeReached"}, {3, "Deleted"}}) {
        EXPECT_EQ(logger->fire_database_changed(reason), S_OK);
        EXPECT_EQ(log(), (Lines{"Disconnect", std::string(R"(log_message DATABASE_CHANGED "T" ")") + text + "\""}));
    }
    for (const int reason : {4, -1})
        EXPECT_EQ(logger->fire_database_changed(reason), S_OK);
    EXPECT_THAT(log(), IsEmpty());
    logger->plan->answer("Disconnect", E_FAIL, 1);
    logger->plan->throw_foreign("Disconnect", 2);
    logger->fire_database_changed(1);
    logger->fire_database_changed(1);
    const std::string trace = R"(log_message DATABASE_CHANGED "T" "ClearLoggedEvents")";
    EXPECT_EQ(reports(), (Lines{"log_exception T 0x80004005", trace, "log_unknown_exception T", trace}));
    EXPECT_EQ(stored(), (Lines{"1@5s"})); // the import that follows rebuilds the store
}

TEST_F(Intake, CallbacksAreDroppedDuringShutdown) {
    const auto first = raise_first();
    *stopping = true;
    for (const HRESULT code :
         {logger->fire_message(message(6)), logger->fire_raised(alarm(7)), logger->fire_cleared(first, VARIANT_TRUE),
          logger->fire_confirmed(first), logger->fire_database_changed(1)})
        EXPECT_EQ(code, S_OK);
    EXPECT_THAT(log(), IsEmpty());
    EXPECT_EQ(stored(), (Lines{"1@5s"}));
    EXPECT_EQ(target->counters().active_alarms, 1U);
}

TEST_F(Intake, FailuresAreTheCallbacksResult) {
    const auto first = raise_first();
    logger->plan->answer("Alarm.GetTimeConfirmed", E_FAIL);
    EXPECT_EQ(logger->fire_confirmed(alarm(6)), E_FAIL); // unknown, but its time is to be traced
    EXPECT_THAT(log(), IsEmpty());
    logger->plan->clear();
    listener.plan().throw_error("on_alarm_changed", "host", 1);
    listener.plan().run("on_alarm_changed", 2, [] { throw std::bad_alloc(); });
    EXPECT_EQ(logger->fire_confirmed(first), E_FAIL);
    EXPECT_EQ(logger->fire_confirmed(first), E_OUTOFMEMORY);
    EXPECT_EQ(logger->fire_confirmed(first), S_OK);
    EXPECT_EQ(stored(), (Lines{"1@5s"}));
    expect_idle();
}

TEST_F(Intake, HandlersLockCallbacksToTheEnd) {
    make_connected();
    int seen = 0;
    const auto look = [&](fakes::CallPlan& plan, const char* call, bool events_free) {
        plan.run(call, [&, events_free] {
            ++seen;
            EXPECT_EQ(Access::is_free_now(Access::event_mutex(*target)), events_free);
            EXPECT_FALSE(Access::is_free_now(Access::callback_mutex(*target)));
        });
    };
    look(*logger->plan, "Message.GetSeverity", true); // converted before the events are locked
    look(*logger->plan, "Alarm.GetSeverity", false);
    look(*logger->plan, "Alarm.GetConfirmationState", false);
    for (const char* call : {"on_message", "on_alarm_raised", "on_alarm_changed", "log_message DATABASE_CHANGED"})
        look(listener.plan(), call, true);
    const auto first = alarm(5, 70);
    logger->fire_message(message(5));
    logger->fire_raised(first);
    logger->fire_cleared(first);
    logger->fire_database_changed(1);
    EXPECT_EQ(seen, 8);
}

TEST_F(Intake, ConfirmReturnsTheLoggersAnswer) {
    const auto first = raise_first();
    logger->plan->run("Alarm.Confirm", [&] {
        EXPECT_TRUE(Access::event_mutex(*target).try_lock());
        Access::event_mutex(*target).unlock();
        EXPECT_GE(first->references(), 3U); // the test, the store and the caller
    });
    logger->plan->answer("Alarm.Confirm", 5, 2);
    logger->plan->answer("Alarm.Confirm", E_ACCESSDENIED, 3);
    logger->plan->throw_error("Alarm.Confirm", "odd", 4);
    const Lines asked{R"(log_message CALL_CONFIRM "T" 1)", "Alarm.Confirm"};
    const auto expect = [&](HRESULT code, const char* report) {
        EXPECT_EQ(target->confirm_alarm(with_id(1)), code);
        Lines lines = asked;
        if (*report) lines.emplace_back(report);
        EXPECT_EQ(log(), lines);
    };
    expect(S_OK, "");
    expect(5, ""); // what the logger answers
    expect(E_FAIL, "log_exception T 0x80070005");
    expect(E_FAIL, "log_unknown_exception T");
    EXPECT_EQ(target->confirm_alarm(with_id(2)), E_FAIL);
    logger->fire_cleared(first, VARIANT_TRUE);
    log();
    EXPECT_EQ(target->confirm_alarm(with_id(1)), E_FAIL); // history
    EXPECT_THAT(log(), IsEmpty());
}

} // namespace
