#include "tests/extension/extension_fixture.h"

#include "extension/host/command.h"
#include "extension/host/event_payload.h"

#include <cstdlib>

using namespace ZoHmiSrv;
using namespace std::chrono_literals;

namespace {

using Traffic = ExtensionTest;

// Ticks with lost connections, callbacks, changes of configuration, listings, localization, confirmations and
// commands, all at once.
TEST_F(Traffic, AllAtOnceEndsInOrder) {
    const auto a = add_target("a");
    const auto b = add_target("b");
    for (const auto& logger : {a, b})
        logger->has_class_name = logger->has_source_name = logger->has_logger5 = true;
    set_config("LIMIT_EVENT_COUNT", 10.0);
    for (int second = 1; second <= 8; ++second) {
        a->history.push_back(a->make_logged_event({.raised = fakes::file_time(second)}));
        b->history.push_back(b->make_logged_event({.raised = fakes::file_time(second)}));
    }
    start_without_ticks();
    host.plan().run("reset_temporary_events", [this] { listed(); });

    // An operator works with the events of a list while targets come and go.
    const auto operate = [&](const Value& events) {
        for (unsigned long i = 0; i < events.size(); ++i) {
            const Value& payload = std::as_const(events)[i].get_event().payload();
            if (payload.type() != ValueType::Alarm) continue;
            Alarm alarm = payload.get_alarm();
            String text;
            const ErrorValue result = extension->on_localize_event(Context(), "de-DE", alarm, text);
            EXPECT_TRUE(result == HMI_SUCCESS || result == HMI_E_CONNECT) << result;
            EXPECT_NE(extension->on_confirm_alarm(Context(), alarm), HMI_E_ENTRY_NOT_FOUND);
        }
        CommandGroup commands;
        commands.add(Command("Diagnostics"));
        commands.add(Command("ForceReconnect")).write_value() = Value("a");
        extension->on_request(Context(), commands);
        EXPECT_EQ(commands[0].extension_result(), 0u);
        EXPECT_EQ(commands[1].extension_result(), 0u);
    };

    std::atomic<bool> stop = false;
    std::deque<std::atomic<unsigned>> rounds;
    std::vector<std::thread> threads;
    const auto repeat = [&](auto work) {
        threads.emplace_back([&stop, &round = rounds.emplace_back(0), work] {
            for (; !stop; ++round)
                work(round.load());
        });
    };
    const auto raise_and_clear = [](const fakes::LoggerPtr& logger) {
        return [logger](unsigned round) {
            const auto alarm = logger->make_alarm({.raised = fakes::file_time(100 + round), .unique_id = round});
            logger->edit([&] { logger->active.assign(1, alarm); });
            logger->fire_raised(alarm);
            logger->edit([&] { logger->active.clear(); });
            logger->fire_cleared(alarm, VARIANT_TRUE);
            logger->fire_message(logger->make_message({.raised = fakes::file_time(100 + round)}));
        };
    };
    repeat([&](unsigned round) {
        (round % 2 ? a : b)->connected = VARIANT_FALSE;
        tick();
    });
    repeat(raise_and_clear(a));
    repeat(raise_and_clear(b));
    repeat([&](unsigned round) {
        set_entry("c", target_entry(round % 4 < 2 ? "5.3.3.3.1.1" : "5.3.3.3.1.2", round % 2 == 0));
        change("c");
        if (round % 5 == 0) extension->on_config_delete(Context(), "TARGET_SYSTEMS::c");
    });
    repeat([&](unsigned) {
        const Value events = listed();
        EXPECT_EQ(events.type(), ValueType::Vector);
        operate(events);
    });
    // At least the requested time; on a loaded machine until every thread had a turn.
    const char* requested = std::getenv("ZO_SOAK_SECONDS");
    const auto end =
        std::chrono::steady_clock::now() + std::min(std::chrono::seconds(requested ? std::atoi(requested) : 1), 60s);
    const auto deadline = end + 60s;
    do {
        std::this_thread::sleep_for(1s);
        fakes::call_log().clear(); // unread
    } while (std::chrono::steady_clock::now() < end ||
             (std::ranges::any_of(rounds, [](const auto& count) { return count <= 2; }) &&
              std::chrono::steady_clock::now() < deadline));
    stop = true;
    for (std::thread& thread : threads)
        thread.join();
    for (const auto& count : rounds)
        EXPECT_GT(count, 2u);
    tick(); // reconnects
    EXPECT_EQ(a->connected, VARIANT_TRUE);
    EXPECT_EQ(b->connected, VARIANT_TRUE);
    EXPECT_EQ(host.messages("ZORVANE_EVENTLOGGER_ERROR").size(), 0u);
}

} // namespace
