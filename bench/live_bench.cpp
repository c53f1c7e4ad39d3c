// A live alarm from the sink's Invoke to the server's notify_alarm. The store of the target is full, so each alarm
// evicts an event. The rival builds the same record as nlohmann::json and copies it three times.

#include "bench/bench_extension.h"
#include "tests/server_api/allocations.h"

#include <benchmark/benchmark.h>

#include <nlohmann/json.hpp>

#include <cstdint>
#include <utility>
#include <vector>

using Json = nlohmann::json;

namespace {

constexpr int limit = 1000;
constexpr int batch = 256;

class AlarmSource {
public:
    std::vector<plain::AlarmPtr> next(int count) {
        std::vector<plain::AlarmPtr> alarms;
        for (int i = 0; i < count; ++i) {
            ++count_;
            alarms.push_back(new plain::PlainAlarm({.raised = count_ * 1'000'000'000, .unique_id = count_}));
        }
        return alarms;
    }

private:
    std::uint32_t count_ = 0;
};

void clear_all(BenchExtension& bench, const std::vector<plain::AlarmPtr>& alarms) {
    for (const plain::AlarmPtr& alarm : alarms)
        bench.logger->clear(alarm, VARIANT_TRUE);
}

void live_alarm(benchmark::State& state) {
    BenchExtension bench(1, limit);
    AlarmSource source;
    const auto first = source.next(limit);
    for (const plain::AlarmPtr& alarm : first)
        bench.logger->raise(alarm);
    clear_all(bench, first);

    const std::size_t forgotten = bench.host.forgotten;
    std::size_t allocated = 0;
    for (auto _ : state) {
        state.PauseTiming();
        const auto alarms = source.next(batch);
        const std::size_t before = allocations::count();
        state.ResumeTiming();
        for (const plain::AlarmPtr& alarm : alarms)
            bench.logger->raise(alarm);
        state.PauseTiming();
        allocated += allocations::count() - before;
        clear_all(bench, alarms); // they become history
        state.ResumeTiming();
    }
    const auto raised = static_cast<std::size_t>(state.iterations()) * batch;
    if (bench.host.forgotten - forgotten != raised) state.SkipWithError("not one event forgotten each");
    state.SetItemsProcessed(static_cast<std::int64_t>(raised));
    state.counters["allocations"] = static_cast<double>(allocated) / static_cast<double>(raised);
}

Json make_record(std::uint32_t id) {
    const std::int64_t raised = id * std::int64_t{1'000'000'000};
    const auto& block = plain::argument_block;
    Json parameters;
    parameters["targetName"] = "T1";
    parameters["eventClass"] = "{08500001-1234-5678-F000-000000000064}";
    parameters["eventId"] = static_cast<double>(id % 100);
    parameters["sourceId"] = 7.0;
    parameters["sourceName"] = "Main.Filler.Axis[3]";
    parameters["sourceGuid"] = "{0A0B0C0D-4321-8765-A001-020304050607}";
    parameters["jsonAttribute"] = R"({"line": 3, "unit": "filler"})";
    parameters["numArguments"] = 2.0;
    parameters["types"] = Json::binary({block.begin(), block.begin() + 8});
    parameters["data"] = Json::binary({block.begin() + 8, block.end()});
    Json payload;
    payload["name"] = "ZOEVENTLOGGER_ALARM";
    payload["domain"] = "HMI";
    payload["id"] = id;
    payload["severity"] = 2;
    payload["alarmState"] = 0;
    payload["confirmationState"] = 1;
    payload["timeRaised"] = raised;
    payload["timeCleared"] = 0;
    payload["timeConfirmed"] = 0;
    payload["parameters"] = std::move(parameters);
    Json record;
    record["name"] = "ZOEVENTLOGGER_ALARM";
    record["domain"] = "HMI";
    record["timeReceived"] = raised;
    record["payload"] = std::move(payload);
    return record;
}

void json_record(benchmark::State& state) {
    std::uint32_t id = 0;
    const std::size_t allocated = allocations::count();
    for (auto _ : state) {
        for (int i = 0; i < batch; ++i) {
            const Json record = make_record(++id);
            const Json first = record, second = record, third = record;
            benchmark::DoNotOptimize(&third);
        }
    }
    const auto built = static_cast<std::size_t>(state.iterations()) * batch;
    state.SetItemsProcessed(static_cast<std::int64_t>(built));
    state.counters["allocations"] = static_cast<double>(allocations::count() - allocated) / static_cast<double>(built);
}

BENCHMARK(live_alarm)->Name("alarm/this");
BENCHMARK(json_record)->Name("alarm/nlohmann_json");

} // namespace
