// The maximum of allocations for one event, on the set-up of the benchmarks. A higher number here makes every event
// slower.
#include "bench/bench_extension.h"
#include "extension/host/event.h"
#include "targets/conversion.h"
#include "tests/server_api/allocations.h"
#include "tests/test_headers.h"

#include <cstddef>
#include <new>
#include <type_traits>

namespace {

constexpr std::size_t count = 50;

template <class Call>
std::size_t max_allocations(Call call) {
    std::size_t found = 0;
    for (std::size_t i = 0; i < count; ++i)
        found = std::max(found, allocations::during([&] { call(i); }));
    return found;
}

template <class Pointer>
std::vector<Pointer> make(std::uint32_t from) {
    std::vector<Pointer> events;
    for (std::uint32_t id = from; id < from + count; ++id)
        events.emplace_back(new std::remove_reference_t<decltype(*Pointer())>(
            plain::EventFields{.raised = id * std::int64_t{1'000'000'000}, .cleared = 0, .unique_id = id}));
    return events;
}

TEST(EventAllocations, LiveEventStaysWithinMaximum) {
    BenchExtension bench(1, count);
    std::vector<plain::AlarmPtr> alarms = make<plain::AlarmPtr>(1);
    const auto raise = [&](std::size_t i) { ASSERT_EQ(bench.logger->raise(alarms[i]), S_OK); };
    const auto clear = [&](std::size_t i) { ASSERT_EQ(bench.logger->clear(alarms[i], VARIANT_TRUE), S_OK); };
    max_allocations(raise);
    max_allocations(clear);
    alarms = make<plain::AlarmPtr>(1 + count);
    EXPECT_LE(max_allocations(raise), 18U) << "a raised alarm that evicts another";
    EXPECT_LE(max_allocations(raise), 18U) << "an alarm raised again, which is stored twice for a moment";
    EXPECT_LE(max_allocations(clear), 3U) << "a cleared alarm that stays as history";
    const auto messages = make<plain::MessagePtr>(1 + 2 * count);
    EXPECT_LE(max_allocations([&](std::size_t i) { ASSERT_EQ(bench.logger->send(messages[i]), S_OK); }), 15U)
        << "a message that evicts an alarm";
    EXPECT_EQ(bench.host.forgotten, 2 * count);
}

ZoHmiSrv::Alarm listed_alarm() {
    ZoHmiSrv::Event event;
    ZoHmiEventLogger::convert_alarm(event, make<plain::AlarmPtr>(1)[0].get(), "HMI", "T1", 1, false);
    return event.payload().get_alarm();
}

// A miss first, then hits; into events with room for the answers and into one without.
TEST(EventAllocations, FailedOneLeavesEventUnchanged) {
    BenchExtension bench(1, count);
    const ZoHmiSrv::Context context;
    ZoHmiSrv::Alarm full = listed_alarm();
    for (const char* name : {"a", "b", "c"})
        full.parameters().insert(name, 1);
    for (const ZoHmiSrv::Alarm& before : {listed_alarm(), full}) {
        bool failed = true;
        std::size_t nth = 0;
        for (; failed; ++nth) {
            ZoHmiSrv::Alarm alarm = before;
            ZoHmiSrv::String text;
            ZoHmiSrv::ErrorValue result = ZoHmiSrv::HMI_E_UNEXPECTED;
            allocations::fail_after(nth);
            try {
                result = bench.extension.on_localize_event(context, "de-DE", alarm, text);
            } catch (const std::bad_alloc&) {
            }
            failed = allocations::stop_failing();
            const bool changed = alarm.parameters() != before.parameters() || !text.empty();
            EXPECT_EQ(changed, result == ZoHmiSrv::HMI_SUCCESS) << nth;
        }
        EXPECT_GT(nth, 1U);
    }
}

TEST(EventAllocations, CachedTextStaysWithinMaximum) {
    BenchExtension bench(1, count);
    std::vector<ZoHmiSrv::Alarm> listed(count + 1, listed_alarm());
    const ZoHmiSrv::Context context;
    const auto localize = [&](std::size_t i) {
        ZoHmiSrv::String text;
        ASSERT_EQ(bench.extension.on_localize_event(context, "de-DE", listed[i], text), ZoHmiSrv::HMI_SUCCESS);
        ASSERT_FALSE(listed[i].parameters()["details"].empty());
    };
    localize(count); // fills the caches
    EXPECT_LE(max_allocations(localize), 1U) << "the text alone";
}

} // namespace
