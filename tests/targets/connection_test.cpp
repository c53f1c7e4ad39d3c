#include "tests/targets/target_fixture.h"

#include "binding/error.h"
#include "binding/event_sink.h"
#include "extension/host/event_payload.h"

namespace {

using namespace ZoHmiSrv;
using testing::ElementsAre;
using testing::IsEmpty;
using ZoHmiEventLogger::ConnectionStatus;

constexpr HRESULT not_supported = hresult(0x98110701);

const Lines import_lines{"GetLoggedEvents", "GetActiveAlarms",
                         R"(log_message GETLOGGEDEVENTS_GETACTIVEALARMS "T" 100.0 0 0 0)"};

const Lines settings_lines{"CreateInstance.ConnectionSettings", "SetPreloadTranslations"};

Lines operator+(Lines first, const Lines& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

std::string describe(const ConnectionStatus& status) {
    return std::string(status.connected ? "connected" : "not connected") +
           (status.has_error ? " " + std::to_string(status.error) : "");
}

class Construction : public TargetTest {};

TEST_F(Construction, MissingProxyIsReported) {
    for (const auto& [code, text] : {std::pair{E_FAIL, "0x80004005"}, {S_OK, "0x00000000"}}) {
        const auto answer = code;
        library().plan->answer("CreateInstance.Logger", answer, 1);
        make();
        EXPECT_EQ(log(), (Lines{"CreateInstance.Logger",
                                std::string("log_message CAN_NOT_CREATE_PROXY severity=3 \"T\" \"") + text + "\""}));
        EXPECT_FALSE(target->proxy_created());
        EXPECT_FALSE(connect());
        EXPECT_FALSE(poll());
        EXPECT_TRUE(target->disabled()); // it can never leave that
        EXPECT_EQ(describe(target->connection_status()), "not connected 0");
        EXPECT_EQ(log(), Lines{});
        EXPECT_EQ(target->force_disconnect(), E_FAIL);
        EXPECT_EQ(target->clear_logged_events(), E_FAIL);
        target->disconnect();
        release();
        EXPECT_EQ(log(), (Lines{"log_exception T 0x80004003", "log_exception T 0x80004003"}));
    }
}

TEST_F(Construction, TimeoutIsSetInMilliseconds) {
    constexpr std::uint32_t max = 4294967295;
    for (const auto& [nanoseconds, milliseconds] : {std::pair{1'999'999L, 1U},
                                                    {999'999, 0},
                                                    {-5'000'000, 0},
                                                    {max * 1'000'000L, max},
                                                    {(max + 1L) * 1'000'000, max},
                                                    {std::numeric_limits<long>::max(), max}}) {
        fresh_logger();
        make(1, Timespan(nanoseconds));
        EXPECT_EQ(logger->record().timeouts, std::vector{milliseconds}) << nanoseconds;
        release();
    }
}

TEST_F(Construction, FailedTimeoutUnsubscribes) {
    for (const bool has_interface : {true, false}) {
        fresh_logger();
        logger->has_timeout = has_interface;
        logger->plan->answer("SetTimeout", E_ACCESSDENIED);
        EXPECT_THROW(make(), ZoAtlCom::CAtlException);
        EXPECT_EQ(logger->sink(), nullptr);
        EXPECT_EQ(logger->record().unadvised, logger->record().advised);
        EXPECT_THAT(reports(), IsEmpty());
    }
}

class Connection : public TargetTest {
protected:
    std::string status() { return describe(target->connection_status()); }
};

TEST_F(Connection, FailedConnectIsReported) {
    const char* const call = "ConnectWithSettings";
    const struct {
        std::vector<std::pair<const char*, HRESULT>> answers;
        Lines calls;        // behind the creation of the settings
        const char* report; // a code where the connect failed
        int error;
    } cases[] = {
        // An exception, even with the code that elsewhere means an older logger.
        {{{"SetPreloadTranslations", not_supported}}, {}, "log_exception T 0x98110701", 0},
        {{{call, E_FAIL}}, {call}, "0x80004005", E_FAIL},
        {{{call, not_supported}, {"Connect", not_supported}}, {call, "Connect"}, "0x98110701", not_supported}, // once
        {{{"throws", 0}}, {call}, "log_exception T odd", 0},
        {{{"throws foreign", 0}}, {call}, "log_unknown_exception T", 0},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.report);
        fresh_logger();
        make();
        log();
        for (const auto& [name, code] : row.answers) {
            library().plan->answer(name, code);
            logger->plan->answer(name, code);
            if (name == std::string("throws")) logger->plan->throw_error(call, "odd");
            if (name == std::string("throws foreign")) logger->plan->throw_foreign(call);
        }
        EXPECT_FALSE(connect());
        const std::string report =
            row.report[0] == '0' ? R"(log_message TARGET_SYSTEM_CONNECT_FAILED "T" ")" + std::string(row.report) + "\""
                                 : row.report;
        EXPECT_EQ(log(), Lines{"preload_translations"} + settings_lines + row.calls + Lines{report});
        EXPECT_FALSE(target->disabled());
        EXPECT_EQ(status(), "not connected " + std::to_string(row.error));
        logger->plan->clear();
        library().plan->clear();
        EXPECT_TRUE(poll()); // the next tick tries again
        EXPECT_EQ(status(), "connected 0");
        release();
        log();
    }
}

TEST_F(Connection, OlderLoggerConnectsPlainly) {
    make();
    log();
    refuse(not_supported);
    EXPECT_TRUE(connect());
    EXPECT_EQ(log(),
              (Lines{"preload_translations"} + settings_lines +
               Lines{"ConnectWithSettings", "Connect", R"(log_message TARGET_SYSTEM_CONNECTED "T")"} + import_lines));
    EXPECT_EQ(logger->record().addresses, (std::vector<std::string>{"5.1.2.3.1.1", "5.1.2.3.1.1"}));
    LockHolder holder;
    EXPECT_TRUE(target->connect(holder)); // again: nothing to do
    EXPECT_FALSE(holder);
    EXPECT_EQ(log(), (Lines{"IsConnected"}));
}

TEST_F(Connection, StaysDisabledWhenServerThrows) {
    make();
    log();
    listener.plan().throw_error("preload_translations", "host", 1);
    EXPECT_THROW(connect(), std::runtime_error);
    EXPECT_TRUE(target->disabled());
    logger->connected = VARIANT_TRUE;
    EXPECT_FALSE(poll());
    target->disconnect();
    EXPECT_EQ(status(), "not connected 0");
    EXPECT_EQ(log(), (Lines{"preload_translations"})); // and no query of the connection
    lose_link();
    EXPECT_TRUE(Access::is_free(Access::connection_mutex(*target)));
    EXPECT_TRUE(connect());
}

TEST_F(Connection, MinusOneAloneMeansConnected) {
    make_connected();
    for (const VARIANT_BOOL flag : std::initializer_list<VARIANT_BOOL>{1, 0, 255}) {
        logger->connected = flag;
        EXPECT_FALSE(target->connection_status().connected) << flag;
    }
}

TEST_F(Connection, LossIsReportedOnceFailureEachTick) {
    connect_with_alarm();
    EXPECT_FALSE(poll());
    EXPECT_EQ(log(), (Lines{"IsConnected", "IsConnected"}));

    lose_link();
    refuse(hresult(0x98110745));
    LockHolder holder;
    EXPECT_TRUE(target->poll(holder));
    EXPECT_TRUE(holder); // callbacks wait for the reset
    holder.reset();
    EXPECT_THAT(stored(), IsEmpty());
    const Lines attempt =
        Lines{"IsConnected", "IsConnected", "preload_translations"} + settings_lines +
        Lines{"ConnectWithSettings", R"(log_message TARGET_SYSTEM_CONNECT_FAILED "T" "0x98110745")", "IsConnected"};
    EXPECT_EQ(log(), attempt);
    for (int tick = 0; tick < 3; ++tick) {
        EXPECT_FALSE(poll());
        EXPECT_EQ(log(), attempt);
        EXPECT_EQ(status(), "not connected -1743714491");
        log();
    }
    logger->plan->clear();
    EXPECT_TRUE(target->poll(holder));
    EXPECT_TRUE(holder);
    EXPECT_EQ(stored(), (Lines{"1@1s"})); // with the id from before
    EXPECT_EQ(Access::saved_alarm_ids(*target).size(), 0U);
    EXPECT_EQ(status(), "connected 0");
    EXPECT_FALSE(poll());
}

// The status is remembered from the end of the first tick on.
TEST_F(Connection, LossBeforeFirstTickIsNoChange) {
    logger->active = {alarm(1, 1)};
    make();
    ASSERT_TRUE(connect());
    lose_link();
    refuse();
    EXPECT_FALSE(poll());
    EXPECT_EQ(stored(), (Lines{"1@1s"})); // until the next import
}

TEST_F(Connection, FailedImportIsNotRepeated) {
    make();
    logger->plan->answer("GetLoggedEvents", E_FAIL);
    EXPECT_FALSE(connect());
    EXPECT_EQ(status(), "connected 0");
    EXPECT_FALSE(poll());
    EXPECT_EQ(logger->plan->count("GetLoggedEvents"), 1U);
    lose_link();
    EXPECT_EQ(status(), "not connected 0"); // remembers nothing
    EXPECT_TRUE(poll());                    // reported, since it was connected
    EXPECT_EQ(logger->plan->count("GetLoggedEvents"), 2U);
    EXPECT_FALSE(poll());
}

TEST_F(Connection, OperatorsOrdersReturnTheirCodes) {
    connect_with_alarm();
    for (const auto& [call, operation] : {std::pair{"Disconnect", &TargetSystem::force_disconnect},
                                          {"ClearLoggedEvents", &TargetSystem::clear_logged_events}}) {
        logger->plan->answer(call, E_ACCESSDENIED, 1);
        logger->plan->throw_error(call, "odd", 2);
        logger->plan->throw_foreign(call, 3);
        logger->plan->answer(call, 5, 4);
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ((target.get()->*operation)(), E_FAIL);
        EXPECT_EQ((target.get()->*operation)(), 5);
        EXPECT_EQ((target.get()->*operation)(), S_OK);
        EXPECT_EQ(reports(),
                  (Lines{"log_exception T 0x80070005", "log_unknown_exception T", "log_unknown_exception T"}));
    }
    EXPECT_EQ(stored(), (Lines{"1@1s"})); // unchanged by both
}

TEST_F(Connection, DisconnectEndsTheSubscription) {
    connect_with_alarm();
    const auto cookie = Access::event_cookie(*target);
    logger->plan->answer("Disconnect", E_ACCESSDENIED, 1); // reported only
    target->disconnect();
    EXPECT_EQ(log(), (Lines{"FindConnectionPoint", "Unadvise", "Disconnect", "log_exception T 0x80070005"}));
    EXPECT_EQ(logger->record().unadvised, std::vector{cookie});
    EXPECT_EQ(Access::event_cookie(*target), ZoAtlCom::not_advised);
    EXPECT_THAT(stored(), IsEmpty());
    lose_link();
    EXPECT_TRUE(poll());
    EXPECT_EQ(logger->sink(), nullptr); // nothing subscribes again
}

// A failure to collect the ids of live alarms is reported; the store is emptied in any case.
TEST_F(Connection, FailedClearingEmptiesTheStore) {
    connect_with_alarm();
    logger->plan->answer("Alarm.GetUniqueId", E_ACCESSDENIED);
    lose_link();
    refuse();
    EXPECT_TRUE(poll());
    EXPECT_EQ(reports(),
              (Lines{R"(log_message TARGET_SYSTEM_CONNECT_FAILED "T" "0x80004005")", "log_exception T 0x80070005"}));
    EXPECT_THAT(stored(), IsEmpty());
    EXPECT_EQ(Access::saved_alarm_ids(*target).size(), 0U);
    EXPECT_EQ(target->counters(), ZoHmiEventLogger::EventStore::Counters());

    logger->plan->clear();
    ASSERT_TRUE(poll());
    log();
    logger->active.push_back(alarm(1)); // two without an id are not distinguished
    logger->active.push_back(alarm(2));
    logger->fire_raised(logger->active[1]);
    logger->fire_raised(logger->active[2]);
    log();
    target->disconnect();
    EXPECT_EQ(log(), (Lines{"FindConnectionPoint", "Unadvise", "Disconnect", "log_unknown_exception T"}));
    EXPECT_THAT(stored(), IsEmpty());
}

TEST_F(Connection, OlderSavedIdsStay) {
    connect_with_alarm();
    lose_link();
    logger->plan->answer("GetActiveAlarms", E_FAIL);
    poll(); // connected, but not imported: the id is saved now
    logger->plan->clear();
    logger->fire_raised(logger->active[0]); // takes the next id
    EXPECT_EQ(stored(), (Lines{"2@1s"}));
    lose_link();
    EXPECT_TRUE(poll());
    EXPECT_EQ(stored(), (Lines{"1@1s"}));
}

TEST(SavedAlarmIds, OldestAreDroppedAtTheBound) {
    ZoHmiEventLogger::SavedAlarmIds saved;
    const auto add = [&saved](std::uint32_t from, std::uint32_t to, int id) {
        std::map<ZoHmiEventLogger::AlarmKey, int> ids;
        for (; from < to; ++from)
            ids.emplace(ZoHmiEventLogger::AlarmKey{from, 0}, id);
        saved.add(ids);
    };
    const auto id_of = [&saved](std::uint32_t key) { return saved.find({key, 0}).value_or(0); };
    add(5, 7, 1);
    add(100, 70'000, 2); // more than the bound, but all live at once
    EXPECT_EQ(saved.size(), 69'900U);
    EXPECT_EQ(id_of(5), 0);
    add(101, 102, 3);
    EXPECT_EQ(saved.size(), 65'536U);
    EXPECT_EQ(id_of(101), 2) << "older ids stay";
    add(1, 2, 4); // in front by its key, but the newest
    EXPECT_EQ(id_of(1), 4);
    EXPECT_EQ(id_of(101), 2) << "live again meanwhile";
    EXPECT_EQ(saved.size(), 65'536U);
}

} // namespace
