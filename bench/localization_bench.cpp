// Localization of an alarm, on one thread and on two. A hit has five cached answers. A miss sends five requests to a
// logger that answers at once. Fresh alarms were never localized before; they use one thread. The last benchmark lists
// up to 100,000 events.

#include "bench/bench_extension.h"
#include "support/guid.h"
#include "targets/conversion.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <utility>
#include <vector>

using ZoHmiSrv::Alarm;
using ZoHmiSrv::Context;
using ZoHmiSrv::Value;

namespace {

constexpr int batch = 64;

/// One extension for all threads.
BenchExtension& connected() {
    static BenchExtension bench(1, 1000);
    return bench;
}

Alarm make_alarm() {
    ZoHmiSrv::Event event;
    const plain::AlarmPtr alarm(new plain::PlainAlarm({.raised = 1'000'000'000, .unique_id = 1}));
    ZoHmiEventLogger::convert_alarm(event, alarm.get(), "HMI", "T1", 1, false);
    return event.payload().get_alarm();
}

/// Gives the alarm a class and a source that no other alarm has.
void make_unknown(Alarm& alarm) {
    static std::atomic<std::uint32_t> number = 1;
    GUID unique = plain::event_class;
    unique.Data1 = number++;
    const std::string text = ZoHmiSrv::Algorithm::uuid_to_string(unique, true);
    alarm.parameters().insert_or_update("eventClass", text.c_str());
    alarm.parameters().insert_or_update("sourceGuid", text.c_str());
}

void localize(benchmark::State& state, Alarm& alarm) {
    static const Context context;
    ZoHmiSrv::String text;
    const auto result = connected().extension.on_localize_event(context, "de-DE", alarm, text);
    if (result != ZoHmiSrv::HMI_SUCCESS || text.empty()) state.SkipWithError("not localized");
}

/// Events that were already localized: a server localizes them again for each client and each redraw.
std::vector<Alarm> localized(benchmark::State& state, int count) {
    std::vector<Alarm> alarms(static_cast<std::size_t>(count), make_alarm());
    for (Alarm& alarm : alarms) {
        localize(state, alarm);
        const Value& parameters = std::as_const(alarm).parameters();
        if (parameters["causeRemedy"].size() != 2 || parameters["details"].empty() ||
            parameters["localizedSourceName"].empty() || parameters["eventClassName"].empty()) {
            state.SkipWithError("something was not fetched");
        }
    }
    return alarms;
}

void hit(benchmark::State& state) {
    auto alarms = localized(state, batch);
    for (auto _ : state) {
        for (Alarm& alarm : alarms)
            localize(state, alarm);
    }
    state.SetItemsProcessed(state.iterations() * batch);
}

/// Events of a list, which have no answers yet; prepared outside the measured time.
template <class Prepare>
void localize_fresh(benchmark::State& state, Prepare prepare) {
    using Clock = std::chrono::steady_clock;
    const std::vector<Alarm> listed(batch, make_alarm());
    localized(state, 1);
    for (auto _ : state) {
        std::vector<Alarm> alarms = listed;
        for (Alarm& alarm : alarms)
            prepare(alarm);
        const Clock::time_point begin = Clock::now();
        for (Alarm& alarm : alarms)
            localize(state, alarm);
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - begin).count());
    }
    state.SetItemsProcessed(state.iterations() * batch);
}

void fresh_hit(benchmark::State& state) {
    localize_fresh(state, [](Alarm&) {});
}

void fresh_miss(benchmark::State& state) {
    localize_fresh(state, make_unknown);
}

void miss(benchmark::State& state) {
    auto alarms = localized(state, batch);
    for (auto _ : state) {
        state.PauseTiming();
        for (Alarm& alarm : alarms)
            make_unknown(alarm);
        state.ResumeTiming();
        for (Alarm& alarm : alarms)
            localize(state, alarm);
    }
    state.SetItemsProcessed(state.iterations() * batch);
}

void list_events(benchmark::State& state) {
    std::vector<plain::LoggedEventPtr> history;
    for (std::int64_t i = 1; i <= state.range(0); ++i) {
        history.push_back(new plain::PlainLoggedEvent(
            {.raised = i * 1'000'000, .cleared = i * 1'000'000 + 1000, .unique_id = static_cast<std::uint32_t>(i)}));
    }
    BenchExtension bench(1, static_cast<double>(state.range(0)), history);
    const Context context;
    for (auto _ : state) {
        Value events;
        bench.extension.on_get_events(context, events);
        state.PauseTiming();
        if (events.size() != history.size()) return state.SkipWithError("an event is missing");
        events = Value();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK(hit)->Name("localize/hit")->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(fresh_hit)->Name("fresh/hit")->UseManualTime();
// These runs are long enough to fill the caches, as in a server that has run for some time.
BENCHMARK(miss)->Name("localize/miss")->Threads(1)->Threads(2)->UseRealTime()->MinTime(0.5);
BENCHMARK(fresh_miss)->Name("fresh/miss")->UseManualTime()->MinTime(0.5);
BENCHMARK(list_events)->Name("on_get_events/this")->Arg(1'000)->Arg(10'000)->Arg(100'000);

} // namespace
