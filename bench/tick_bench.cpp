// One tick over connected targets without a change.

#include "bench/bench_extension.h"

#include <benchmark/benchmark.h>

namespace {

void tick(benchmark::State& state) {
    BenchExtension bench(static_cast<int>(state.range(0)), 1000);
    const ZoHmiSrv::Context context;
    for (auto _ : state)
        bench.extension.on_timer(ZoHmiSrv::TimerError::none, context);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK(tick)->Name("tick/this")->Arg(1)->Arg(16)->Arg(64);

} // namespace
