// Each call of the proxy fails once, in each way, over the whole life of a connection, and each allocation of the
// threads that connect and call back.
#include "tests/targets/target_fixture.h"

#include "binding/error.h"
#include "extension/host/event_payload.h"
#include "support/numeric.h"
#include "tests/server_api/allocations.h"

namespace {

using ZoAtlCom::CAtlException;

std::string hex(HRESULT code) {
    return ZoHmiSrv::Algorithm::integer_to_hex<int>(code, true, true, true);
}

class Faults : public TargetTest {
protected:
    // Codes that were thrown at the caller or returned to the proxy.
    using Codes = std::multiset<HRESULT>;

    // From the creation to the destruction; each kind of callback comes live, and one while the import fetches.
    Codes live_once(const std::shared_ptr<fakes::CallPlan>& plan, HRESULT code, unsigned nth) {
        logger->history = {logged(is_alarm, 1, 10), logged(is_message, 2, 11)};
        const auto active = alarm(3, 12), raised = alarm(5, 14);
        logger->active = {active};
        for (const auto& event : {active, raised})
            event->update([](fakes::EventFields& fields) {
                fields.json = "{}";
                fields.arguments = {1, 0, 1, 1, 4};
                fields.block = {1, 0, 0, 0, 0};
                fields.source_name = "Line";
            });
        const auto recorded = message(4, 13);
        Codes codes;
        const auto returns = [&codes](HRESULT answer) {
            if (failed(answer)) codes.insert(answer);
        };
        const auto attempt = [&codes](auto&& step) {
            try {
                step();
            } catch (const CAtlException& exception) {
                codes.insert(exception.code());
            }
        };
        logger->plan->run("GetActiveAlarms", [this, &returns, recorded] {
            std::thread([&] { returns(logger->fire_message(recorded)); }).join();
        });
        *next_id = 1;
        plan->answer_any(code, nth);
        attempt([&] { make(); });
        if (!target) return codes;
        attempt([&] { connect(); });
        attempt([&] { poll(); });
        returns(logger->fire_message(message(6, 15)));
        returns(logger->fire_raised(raised));
        returns(logger->fire_raised(raised));
        returns(logger->fire_confirmed(raised));
        attempt([&] { target->confirm_alarm(with_id(3)); });
        returns(logger->fire_cleared(raised, VARIANT_TRUE));
        returns(logger->fire_database_changed(2));
        attempt([&] { poll(); });
        return codes;
    }

