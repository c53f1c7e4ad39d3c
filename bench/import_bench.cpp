// The import of a target whose logger has N events. Each event is also sent as a callback while the import fetches, so
// that the import must recognise N recorded callbacks. One row uses memory that the process already has, as after a
// reconnect. Another row uses new memory, as at the start. Other rows show the recognition alone, beside a walk over
// the keys.

#include "bench/bench_extension.h"
#include "targets/event_key.h"
#include "targets/target_system.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <limits>
#include <malloc.h>
#include <memory>
#include <vector>

using ZoEventLoggerFdxProxyLib::EventTypeAlarm;
using ZoEventLoggerFdxProxyLib::EventTypeMessage;
using ZoHmiEventLogger::EventKey;

namespace {

/// The same events twice: as entries of the log, oldest first, and as callbacks.
struct Log {
    explicit Log(std::int64_t count) {
        for (std::int64_t i = 1; i <= count; ++i) {
            const bool is_alarm = i % 2 == 0;
            const plain::EventFields fields{.raised = i * 1'000'000,
                                            .cleared = i * 1'000'000 + 1000,
                                            .unique_id = static_cast<std::uint32_t>(i),
                                            .type = is_alarm ? EventTypeAlarm : EventTypeMessage};
            history.push_back(new plain::PlainLoggedEvent(fields));
            if (is_alarm)
                alarms.push_back(new plain::PlainAlarm(fields));
            else
                messages.push_back(new plain::PlainMessage(fields));
        }
    }
    std::vector<plain::LoggedEventPtr> history;
    std::vector<plain::AlarmPtr> alarms;
    std::vector<plain::MessagePtr> messages;
};

enum class Memory { Kept, New };

// The allocator returns memory to the system when much memory is free. Then only large imports would pay for new memory
// each time.
void keep_memory() {
    mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
    mallopt(M_MMAP_MAX, 0);
}

/// Connects a new target through `run`. Returns true if its store equals the log.
template <class Run>
bool import_once(fakes::QuietHost& host, const Log& log, Run&& run) {
    const auto limit = static_cast<std::uint32_t>(log.history.size());
    ZoHmiEventLogger::ZoHmiEventLogger listener(&host);
    plain::prepare_loggers(1, log.history);
    ZoHmiEventLogger::TargetSystem target("HMI", &listener, "T", "5.1.2.3.1.1", ZoHmiSrv::Timespan(5'000'000'000),
                                          limit, std::make_shared<std::atomic<bool>>(false),
                                          std::make_shared<std::atomic<std::uint32_t>>(1));
    plain::latest_logger()->alarms_meanwhile = log.alarms;
    plain::latest_logger()->messages_meanwhile = log.messages;
    ZoHmiEventLogger::LockHolder holder;
    bool imported = false;
    run([&] { imported = target.connect(holder); });
    return imported && target.counters().cached_alarms + target.counters().cached_messages == limit;
}

template <Memory memory>
void import_log(benchmark::State& state) {
    keep_memory();
    const Log log(state.range(0));
    fakes::QuietHost host({});
    bool complete = import_once(host, log, [](auto connect) { connect(); });
    for (auto _ : state) {
        state.PauseTiming();
        if (memory == Memory::New) malloc_trim(0);
        const bool imported = import_once(host, log, [&](auto connect) {
            state.ResumeTiming();
            connect();
            state.PauseTiming();
        });
        complete = complete && imported;
        state.ResumeTiming();
    }
    if (!complete) state.SkipWithError("the store is not what the log holds");
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

std::vector<EventKey> keys(std::int64_t count) {
    std::vector<EventKey> made;
    for (std::int64_t i = 1; i <= count; ++i)
        made.emplace_back(static_cast<std::uint32_t>(i), i * 1'000'000, plain::event_class, 7);
    return made;
}

void recognise_by_set(benchmark::State& state) {
    const auto all = keys(state.range(0));
    for (auto _ : state) {
        ZoHmiEventLogger::EventKeySet set;
        set.reserve(all.size());
        for (const EventKey& key : all)
            set.add(key);
        std::size_t found = 0;
        for (const EventKey& key : all)
            found += set.contains(key);
        if (found != all.size()) return state.SkipWithError("a key is missing");
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void recognise_by_walk(benchmark::State& state) {
    const auto all = keys(state.range(0));
    for (auto _ : state) {
        const std::vector<EventKey> list(all);
        std::size_t found = 0;
        for (const EventKey& key : all)
            found += std::find(list.begin(), list.end(), key) != list.end();
        if (found != all.size()) return state.SkipWithError("a key is missing");
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK(import_log<Memory::Kept>)->Name("import/this")->Arg(1'000)->Arg(10'000)->Arg(100'000);
BENCHMARK(import_log<Memory::New>)->Name("import/new_memory")->Arg(1'000)->Arg(10'000)->Arg(100'000);
BENCHMARK(recognise_by_set)->Name("recognise/this")->Arg(1'000)->Arg(10'000)->Arg(100'000);
BENCHMARK(recognise_by_walk)->Name("recognise/walk")->Arg(1'000)->Arg(10'000);

} // namespace
