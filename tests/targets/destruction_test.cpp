#include "tests/targets/target_fixture.h"

#include "binding/event_sink.h"
#include "extension/host/event_payload.h"
#include "tests/fakes/callback_thread.h"

#include <atomic>

namespace {

using testing::IsEmpty;

class Destruction : public TargetTest {};

TEST_F(Destruction, OfADisabledTargetOnlyUnsubscribes) {
    make();
    const auto cookie = Access::event_cookie(*target);
    log();
    release();
    EXPECT_EQ(log(), (Lines{"FindConnectionPoint", "Unadvise"}));
    EXPECT_EQ(logger->record().unadvised, std::vector{cookie});
}

TEST_F(Destruction, ReportsWhatFailsAndSurvivesAListenerThatThrows) {
    logger->active = {alarm(1, 1)};
    make_connected();
    logger->plan->answer("Unadvise", E_FAIL, 1);
    logger->plan->answer("Disconnect", E_FAIL);
    logger->plan->answer("Alarm.GetUniqueId", E_ACCESSDENIED);
    release();
    EXPECT_EQ(reports(), (Lines{"log_exception T 0x80004005", "log_exception T 0x80070005"}));
    fresh_logger();
    make_connected();
    logger->plan->answer("Disconnect", E_FAIL);
    listener.plan().throw_error("log_exception", "host");
    release();
    EXPECT_EQ(logger->sink(), nullptr);
}

TEST_F(Destruction, WaitsForACallbackInsideTheSink) {
    make_connected();
    const auto block = listener.plan().block("on_message");
    fakes::CallbackThread callbacks;
    callbacks.post([this] { logger->fire_message(message(1)); });
    ASSERT_TRUE(block->wait_until_entered());
    std::atomic<bool> gone = false;
    std::thread destroyer([&] {
        target.reset();
        gone = true;
    });
    EXPECT_TRUE(fakes::call_log().wait_for("Unadvise", 2)); // has come to the end of its own work
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_FALSE(gone);
    block->release();
    destroyer.join();
    callbacks.drain();
}

TEST_F(Destruction, FromInsideACallbackComesAfterIt) {
    make_connected();
    const std::weak_ptr<TargetSystem> watched = target;
    listener.plan().run("on_message", [&] {
        target.reset();
        EXPECT_TRUE(watched.expired());
        EXPECT_NE(logger->sink(), nullptr); // still there
    });
    EXPECT_EQ(logger->fire_message(message(1)), S_OK);
    probed = nullptr;
    EXPECT_EQ(logger->sink(), nullptr);
    EXPECT_EQ(log(), (Lines{"on_message @1s", "FindConnectionPoint", "Unadvise", "Disconnect", "FindConnectionPoint",
                            "Unadvise"}));
}

TEST_F(Destruction, LockHolderMayOutliveTheTarget) {
    make();
    LockHolder holder;
    ASSERT_TRUE(target->connect(holder));
    release();
    EXPECT_TRUE(holder);
    holder.reset();
}

} // namespace
