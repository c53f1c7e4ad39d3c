#include "tests/targets/target_fixture.h"

#include "extension/host/event_payload.h"

namespace {

using namespace ZoHmiSrv;
using testing::IsEmpty;

class Import : public TargetTest {
protected:
    // Connects; the callbacks that `fire` sends come on their own thread while the logger's lists are being fetched.
    bool connect_while(const std::function<void()>& fire) {
        logger->plan->run(
            "GetActiveAlarms", [&] { std::thread(fire).join(); }, 1);
        log();
        const bool connected = connect();
        after_connected = lines = log();
        std::erase_if(after_connected, [](const std::string& line) { return !is_report(line); });
        EXPECT_EQ(after_connected.front(), R"(log_message TARGET_SYSTEM_CONNECTED "T")");
        after_connected.erase(after_connected.begin());
        return connected;
    }
    static std::string summary(const std::string& numbers) {
        return R"(log_message GETLOGGEDEVENTS_GETACTIVEALARMS "T" )" + numbers;
    }

    Lines lines;           // of the whole connect
    Lines after_connected; // the reports among them that follow the one of the connection
};

TEST_F(Import, TakesInLogAndActiveAlarms) {
    logger->history = {logged(is_alarm, 1), logged(is_message, 2), logged(2, 9), {}, logged(is_alarm, 5, 50)};
    logger->history[4]->update([](auto& fields) { fields.is_active = 1; });
    logger->active = {alarm(5, 50), alarm(4, 51)};
    make();
    EXPECT_TRUE(connect_while([] {}));
    EXPECT_EQ(after_connected, (Lines{summary("100.0 5 1 2")}));
    EXPECT_EQ(stored(), (Lines{"empty", "empty", "1@1s", "message@2s", "6@4s", "5@5s"}));
    EXPECT_EQ(*next_id, 7U); // each entry of the log took one, the skipped one did not
    EXPECT_EQ(target->counters(), (ZoHmiEventLogger::EventStore::Counters{1, 3, 0, 4, 2, 6, 1, 0}));
    logger->connected = VARIANT_FALSE;
    EXPECT_TRUE(connect());
    EXPECT_EQ(stored(), (Lines{"empty", "empty", "7@1s", "message@2s", "6@4s", "5@5s"})); // live alarms keep theirs
    EXPECT_EQ(*next_id, 11U);
}

TEST_F(Import, SkipsExtendedAlarmsOfTheLogThatAreStillActive) {
    struct Case {
        std::int32_t type;
        bool extended;
        VARIANT_BOOL active;
        bool skipped;
    };
    for (const Case& row : {Case{is_alarm, true, VARIANT_TRUE, true},
                            {is_alarm, true, 1, true},
                            {is_alarm, true, 0, false},
                            {is_alarm, false, VARIANT_TRUE, false},
                            {is_message, true, VARIANT_TRUE, false}}) {
        fresh_logger();
        logger->history = {
            logger->make_logged_event({.type = row.type, .is_active = row.active, .extended = row.extended})};
        make();
        EXPECT_TRUE(connect_while([] {}));
        EXPECT_EQ(after_connected, (Lines{summary(row.skipped ? "100.0 1 1 0" : "100.0 1 0 0")}));
        EXPECT_EQ(stored().size(), row.skipped ? 0U : 1U);
        release();
    }
}

TEST_F(Import, EvictsInSilence) {
    logger->history = {logged(is_alarm, 1), logged(is_message, 2), logged(is_message, 3)};
    logger->active = {alarm(9, 1), alarm(8, 2)};
    make(2);
    EXPECT_TRUE(connect_while([this] { logger->fire_message(message(4)); }));
    EXPECT_EQ(after_connected, (Lines{summary("2.0 2 0 2")}));
    EXPECT_EQ(logger->record().history_counts, std::vector{2U});
    EXPECT_EQ(stored(), (Lines{"4@8s", "3@9s"}));
    logger->fire_message(message(5));
    EXPECT_EQ(log(), (Lines{R"(log_message FORGET_EVENT "T" @5s)", "forget_event @5s", "on_message @5s"}));
}

TEST_F(Import, CountsFromOutside) {
    struct Case {
        std::int32_t logged, active;
        const char* report;
    };
    for (const Case& row : {Case{-5, -1, "-5 0 -1"}, Case{1, 0, "1 0 0"}, Case{0, 1, "0 0 1"},
                            Case{std::numeric_limits<std::int32_t>::max(), 0, nullptr},
                            Case{0, std::numeric_limits<std::int32_t>::max(), nullptr}}) {
        fresh_logger();
        logger->history = {logged(is_message, 1)};
        logger->active = {alarm(1, 1)};
        logger->reported_history_count = row.logged;
        logger->reported_active_count = row.active;
        make(0xFFFFFFFF);
        EXPECT_EQ(connect_while([] {}), row.report != nullptr);
        EXPECT_EQ(after_connected, (Lines{row.report ? summary("4294967295.0 ") + row.report
                                                     : "log_exception T 0x80070057"})); // no such item
        EXPECT_EQ(logger->record().history_counts, std::vector{0xFFFFFFFF});
        release();
    }
}

TEST_F(Import, ReplaysWhatTheListsDoNotShow) {
    struct Case {
        const char* about;
        std::function<void()> lists; // history and active alarms
        std::function<void()> fire;
        Lines traces, stored;
    };
    fakes::AlarmPtr a;
    const std::string raised = R"(log_message NEW_ALARM_RAISED "T" )";
    const Case cases[] = {
        {"a message", [] {}, [&] { logger->fire_message(message(3)); }, {}, {"message@3s"}},
        {"a message of the log, known by its text",
         [&] { logger->history = {logged(is_message, 3)}; },
         [&] { logger->fire_message(message(3, 7)); },
         {},
         {"message@3s"}},
        {"a message of the log, known by its id",
         [&] { logger->history = {logged(is_message, 4, 7)}; },
         [&] { logger->fire_message(message(3, 7)); },
         {},
         {"message@4s"}},
        {"another id tells messages of one text apart",
         [&] { logger->history = {logged(is_message, 3, 7)}; },
         [&] { logger->fire_message(message(3, 8)); },
         {},
         {"message@3s", "message@3s"}},
        {"a message is not a logged alarm",
         [&] { logger->history = {logged(is_alarm, 3, 7)}; },
         [&] { logger->fire_message(message(3, 7)); },
         {},
         {"1@3s", "message@3s"}},
        {"raised, confirmed and cleared",
         [] {},
         [&] {
             logger->fire_raised(a);
             a->update([](auto& fields) { fields.confirmed = fakes::file_time(6); });
             logger->fire_confirmed(a);
             a->update([](auto& fields) { fields.cleared = fakes::file_time(7); });
             logger->fire_cleared(a, VARIANT_TRUE);
         },
         {raised + "1 @5s", R"(log_message KNOWN_ALARM_CONFIRMED "T" false 1 @5s @6s)",
          R"(log_message KNOWN_ALARM_CLEARED "T" true 1 @5s @7s)"},
         {"1@5s"}},
        {"changes without a raise create it once",
         [] {},
         [&] {
             logger->fire_confirmed(a);
             logger->fire_cleared(a);
         },
         {raised + "1 @5s", R"(log_message KNOWN_ALARM_CONFIRMED "T" false 1 @5s @0)",
          R"(log_message KNOWN_ALARM_CLEARED "T" false 1 @5s @now)"},
         {"1@5s"}},
        {"raised twice",
         [] {},
         [&] {
             logger->fire_raised(a);
             logger->fire_raised(a);
         },
         {raised + "1 @5s", R"(log_message ACTIVE_ALARM_RAISED_AGAIN "T" 1 @5s)"},
         {"1@5s"}},
        {"an active alarm stays as it was listed",
         [&] { logger->active = {a}; },
         [&] {
             logger->fire_raised(a);
             logger->fire_confirmed(a);
             logger->fire_cleared(a, VARIANT_TRUE);
         },
         {},
         {"1@5s"}},
        {"an alarm of the log",
         [&] { logger->history = {logged(is_alarm, 4, 70)}; },
         [&] {
             logger->fire_raised(a);
             logger->fire_cleared(a, VARIANT_TRUE);
         },
         {},
         {"1@4s"}},
        {"what it was when it was recorded counts",
         [&] { logger->history = {logged(is_alarm, 5)}; },
         [&] {
             logger->fire_raised(a);
             a->update([](auto& fields) { fields.raised = fakes::file_time(8); });
         },
         {},
         {"1@5s"}},
        {"a skipped entry of the log is not known by it",
         [&] {
             logger->history = {logged(is_alarm, 5, 70)};
             logger->history[0]->update([](auto& fields) { fields.is_active = VARIANT_TRUE; });
         },
         [&] { logger->fire_raised(a); },
         {raised + "1 @5s"},
         {"1@5s"}},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.about);
        fresh_logger();
        *next_id = 1;
        a = alarm(5, 70);
        row.lists();
        make();
        EXPECT_TRUE(connect_while(row.fire));
        ASSERT_FALSE(after_connected.empty());
        EXPECT_TRUE(after_connected.back().starts_with(summary("100.0")));
        after_connected.pop_back();
        EXPECT_EQ(after_connected, row.traces); // and none of the events is handed on
        EXPECT_EQ(stored(), row.stored);
        expect_idle();
        a = nullptr;
        release();
    }
}

