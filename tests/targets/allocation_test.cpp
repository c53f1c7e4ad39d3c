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
        EXPECT_EQ(logger->fire_message(message(5)), S_OK);
        EXPECT_EQ(fakes::call_log().count("on_message @5s"), 1U); // live
        logger->connected = VARIANT_FALSE;
        EXPECT_TRUE(connect());
        EXPECT_EQ(stored().size(), 3U);
        release();
    }
    EXPECT_GT(nth, 100U);
}

} // namespace
