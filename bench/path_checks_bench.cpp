// The checks for hidden, whitelisted and read-only on random paths of two to eight parts, in programs of 1,000 to
// 1,000,000 symbols. The rival has the same tables as four trees, walked one after the other. Another benchmark is the
// translation of a client's path, for the first time and again. An iteration is one path.

#include "bench/upload_program.h"
#include "tests/device/runtime/literal_lookup.h"

#include <benchmark/benchmark.h>

#include <map>

using namespace ZoHmiFdx;

namespace {

struct Plant {
    explicit Plant(std::size_t symbols) : config(UploadProgram(symbols).config(state)) {
        FdxRuntime runtime = config->runtime_revision();
        runtime.set_uses_whitelisting(true);
        config->set_runtime_revision(runtime);
        std::mt19937 random(7);
        for (std::size_t i = 0; i < 100'000; ++i) {
            std::string text = UploadProgram::name_of(random() % symbols);
            for (auto parts = random() % 5; parts > 0; --parts) {
                const auto member = unsigned(random() % 6);
                text += std::string(".") + UploadProgram::member_of(member);
                if (member == 4) text += "[" + std::to_string(random() % 10) + "]";
            }
            if (random() % 10 == 0) text.resize(text.find('.'));
            paths.emplace_back().str() = text;
        }
    }
    const UniqueFdxPath& path(std::size_t i) const { return paths[i % paths.size()]; }

    State state;
    std::shared_ptr<RuntimeConfig> config;
    std::vector<UniqueFdxPath> paths;
    std::map<LookupFlag, LookupTable> trees;
};

Plant& plant_of(std::size_t symbols) {
    static std::map<std::size_t, std::unique_ptr<Plant>> plants;
    auto& plant = plants[symbols];
    if (!plant) plant = std::make_unique<Plant>(symbols);
    return *plant;
}

void checks_this(benchmark::State& bench) {
    const Plant& plant = plant_of(std::size_t(bench.range(0)));
    std::size_t i = 0;
    for (auto _ : bench)
        benchmark::DoNotOptimize(plant.config->tables_of(plant.path(i++)));
}

// The checks of a reader and of a writer, each with a walk of its own.
void checks_one_by_one(benchmark::State& bench) {
    const Plant& plant = plant_of(std::size_t(bench.range(0)));
    std::size_t i = 0;
    for (auto _ : bench) {
        const UniqueFdxPath& path = plant.path(i++);
        benchmark::DoNotOptimize(plant.config->is_hidden_or_not_whitelisted(path));
        benchmark::DoNotOptimize(plant.config->is_in_a_whitelisted_tree(path));
        benchmark::DoNotOptimize(plant.config->is_readonly(path));
    }
}

void checks_literal(benchmark::State& bench) {
    Plant& plant = plant_of(std::size_t(bench.range(0)));
    if (plant.trees.empty())
        for (const LookupFlag flag : literal::all_flags)
            plant.trees[flag] = plant.config->get_lookup_table(flag);
    std::size_t i = 0;
    for (auto _ : bench) {
        const std::string lookup = simplify(sanitize(plant.path(i++))).str();
        for (const LookupFlag flag : literal::all_flags)
            benchmark::DoNotOptimize(literal::is_in(plant.trees[flag], flag, lookup));
    }
}

void translate(benchmark::State& bench, bool cached) {
    Plant& plant = plant_of(std::size_t(bench.range(0)));
    constexpr std::size_t kept = 1000;
    std::vector<UnqualifiedFdxPath> paths;
    for (std::size_t i = 0; i < kept; ++i)
        paths.emplace_back(plant.path(i).str());
    std::size_t i = 0;
    for (auto _ : bench) {
        if (!cached && i % kept == 0) {
            bench.PauseTiming();
            plant.config->path_results().clear();
            bench.ResumeTiming();
        }
        benchmark::DoNotOptimize(plant.state.translate_path(plant.config, paths[i++ % kept]));
    }
}

void translate_cached(benchmark::State& bench) {
    translate(bench, true);
}
void translate_cold(benchmark::State& bench) {
    translate(bench, false);
}

#define AT_ALL_SIZES(function, name) BENCHMARK(function)->Name(name)->RangeMultiplier(10)->Range(1'000, 1'000'000)
AT_ALL_SIZES(checks_this, "checks/this");
AT_ALL_SIZES(checks_one_by_one, "checks/one_by_one");
AT_ALL_SIZES(checks_literal, "checks/literal");
AT_ALL_SIZES(translate_cached, "translate/this");
AT_ALL_SIZES(translate_cold, "translate/cold");

} // namespace
