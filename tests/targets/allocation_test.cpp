#include "tests/server_api/allocations.h"
#include "tests/targets/target_fixture.h"

#include "extension/host/event_payload.h"

#include <new>

namespace {

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
        for (std::mutex* mutex :
             {&Access::connection_mutex(*target), &Access::callback_mutex(*target), &Access::event_mutex(*target)})
            EXPECT_TRUE(Access::is_free(*mutex));
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
            EXPECT_TRUE(Access::is_free(Access::callback_mutex(*target)));
            EXPECT_TRUE(Access::is_free(Access::event_mutex(*target)));
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