TEST_F(Import, DatabaseChangeEndsTheReplay) {
    const auto a = alarm(5, 70);
    make(1);
    EXPECT_FALSE(connect_while([&] {
        logger->fire_raised(a);
        logger->fire_database_changed(4); // not even recorded
        logger->fire_database_changed(2);
        logger->fire_cleared(a, VARIANT_TRUE);
        logger->fire_message(message(9));
        logger->fire_database_changed(1);
    }));
    EXPECT_EQ(after_connected, (Lines{R"(log_message NEW_ALARM_RAISED "T" 1 @5s)",
                                      R"(log_message DATABASE_CHANGED "T" "MaximumSizeReached")"}));
    EXPECT_EQ(logger->plan->count("Disconnect"), 1U);
    EXPECT_EQ(stored(), (Lines{"1@5s"}));
    EXPECT_EQ(a->references(), 2U); // the test and the store, no record
    expect_idle();
    logger->fire_message(message(3)); // live again, and evictions are told again
    EXPECT_EQ(log(), (Lines{R"(log_message FORGET_EVENT "T" @3s)", "forget_event @3s", "on_message @3s"}));
    EXPECT_TRUE(poll()); // the link was dropped, so the tick imports anew
}

TEST_F(Import, RecordsEvenDuringShutdownButAsksEachAtItsArrival) {
    make();
    *stopping = true;
    logger->plan->answer("Alarm.GetEventId", E_ACCESSDENIED, 1);
    EXPECT_TRUE(connect_while([this] {
        EXPECT_EQ(logger->fire_raised(alarm(5, 70)), E_ACCESSDENIED);
        EXPECT_EQ(logger->fire_message(message(6)), S_OK);
    }));
    EXPECT_EQ(stored(), (Lines{"message@6s"}));
}

