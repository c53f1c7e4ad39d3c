// Each single call of the proxy fails once, in each way, over the whole life of a connection, and each allocation of
// the threads that connect and call back.
#include "tests/targets/target_fixture.h"

#include "binding/error.h"
#include "extension/host/event_payload.h"
#include "support/numeric.h"
#include "tests/server_api/allocations.h"

#include <algorithm>
#include <new>
#include <set>

namespace {

using ZoAtlCom::CAtlException;

std::string hex(HRESULT code) {
    return ZoHmiSrv::Algorithm::integer_to_hex<int>(code, true, true, true);
}

class Faults : public TargetTest {
protected:
    // What was heard of the fault: codes that were thrown at the caller or given to the proxy.
    struct Heard {
        std::vector<HRESULT> thrown, answered;
        bool with(HRESULT code) const { return std::ranges::count(thrown, code) + std::ranges::count(answered, code); }
    };

    template <class Step>
    static void attempt(Heard& heard, Step&& step) {
        try {
            step();
        } catch (const CAtlException& exception) {
            heard.thrown.push_back(exception.code());
        }
    }

    // From the creation to the destruction; each kind of callback comes live, and one while the import fetches.
    Heard live_once(const std::shared_ptr<fakes::CallPlan>& plan, HRESULT code, std::size_t nth) {
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
        Heard heard;
        const auto fire = [&heard](HRESULT answer) {
            if (failed(answer)) heard.answered.push_back(answer);
        };
        logger->plan->run("GetActiveAlarms", [this, &fire, recorded] {
            std::thread([&] { fire(logger->fire_message(recorded)); }).join();
        });
        *next_id = 1;
        plan->answer_any(code, nth);
        attempt(heard, [&] { make(); });
        if (!target) return heard;
        attempt(heard, [&] { connect(); });
        attempt(heard, [&] { poll(); });
        fire(logger->fire_message(message(6, 15)));
        fire(logger->fire_raised(raised));
        fire(logger->fire_raised(raised));
        fire(logger->fire_confirmed(raised));
        attempt(heard, [&] { target->confirm_alarm(with_id(3)); });
        fire(logger->fire_cleared(raised, VARIANT_TRUE));
        fire(logger->fire_database_changed(2));
        attempt(heard, [&] { poll(); });
        return heard;
    }

    // Whatever failed: nothing is held, and the next connect has all that the logger has.
    void expect_health(const std::string& call) {
        expect_idle();
        const auto counters = target->counters();
        EXPECT_EQ(stored().size(), counters.active_alarms + counters.not_live);
        if (!target->proxy_created()) return;
        logger->connected = VARIANT_FALSE;
        EXPECT_TRUE(connect());
        EXPECT_EQ(stored().size(), 3U);
        log();
        // Without the subscription nothing comes live, which the import does not heal.
        if (!logger->sink()) {
            EXPECT_TRUE(call == "FindConnectionPoint" || call == "Advise") << call;
            return;
        }
        EXPECT_EQ(logger->fire_message(message(9, 19)), S_OK);
        EXPECT_EQ(reports(), Lines{"on_message @9s"});
    }
};

TEST_F(Faults, AnyCallMayFail) {
    // A failure of these changes nothing that anybody would have to hear of.
    const std::set<std::string> unheard = {"FindConnectionPoint", "Advise", "Unadvise", "ErrorMessage"};
    const HRESULT codes[] = {E_FAIL,
                             E_OUTOFMEMORY,
                             E_NOINTERFACE,
                             hresult(0x98110701), // what an older logger says to settings
                             hresult(0x98110745), // no answer in time
                             S_OK,                // success with nothing in the out arguments
                             S_FALSE};
    std::set<std::string> failed_calls;
    for (const bool of_library : {false, true}) {
        for (const HRESULT code : codes) {
            for (std::size_t nth = 1;; ++nth) {
                release();
                fresh_logger();
                const auto plan = of_library ? library().plan : logger->plan;
                log();
                const Heard heard = live_once(plan, code, nth);
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
                if (failed(code) && !unheard.contains(call)) {
                    const std::string text = hex(code);
                    const bool reported = std::ranges::any_of(lines, [&](const std::string& line) {
                        return line == "log_exception T " + text ||
                               line == "log_message TARGET_SYSTEM_CONNECT_FAILED \"T\" \"" + text + "\"" ||
                               line == "log_message CAN_NOT_CREATE_PROXY severity=3 \"T\" \"" + text + "\"";
                    });
                    const bool older_logger = call == "ConnectWithSettings" && code == codes[3];
                    EXPECT_NE(reported || heard.with(code), older_logger) << testing::PrintToString(lines);
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

// Each single allocation on the connecting thread fails once, the fakes' own among them.
TEST_F(Allocations, AnyOfAConnectMayFail) {
    bool failed = true;
    std::size_t nth = 0;
    for (; failed; ++nth) {
        SCOPED_TRACE(nth);
        fresh_logger();
        logger->history = {logged(is_alarm, 1, 10), logged(is_message, 2, 11)};
        logger->active = {alarm(3, 12)};
        logger->plan->run(
            "GetActiveAlarms", [this] { std::thread([this] { logger->fire_raised(alarm(4, 13)); }).join(); }, 1);
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
        EXPECT_EQ(fakes::call_log().count("forget_event @5s"), 1U); // and evictions are told
        logger->connected = VARIANT_FALSE;
        EXPECT_TRUE(connect());
        EXPECT_EQ(stored().size(), 3U);
        release();
    }
    EXPECT_GT(nth, 100U);
}

// Each allocation of the callback thread fails once, in each kind of callback, with a full store. A sink that could not
// take an event says so, and what the target holds stays in order.
TEST_F(Allocations, AnyOfALiveCallbackMayFail) {
    using Events = ZoEventLoggerFdxProxyLib::_IZoEventLoggerEvents;
    constexpr struct {
        const char* name;
        std::int32_t callback;
        bool known; // an alarm that is active already, else a new one
        VARIANT_BOOL removed;
    } cases[] = {
        {"message", Events::OnMessageSent, false, VARIANT_FALSE},
        {"raised", Events::OnAlarmRaised, false, VARIANT_FALSE},
        {"raised again", Events::OnAlarmRaised, true, VARIANT_FALSE},
        {"confirmed", Events::OnAlarmConfirmed, true, VARIANT_FALSE},
        {"cleared", Events::OnAlarmCleared, true, VARIANT_FALSE},
        {"removed", Events::OnAlarmCleared, true, VARIANT_TRUE},
    };
    for (const auto& one : cases) {
        bool failed = true;
        std::size_t nth = 0;
        for (; failed; ++nth) {
            SCOPED_TRACE(testing::Message() << one.name << " " << nth);
            fresh_logger();
            logger->history = {logged(is_message, 2, 11), logged(is_message, 3, 12)};
            const auto known = alarm(1, 10);
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
            if (one.removed == VARIANT_FALSE) {
                EXPECT_GE(counters.active_alarms, 1U); // its clearing is still to come
            }
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
