// A lost target: its store is empty, the server gets a reset, and no event is reported behind the reset.
#include "tests/targets/target_fixture.h"

#include "tests/fakes/callback_thread.h"

#include <cstdlib>
#include <future>
#include <sched.h>

namespace {

using testing::IsEmpty;

class Loss : public TargetTest {
protected:
    // One tick: polls, marks the reset in the log when one is due, and releases the callbacks.
    bool tick() {
        LockHolder holder;
        const bool changed = target->poll(holder);
        if (changed) fakes::call_log().add("reset");
        return changed;
    }
    // Loses the link, which then refuses connects, in a tick; and opens it again.
    void lose_in_tick() {
        lose_link();
        refuse();
        EXPECT_TRUE(tick());
    }
    void reconnect() {
        logger->plan->clear();
        EXPECT_TRUE(tick());
    }
    // The events that the listener got behind the last reset.
    static Lines reported_behind_reset() {
        Lines lines = log();
        lines.erase(lines.begin(), std::find(lines.rbegin(), lines.rend(), "reset").base());
        std::erase_if(lines, [](const std::string& line) { return !line.starts_with("on_"); });
        return lines;
    }
    bool has_straggler() { return !reported_behind_reset().empty() || !stored().empty(); }
};

TEST_F(Loss, IsClearedByTheNextTick) {
    const struct {
        const char* about;
        const char* call; // the link goes in the n-th such call of a tick
        unsigned nth;
        bool reconnects;
        HRESULT answer; // of the active alarms
    } cases[] = {{"in a good import", "GetActiveAlarms", 1, true, S_OK},
                 {"in a failed import", "GetActiveAlarms", 1, true, E_FAIL},
                 {"behind an import", "IsConnected", 3, true, S_OK},
                 {"in a quiet tick", "IsConnected", 2, false, S_OK}};
    for (const auto& row : cases) {
        SCOPED_TRACE(row.about);
        fresh_logger();
        connect_with_alarm();
        if (row.reconnects) lose_link();
        if (failed(row.answer)) logger->plan->answer("GetActiveAlarms", row.answer, 1);
        logger->plan->run(row.call, row.nth, [this] { lose_link(); });
        EXPECT_EQ(tick(), row.reconnects);
        EXPECT_EQ(std::ranges::count(log(), "IsConnected"), row.reconnects ? 3 : 2);
        logger->plan->clear();
        lose_in_tick();
        EXPECT_THAT(stored(), IsEmpty());
        EXPECT_FALSE(tick()) << "counts once";
        release();
    }
}

TEST_F(Loss, StaysDueWhenTheTickThrows) {
    for (const bool reconnects : {false, true}) {
        SCOPED_TRACE(reconnects);
        fresh_logger();
        logger->active = {alarm(1, 1)};
        make_connected();
        lose_link();
        if (!reconnects) refuse();
        listener.plan().throw_error(
            reconnects ? "log_message TARGET_SYSTEM_CONNECTED" : "log_message TARGET_SYSTEM_CONNECT_FAILED", "host", 1);
        EXPECT_THROW(tick(), std::runtime_error);
        EXPECT_TRUE(tick());
        EXPECT_THAT(stored(), IsEmpty());
        EXPECT_FALSE(tick());
        listener.plan().clear();
        release();
    }
}

TEST_F(Loss, LinkThatComesBackByItselfIsHeard) {
    make_connected();
    lose_in_tick();
    logger->connected = VARIANT_TRUE;
    EXPECT_FALSE(tick());
    logger->fire_raised(alarm(1, 1));
    EXPECT_THAT(stored(), testing::SizeIs(1));
    logger->plan->clear();
}

TEST_F(Loss, TrafficLeavesNoStraggler) {
    make_connected();
    std::atomic<bool> storming = true;
    std::atomic<int> fired = 0;
    std::thread weather([&] {
        for (std::uint32_t id = 1; storming; ++id, ++fired)
            id % 2 ? logger->fire_raised(alarm(id, id)) : logger->fire_message(message(id, id));
    });
    const auto wait_for_traffic = [&] {
        const int before = fired;
        EXPECT_TRUE(zo_test::eventually([&] { return fired > before + 3; }));
    };
    int stragglers = 0;
    for (int loss = 0; loss < 400; ++loss) {
        wait_for_traffic();
        lose_in_tick();
        wait_for_traffic();
        stragglers += has_straggler();
        reconnect();
    }
    storming = false;
    weather.join();
    EXPECT_EQ(stragglers, 0);
}

TEST_F(Loss, QueuedCallbacksAreDroppedUntilConnected) {
    make_connected();
    fakes::CallbackThread callbacks;
    int stragglers = 0;
    for (int loss = 0; loss < 200; ++loss) {
        zo_test::Gate queued;
        callbacks.post([&] { queued.wait(); });
        for (std::uint32_t id = 1; id <= 5; ++id)
            callbacks.post([this, id] { logger->fire_raised(alarm(id, id)); });
        lose_in_tick();
        queued.open();
        callbacks.drain();
        stragglers += has_straggler();
        reconnect();
        logger->fire_message(message(9));
        EXPECT_EQ(reported_behind_reset(), Lines{"on_message @9s"});
    }
    EXPECT_EQ(stragglers, 0);
}

// Keeps this thread and those that it starts on one core: a thread that gets a lock there runs at once.
class OneCore {
public:
    OneCore() {
        sched_getaffinity(0, sizeof before_, &before_);
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(static_cast<std::size_t>(sched_getcpu()), &one);
        sched_setaffinity(0, sizeof one, &one);
    }
    ~OneCore() { sched_setaffinity(0, sizeof before_, &before_); }
    OneCore(const OneCore&) = delete;
    OneCore& operator=(const OneCore&) = delete;

private:
    cpu_set_t before_{};
};

TEST_F(Loss, FailedImportKeepsAlarmRaisedMeanwhile) {
    make_connected();
    const OneCore core;
    fakes::CallbackThread callbacks;
    fakes::AlarmPtr raised;
    // The import has the callback mutex while it reports its failure.
    listener.plan().run("log_exception", [&] { callbacks.post([&] { logger->fire_raised(raised); }); });
    int lost = 0;
    for (std::uint32_t id = 1; id <= 400; ++id) {
        raised = alarm(id, id);
        lose_link();
        logger->plan->answer("GetActiveAlarms", E_FAIL, 1);
        EXPECT_TRUE(tick());
        callbacks.drain();
        if (reported_behind_reset().size() != 1 || stored().size() != 1) ++lost;
    }
    EXPECT_EQ(lost, 0);
}

TEST_F(Loss, FoundDuringAServerThreadsImportReturns) {
    for (const bool import_fails : {false, true}) {
        SCOPED_TRACE(import_fails);
        fresh_logger();
        connect_with_alarm();
        listener.set_probe({}); // the import has the event mutex while the tick reports
        lose_link();
        if (import_fails) logger->plan->answer("GetActiveAlarms", E_FAIL, 1);
        const auto fetching = logger->plan->block("GetActiveAlarms", 1);
        std::future<void> threads[3];
        threads[0] = std::async(std::launch::async, [this] {
            LockHolder holder;
            target->connect(holder);
            stored(); // the listing that follows a reset
        });
        ASSERT_TRUE(fetching->wait_for_arrivals());
        threads[1] = std::async(std::launch::async, [this] { lose_in_tick(); });
        threads[2] = std::async(std::launch::async, [this] { logger->fire_raised(alarm(2, 2)); });
        EXPECT_TRUE(fakes::call_log().wait_for(R"(log_message TARGET_SYSTEM_CONNECT_FAILED "T" "0x80004005")"));
        std::this_thread::sleep_for(std::chrono::milliseconds(20)); // so that the tick has reached its locks
        fetching->open();
        for (const auto& thread : threads)
            if (thread.wait_for(std::chrono::seconds(20)) != std::future_status::ready) std::abort(); // deadlock
        EXPECT_THAT(stored(), IsEmpty());
        release();
    }
}

} // namespace