TEST_F(Import, NullsFailIt) {
    struct Case {
        const char* about;
        std::function<void()> prepare;
    };
    for (const Case& row : {Case{"no log", [&] { logger->plan->answer("GetLoggedEvents", S_OK, 1); }},
                            Case{"no active alarms", [&] { logger->plan->answer("GetActiveAlarms", S_OK, 1); }},
                            Case{"a null alarm", [&] { logger->active = {{}}; }}}) {
        SCOPED_TRACE(row.about);
        fresh_logger();
        row.prepare();
        make();
        EXPECT_FALSE(connect_while([] {}));
        EXPECT_EQ(after_connected, (Lines{"log_exception T 0x80004003"}));
        release();
    }
}

// One alarm without an identity survives a reconnect, but cannot be told from another one.
TEST_F(Import, FailsWhileAnAlarmWithoutIdentityLives) {
    logger->active = {alarm(5)};
    make();
    EXPECT_TRUE(connect());
    for (int round = 0; round < 2; ++round) {
        logger->connected = VARIANT_FALSE;
        EXPECT_FALSE(connect_while([] {}));
        EXPECT_EQ(after_connected, (Lines{"log_unknown_exception T"}));
        expect_idle();
    }
    logger->active.clear();
    logger->connected = VARIANT_FALSE;
    EXPECT_TRUE(connect());
    EXPECT_THAT(stored(), IsEmpty());
}

TEST_F(Import, ClearingThatFailsIsAFailureOfTheImport) {
    logger->active = {alarm(5, 1)};
    make_connected();
    logger->connected = VARIANT_FALSE;
    logger->plan->answer("Alarm.GetUniqueId", E_ACCESSDENIED, 1);
    EXPECT_FALSE(connect());
    EXPECT_EQ(logger->plan->count("GetLoggedEvents"), 1U); // of the first connect: it failed before
    EXPECT_EQ(stored(), (Lines{"1@5s"}));                  // nothing was emptied
    expect_idle();
}

} // namespace
