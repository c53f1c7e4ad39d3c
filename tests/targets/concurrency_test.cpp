#include "tests/targets/target_fixture.h"

#include "binding/event_sink.h"
#include "extension/host/event_payload.h"
#include "tests/fakes/callback_thread.h"

namespace {

using namespace ZoHmiSrv;

class Concurrency : public TargetTest {};

TEST_F(Concurrency, OneImportAtATime) {
    logger->active = {alarm(1, 1)};
    make();
    listener.set_probe({}); // the one import has the event mutex while the other reports
    const auto block = logger->plan->block("GetActiveAlarms", 1);
    const auto holding = listener.plan().block("log_message GETLOGGEDEVENTS_GETACTIVEALARMS", 1);
    std::thread one([this] { EXPECT_TRUE(connect()); });
    ASSERT_TRUE(block->wait_for_arrivals());
    logger->connected = VARIANT_FALSE; // lost meanwhile, so another thread connects
    std::thread two([this] { EXPECT_TRUE(connect()); });
    EXPECT_TRUE(fakes::call_log().wait_for(R"(log_message TARGET_SYSTEM_CONNECTED "T")", 2));
    std::this_thread::sleep_for(std::chrono::milliseconds(20)); // so that it has reached its import
    block->open();
    ASSERT_TRUE(holding->wait_for_arrivals());
    EXPECT_FALSE(fakes::call_log().wait_for("GetLoggedEvents", 2, std::chrono::milliseconds(50)));
    holding->open();
    one.join();
    two.join();
    EXPECT_EQ(logger->plan->count("GetLoggedEvents"), 2U);
    EXPECT_EQ(stored(), (Lines{"1@1s"}));
}

// Alarms come and go, the link is lost again and again, and the server lists and confirms all the time.
TEST_F(Concurrency, StormOfCallbacksLosesNoAlarm) {
    constexpr std::uint32_t limit = 50;
    make(limit);
    std::atomic<bool> storming = true, asking = true;
    std::atomic<int> handled = 0;
    std::thread weather([&] {
        std::mt19937 random(3);
        std::vector<fakes::AlarmPtr> up;
        std::int64_t second = 0;
        std::uint32_t unique_id = 0;
        while (storming) {
            const auto kind = random() % 4;
            if (kind == 0) {
                logger->fire_message(message(++second, ++unique_id));
            } else if (up.size() < 10 && kind < 3) {
                up.push_back(alarm(++second, ++unique_id));
                logger->edit([&] { logger->active.push_back(up.back()); });
                logger->fire_raised(up.back());
            } else if (!up.empty()) {
                const auto position = up.begin() + static_cast<std::ptrdiff_t>(random() % up.size());
                const fakes::AlarmPtr gone = *position;
                logger->fire_confirmed(gone);
                logger->edit([&] {
                    std::erase(logger->active, gone);
                    logger->history.push_back(logger->make_logged_event(gone->fields()));
                });
                logger->fire_cleared(gone, VARIANT_TRUE);
                up.erase(position);
            }
            ++handled;
        }
    });
    std::thread server([&] {
        while (asking) {
            for (const Event& event : listed()) {
                const Value& payload = event.payload();
                if (payload.type() == ValueType::Alarm) target->confirm_alarm(payload.get_alarm());
            }
            const auto counters = target->counters();
            EXPECT_EQ(counters.cached_alarms + counters.cached_messages, counters.active_alarms + counters.not_live);
            target->connection_status();
        }
    });
    ASSERT_TRUE(connect());
    const std::thread::id here = std::this_thread::get_id();
    for (int round = 0; round < 60; ++round) {
        const int before = handled;
        EXPECT_TRUE(zo_test::eventually([&] { return handled > before + 3; }));
        fakes::call_log().clear();
        EXPECT_EQ(target->force_disconnect(), S_OK);
        if (round % 5 == 4) logger->plan->answer("GetActiveAlarms", E_FAIL, 1);
        LockHolder holder;
        ASSERT_TRUE(target->poll(holder));
        EXPECT_TRUE(holder);
        fakes::call_log().add("released");
        holder.reset();
        // From the summary of the import to the release only the server calls.
        const auto calls = fakes::call_log().calls();
        auto call = std::find_if(calls.begin(), calls.end(), [](const fakes::Call& each) {
            return each.text.starts_with("log_message GETLOGGEDEVENTS");
        });
        for (; call != calls.end() && call->text != "released"; ++call)
            EXPECT_TRUE(call->thread == here || call->text.find("onfirm") != std::string::npos ||
                        call->text.find("CONFIRM") != std::string::npos || call->text == "IsConnected")
                << call->text;
    }
    storming = false;
    weather.join();
    asking = false;
    server.join();

    // A new import brings what the store has.
    logger->connected = VARIANT_FALSE;
    ASSERT_TRUE(poll());
    const Lines lines = stored();
    EXPECT_EQ(target->counters().active_alarms, logger->active.size());
    EXPECT_LE(lines.size(), limit + logger->active.size());
    for (const fakes::AlarmPtr& active : logger->active) {
        const std::string time = fakes::describe(Value(Timestamp::from_file_time(active->fields().raised)));
        EXPECT_EQ(std::count_if(lines.begin(), lines.end(), [&](const auto& line) { return line.ends_with(time); }), 1)
            << time;
    }
}

class Destruction : public TargetTest {};

TEST_F(Destruction, DisabledTargetOnlyUnsubscribes) {
    make();
    const auto cookie = Access::event_cookie(*target);
    log();
    release();
    EXPECT_EQ(log(), (Lines{"FindConnectionPoint", "Unadvise"}));
    EXPECT_EQ(logger->record().unadvised, std::vector{cookie});
}

TEST_F(Destruction, FailuresAreReportedAndSurvived) {
    connect_with_alarm();
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

TEST_F(Destruction, WaitsForCallbackInTheSink) {
    make_connected();
    const auto block = listener.plan().block("on_message");
    fakes::CallbackThread callbacks;
    callbacks.post([this] { logger->fire_message(message(1)); });
    ASSERT_TRUE(block->wait_for_arrivals());
    std::atomic<bool> gone = false;
    std::thread destroyer([&] {
        target.reset();
        gone = true;
    });
    EXPECT_TRUE(fakes::call_log().wait_for("Unadvise", 2)); // it waits now
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_FALSE(gone);
    block->open();
    destroyer.join();
    callbacks.drain();
}

TEST_F(Destruction, InsideACallbackComesAfterIt) {
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

TEST_F(Destruction, HolderCanOutliveTheTarget) {
    make();
    LockHolder holder;
    ASSERT_TRUE(target->connect(holder));
    release();
    EXPECT_TRUE(holder);
    holder.reset();
}

} // namespace