    // All locks are free, and the next connect imports all events of the logger.
    void expect_health(const std::string& call) {
        expect_idle();
        const auto counters = target->counters();
        EXPECT_EQ(stored().size(), counters.active_alarms + counters.not_live);
        if (!target->proxy_created()) return;
        logger->connected = VARIANT_FALSE;
        EXPECT_TRUE(connect());
        EXPECT_EQ(stored().size(), 3U);
        log();
        if (logger->sink()) {
            EXPECT_EQ(logger->fire_message(message(9, 19)), S_OK);
            EXPECT_EQ(reports(), Lines{"on_message @9s"});
        } else { // without a subscription nothing comes live, which no import repairs
            EXPECT_TRUE(call == "FindConnectionPoint" || call == "Advise") << call;
        }
    }
};

TEST_F(Faults, AnyFailedCallIsReportedAndHarmless) {
    // Their failures change nothing.
    const std::set<std::string> unreported = {"FindConnectionPoint", "Advise", "Unadvise", "ErrorMessage"};
    constexpr HRESULT older_logger = hresult(0x98110701), no_answer = hresult(0x98110745);
    std::set<std::string> failed_calls;
    for (const bool of_library : {false, true}) {
        // S_OK: success with nothing in the out arguments.
        for (const HRESULT code : {E_FAIL, E_OUTOFMEMORY, E_NOINTERFACE, older_logger, no_answer, S_OK, S_FALSE}) {
            for (unsigned nth = 1;; ++nth) {
                release();
                fresh_logger();
                const auto plan = of_library ? library().plan : logger->plan;
                log();
                const Codes codes = live_once(plan, code, nth);
                const std::string call = plan->answered();
                logger->plan->clear(); // a hook holds a message, which holds the plan
                library().plan->clear();
                SCOPED_TRACE(testing::Message() << "call " << nth << " " << call << " answers " << hex(code));
                if (call.empty()) {
                    EXPECT_GT(nth, of_library ? 4U : 100U);
                    break;
                }
                failed_calls.insert(call);
                const Lines lines = reports();
                if (failed(code) && !unreported.contains(call)) {
                    const std::set<std::string> expected = {
                        "log_exception T " + hex(code),
                        "log_message TARGET_SYSTEM_CONNECT_FAILED \"T\" \"" + hex(code) + "\"",
                        "log_message CAN_NOT_CREATE_PROXY severity=3 \"T\" \"" + hex(code) + "\""};
                    const bool reported =
                        std::ranges::any_of(lines, [&](auto& line) { return expected.contains(line); });
                    EXPECT_NE(reported || codes.contains(code), call == "ConnectWithSettings" && code == older_logger)
                        << testing::PrintToString(lines);
                }
                if (target) expect_health(call);
                if (HasFailure()) return;
            }
        }
    }
    for (const char* call : {"IsConnected", "ConnectWithSettings", "GetLoggedEvents", "GetActiveAlarms", "Disconnect",
                             "LoggedEvents.GetItem", "Alarms.GetItem", "Alarm.Confirm", "Message.GetTimeRaised",
                             "CreateInstance.Logger", "SetPreloadTranslations", "SetTimeout"})
        EXPECT_TRUE(failed_calls.contains(call)) << call;
}

class Allocations : public TargetTest {};

// Each allocation on the connecting thread fails once, also those of the fakes.
TEST_F(Allocations, AnyOfAConnectCanFail) {
    bool failed = true;
    std::size_t nth = 0;
    for (; failed; ++nth) {
        SCOPED_TRACE(nth);
        fresh_logger();
        logger->history = {logged(is_alarm, 1, 10), logged(is_message, 2, 11)};
        logger->active = {alarm(3, 12)};
        logger->plan->run("GetActiveAlarms", 1,
                          [this] { std::thread([this] { logger->fire_raised(alarm(4, 13)); }).join(); });
        make(3);
        bool connected = false;
        allocations::fail_after(nth);
        try {
            connected = connect();
        } catch (const std::bad_alloc&) { // of the listener, or of a lock
        }
        failed = allocations::stop_failing();
        EXPECT_TRUE(connected || failed);
        expect_idle();
        logger->plan->clear();
        log();
        for (std::int64_t second = 5; second < 9; ++second)
            EXPECT_EQ(logger->fire_message(message(second)), S_OK);
        EXPECT_EQ(fakes::call_log().count("on_message @5s"), 1U);   // live
        EXPECT_EQ(fakes::call_log().count("forget_event @5s"), 1U); // and evictions are reported
        logger->connected = VARIANT_FALSE;
        EXPECT_TRUE(connect());
        EXPECT_EQ(stored().size(), 3U);
        release();
    }
    EXPECT_GT(nth, 100U);
}

// Each allocation of the callback thread fails once, in each kind of callback, with a full store. The sink returns the
// failure, and the store stays consistent.
TEST_F(Allocations, AnyOfALiveCallbackCanFail) {
    using Events = ZoEventLoggerFdxProxyLib::_IZoEventLoggerEvents;
    constexpr struct {
        const char* name;
        std::int32_t callback;
        bool known; // an alarm that is active already, else a new one
        VARIANT_BOOL removed;
    } cases[] = {{"message", Events::OnMessageSent, false, 0},     {"raised", Events::OnAlarmRaised, false, 0},
                 {"raised again", Events::OnAlarmRaised, true, 0}, {"confirmed", Events::OnAlarmConfirmed, true, 0},
                 {"cleared", Events::OnAlarmCleared, true, 0},     {"removed", Events::OnAlarmCleared, true, -1}};
    for (const auto& one : cases) {
        bool failed = true;
        std::size_t nth = 0;
        for (; failed; ++nth) {
            SCOPED_TRACE(testing::Message() << one.name << " " << nth);
            fresh_logger();
            logger->history = {logged(is_message, 2, 11), logged(is_message, 3, 12)};
            const auto known = alarm(9, 10); // of the same time as the new one
            logger->active = {known};
            make_connected(3);
            const auto fresh = alarm(9, 19);
            const auto sent = message(9, 19);
            VARIANT reversed[2]{};
            DISPPARAMS arguments{reversed, nullptr, 1, 0};
            if (one.callback == Events::OnAlarmConfirmed || one.callback == Events::OnAlarmCleared) {
                reversed[0].vt = VT_BOOL;
                reversed[0].boolVal = one.removed;
                arguments.cArgs = 2;
            }
            VARIANT& object = reversed[arguments.cArgs - 1];
            object.vt = VT_DISPATCH;
            object.pdispVal = one.known ? known.get() : fresh.get();
            if (one.callback == Events::OnMessageSent) object.pdispVal = sent.get();
            IDispatch* const sink = logger->sink();
            allocations::fail_after(nth);
            const HRESULT code = sink->Invoke(one.callback, GUID{}, 0, 1, &arguments, nullptr, nullptr, nullptr);
            failed = allocations::stop_failing();
            EXPECT_TRUE(failed ? code == S_OK || code == E_OUTOFMEMORY : code == S_OK) << code;
            expect_idle();
            const auto counters = target->counters();
            EXPECT_EQ(stored().size(), counters.active_alarms + counters.not_live);
            EXPECT_EQ(stored().size(), counters.cached_alarms + counters.cached_messages);
            EXPECT_GE(counters.active_alarms, one.removed ? 0U : 1U);
            // The next event finds a store of the right size, and a reconnect finds all again.
            EXPECT_EQ(logger->fire_message(message(10, 20)), S_OK);
            EXPECT_LE(target->counters().not_live, 3U);
            logger->connected = VARIANT_FALSE;
            EXPECT_TRUE(connect());
            EXPECT_EQ(stored().size(), 3U);
            log();
            release();
        }
        EXPECT_GT(nth, 5U) << one.name;
    }
}

} // namespace
