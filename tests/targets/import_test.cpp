#include "tests/targets/target_fixture.h"

#include "extension/host/event_payload.h"

#include <cstdlib>

namespace {

using namespace ZoHmiSrv;
using testing::IsEmpty;

class Import : public TargetTest {
protected:
    // Connects; the callbacks that `fire` sends come on their own thread while the logger's lists are being fetched.
    bool connect_while(const std::function<void()>& fire) {
        logger->plan->run("GetActiveAlarms", 1, [&] { std::thread(fire).join(); });
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

TEST_F(Import, StoresLogAndActiveAlarms) {
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

TEST_F(Import, ActiveExtendedAlarmsOfTheLogAreSkipped) {
    for (const fakes::EventFields& fields : {fakes::EventFields{.type = is_alarm, .is_active = VARIANT_TRUE},
                                             {.type = is_alarm, .is_active = 1},
                                             {.type = is_alarm, .is_active = VARIANT_FALSE},
                                             {.type = is_alarm, .is_active = VARIANT_TRUE, .extended = false},
                                             {.type = is_message, .is_active = VARIANT_TRUE}})
        logger->history.push_back(logger->make_logged_event(fields));
    make();
    EXPECT_TRUE(connect_while([] {}));
    EXPECT_EQ(after_connected, (Lines{summary("100.0 5 2 0")}));
    EXPECT_EQ(stored(), (Lines{"1@1s", "2@1s", "message@1s"}));
}

TEST_F(Import, EvictionsAreNotReported) {
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

TEST_F(Import, WrongCountsOfTheLoggerDoNoHarm) {
    constexpr std::int32_t max = std::numeric_limits<std::int32_t>::max();
    const struct {
        std::int32_t logged, active;
        const char* report; // null: no such item
    } cases[] = {{-5, -1, "-5 0 -1"}, {1, 0, "1 0 0"}, {0, 1, "0 0 1"}, {max, 0, nullptr}, {0, max, nullptr}};
    for (const auto& row : cases) {
        fresh_logger();
        logger->history = {logged(is_message, 1)};
        logger->active = {alarm(1, 1)};
        logger->reported_history_count = row.logged;
        logger->reported_active_count = row.active;
        make(0xFFFFFFFF);
        EXPECT_EQ(connect_while([] {}), row.report != nullptr);
        EXPECT_EQ(after_connected,
                  (Lines{row.report ? summary("4294967295.0 ") + row.report : "log_exception T 0x80070057"}));
        EXPECT_EQ(logger->record().history_counts, std::vector{0xFFFFFFFF});
        release();
    }
}

// Events are written "m3#7": a message (a an alarm) of 3 s with the logger's id 7.
TEST_F(Import, RecordsNotInTheListsAreReplayed) {
    const std::string raised = R"(log_message NEW_ALARM_RAISED "T" 1 @5s)";
    const auto changed = [](const char* rest) { return "log_message KNOWN_ALARM_" + std::string(rest); };
    const struct {
        const char* about;
        const char* lists; // an entry of the log (active with !), or the active alarm X of 5 s with the id 70
        Lines calls;       // a message, or calls with X
        Lines traces, stored;
    } cases[] = {
        {"message", "", {"m3"}, {}, {"message@3s"}},
        {"message known by its text", "m3", {"m3#7"}, {}, {"message@3s"}},
        {"message known by its id", "m4#7", {"m3#7"}, {}, {"message@4s"}},
        {"other id, same text", "m3#7", {"m3#8"}, {}, {"message@3s", "message@3s"}},
        {"message and alarm", "a3#7", {"m3#7"}, {}, {"1@3s", "message@3s"}},
        {"raised, confirmed, cleared",
         "",
         {"raise", "confirm 6", "remove 7"},
         {raised, changed("CONFIRMED \"T\" false 1 @5s @6s"), changed("CLEARED \"T\" true 1 @5s @7s")},
         {"1@5s"}},
        {"changes without a raise create it once",
         "",
         {"confirm", "clear"},
         {raised, changed("CONFIRMED \"T\" false 1 @5s @0"), changed("CLEARED \"T\" false 1 @5s @now")},
         {"1@5s"}},
        {"raised twice",
         "",
         {"raise", "raise"},
         {raised, R"(log_message ACTIVE_ALARM_RAISED_AGAIN "T" 1 @5s)"},
         {"1@5s"}},
        {"active alarm stays as listed", "X", {"raise", "confirm", "remove"}, {}, {"1@5s"}},
        {"alarm of the log", "a4#70", {"raise", "remove"}, {}, {"1@4s"}},
        {"key as recorded", "a5", {"raise", "move"}, {}, {"1@5s"}},
        {"skipped entry of the log does not count", "a5#70!", {"raise"}, {raised}, {"1@5s"}},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.about);
        fresh_logger();
        *next_id = 1;
        auto x = alarm(5, 70);
        const auto seconds = [](const std::string& text) { return std::atoi(text.c_str() + 1); };
        const auto id = [](const std::string& text) -> std::optional<std::uint32_t> {
            const auto mark = text.find('#');
            if (mark == std::string::npos) return {};
            return static_cast<std::uint32_t>(std::atoi(text.c_str() + mark + 1));
        };
        const std::string lists = row.lists;
        if (lists == "X") {
            logger->active = {x};
        } else if (!lists.empty()) {
            logger->history = {logged(lists[0] == 'm' ? is_message : is_alarm, seconds(lists), id(lists))};
            if (lists.back() == '!') logger->history[0]->update([](auto& f) { f.is_active = VARIANT_TRUE; });
        }
        const auto call = [&](const std::string& text) {
            const auto space = text.find(' ');
            const std::int64_t time = space == std::string::npos ? 0 : fakes::file_time(seconds(text.substr(space)));
            const std::string verb = text.substr(0, space);
            if (verb == "raise") return logger->fire_raised(x);
            if (verb == "move") return x->update([](auto& f) { f.raised = fakes::file_time(8); }), S_OK;
            x->update([&](auto& f) { (verb == "confirm" ? f.confirmed : f.cleared) = time; });
            if (verb == "confirm") return logger->fire_confirmed(x);
            if (verb == "clear" || verb == "remove") return logger->fire_cleared(x, verb == "clear" ? 0 : VARIANT_TRUE);
            return logger->fire_message(message(seconds(text), id(text)));
        };
        make();
        EXPECT_TRUE(connect_while([&] { std::ranges::for_each(row.calls, call); }));
        ASSERT_FALSE(after_connected.empty());
        EXPECT_TRUE(after_connected.back().starts_with(summary("100.0")));
        after_connected.pop_back();
        EXPECT_EQ(after_connected, row.traces); // and no event is handed on
        EXPECT_EQ(stored(), row.stored);
        expect_idle();
        x = nullptr;
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
    logger->fire_message(message(3)); // live again, and evictions are reported again
    EXPECT_EQ(log(), (Lines{R"(log_message FORGET_EVENT "T" @3s)", "forget_event @3s", "on_message @3s"}));
    EXPECT_TRUE(poll()); // the link was dropped, so the tick imports
}

TEST_F(Import, RecordsDuringShutdown) {
    make();
    *stopping = true;
    logger->plan->answer("Alarm.GetEventId", E_ACCESSDENIED, 1);
    EXPECT_TRUE(connect_while([this] {
        EXPECT_EQ(logger->fire_raised(alarm(5, 70)), E_ACCESSDENIED);
        EXPECT_EQ(logger->fire_message(message(6)), S_OK);
    }));
    EXPECT_EQ(stored(), (Lines{"message@6s"}));
}

// One alarm without an identity survives a reconnect, but not a second key without one.
TEST_F(Import, FailsWithAnAlarmWithoutIdentity) {
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

TEST_F(Import, FailsWhenClearingFails) {
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
