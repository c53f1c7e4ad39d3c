// A refresh that uploads 10,000 to 1,000,000 symbols from memory. The rival copies the same entries into a hash table
// without checks or analysis. "bytes" is the memory that stays allocated for one symbol.

#include "bench/upload_program.h"
#include "device/path/symbol_entry.h"
#include "device/request/index_groups.h"
#include "tests/fakes/fake_device_client.h"

#include <benchmark/benchmark.h>

#include <malloc.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <unordered_map>

using namespace ZoHmiFdx;

namespace {

const UploadProgram& program_of(std::size_t symbols) {
    static std::map<std::size_t, UploadProgram> programs;
    return programs.try_emplace(symbols, symbols).first->second;
}

fakes::DeviceAnswer cut(const zo_sim::UploadBytes& block, const fakes::DeviceRequest& request) {
    fakes::DeviceAnswer answer;
    const std::size_t start = std::min<std::size_t>(request.offset, block.size());
    const std::size_t length = std::min<std::size_t>(request.length, block.size() - start);
    answer.data.assign(block.begin() + std::ptrdiff_t(start), block.begin() + std::ptrdiff_t(start + length));
    return answer;
}

void serve(const UploadProgram& program) {
    fakes::device_client().reset();
    fakes::device_client().answer_by([&program, info = program.info()](const fakes::DeviceRequest& request) {
        return cut(request.group == group_symbol_upload     ? program.symbols
                   : request.group == group_datatype_upload ? program.datatypes
                                                            : info,
                   request);
    });
}

std::size_t allocated() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

void upload_this(benchmark::State& bench) {
    const UploadProgram& program = program_of(std::size_t(bench.range(0)));
    serve(program);
    FdxRuntime runtime("plc", {{{5, 12, 82, 40, 1, 1}}, 851}, "");
    runtime.set_enabled(true);
    double bytes = 0;
    for (auto _ : bench) {
        bench.PauseTiming();
        const std::size_t before = allocated();
        auto state = std::make_unique<State>();
        (void)state->configure(runtime);
        bench.ResumeTiming();
        if (state->refresh("plc").code() != 0) bench.SkipWithError("the refresh failed");
        bench.PauseTiming();
        (void)fakes::device_client().take_requests();
        bytes = double(allocated() - before) / double(program.symbol_count);
        state.reset();
        bench.ResumeTiming();
    }
    bench.counters["bytes"] = bytes;
    bench.SetItemsProcessed(bench.iterations() * bench.range(0));
}

struct PlainSymbol {
    FdxSymbolEntry head;
    std::string type;
    std::string comment;
    std::vector<unsigned char> rest;
};

void upload_unchecked(benchmark::State& bench) {
    const UploadProgram& program = program_of(std::size_t(bench.range(0)));
    double bytes = 0;
    for (auto _ : bench) {
        const std::size_t before = allocated();
        std::unordered_map<std::string, PlainSymbol> symbols;
        for (const unsigned char* at = program.symbols.data(); at != program.symbols.data() + program.symbols.size();) {
            PlainSymbol symbol;
            std::memcpy(&symbol.head, at, sizeof symbol.head);
            const char* text = reinterpret_cast<const char*>(at) + sizeof symbol.head;
            std::string name = text;
            symbol.type = text + name.size() + 1;
            symbol.comment = text + name.size() + symbol.type.size() + 2;
            symbol.rest.assign(at + sizeof symbol.head + name.size() + symbol.type.size() + symbol.comment.size() + 3,
                               at + symbol.head.entry_length);
            at += symbol.head.entry_length;
            symbols.emplace(std::move(name), std::move(symbol));
        }
        bytes = double(allocated() - before) / double(program.symbol_count);
        benchmark::DoNotOptimize(symbols);
    }
    bench.counters["bytes"] = bytes;
    bench.SetItemsProcessed(bench.iterations() * bench.range(0));
}

BENCHMARK(upload_this)
    ->Name("upload/this")
    ->RangeMultiplier(10)
    ->Range(10'000, 1'000'000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(upload_unchecked)
    ->Name("upload/unchecked")
    ->RangeMultiplier(10)
    ->Range(10'000, 1'000'000)
    ->Unit(benchmark::kMillisecond);

} // namespace
