// Reduction of the 1,000 paths of an ordinary controller program, beside emptying the groups in place and a regular
// expression. "allocations" is the average for one path. Short texts need none.

#include "device/path/symbol_path.h"
#include "tests/device/path/path_text.h"
#include "tests/server_api/allocations.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <regex>
#include <string>
#include <vector>

using namespace ZoHmiFdx;
using path_text::empty_groups_in_place;

namespace {

/// A program's variables: two to six parts, a third of them with indices, some pointers and references.
std::vector<UniqueFdxPath> make_paths() {
    const char* roots[] = {"MAIN", "GVL_Machine", "GVL_Recipes", "P_Line"};
    const char* words[] = {"axis",    "fbDrive", "stStatus",       "arrPumps", "nState", "aRecipeSteps",
                           "pBuffer", "rConfig", "stTemperatures", "x",        "y",      "lastErrorText"};
    std::mt19937 random(1000);
    const auto pick = [&random](const auto& list) { return std::string(list[random() % std::size(list)]); };
    std::vector<UniqueFdxPath> list;
    while (list.size() < 1000) {
        UniqueFdxPath path;
        path.push_back_subitem(pick(roots));
        const auto parts = 1 + random() % 5;
        for (auto i = parts; i > 0; --i) {
            path.push_back_subitem(pick(words));
            const auto kind = random() % 100;
            if (kind < 25) path.push_back_indices("[" + std::to_string(random() % 1000) + "]");
            if (kind < 8) path.push_back_indices("[1," + std::to_string(random() % 50) + "]");
            if (kind >= 90) path.append_indices_and_dereference_operators(kind < 95 ? "^" : "`");
        }
        list.push_back(std::move(path));
    }
    return list;
}

const std::vector<UniqueFdxPath>& paths() {
    static const std::vector<UniqueFdxPath> list = make_paths();
    return list;
}

const std::vector<SanitizedUniqueFdxPath>& sanitized_paths() {
    static const auto list = [] {
        std::vector<SanitizedUniqueFdxPath> sanitized;
        std::transform(paths().begin(), paths().end(), std::back_inserter(sanitized), sanitize);
        return sanitized;
    }();
    return list;
}

template <typename Path, typename Reduce>
void run(benchmark::State& state, const std::vector<Path>& list, Reduce reduce) {
    std::size_t size = 0;
    const std::size_t allocated = allocations::count();
    for (auto _ : state) {
        for (const Path& path : list)
            size += reduce(path).size();
        benchmark::DoNotOptimize(size);
    }
    const auto items = state.iterations() * std::int64_t(list.size());
    state.counters["allocations"] = double(allocations::count() - allocated) / double(items);
    state.SetItemsProcessed(items);
}

std::string erase_marks_in_place(std::string text) {
    for (const char mark : {'^', '`', '[', ']'})
        std::erase(text, mark);
    return text;
}

const std::regex groups(R"(\[[^\]]*\])", std::regex::optimize);
const std::regex marks(R"([\^`\[\]])", std::regex::optimize);

#define COMPARE(family, way, list, reduced)                                                                            \
    void family##_##way(benchmark::State& state) {                                                                     \
        run(state, list(), [](const auto& path) { return reduced; });                                                  \
    }                                                                                                                  \
    BENCHMARK(family##_##way)->Name(#family "/" #way)

COMPARE(sanitize, this, paths, sanitize(path));
COMPARE(sanitize, in_place, paths, empty_groups_in_place(path.str()));
COMPARE(sanitize, regex, paths, std::regex_replace(path.str(), groups, "[]"));

COMPARE(simplify, this, sanitized_paths, simplify(path));
COMPARE(simplify, in_place, sanitized_paths, erase_marks_in_place(path.str()));
COMPARE(simplify, regex, sanitized_paths, std::regex_replace(path.str(), marks, ""));

COMPARE(both, in_one_pass, paths, to_lookup(path));
COMPARE(both, in_two_steps, paths, simplify(sanitize(path)));
COMPARE(both, in_place, paths, erase_marks_in_place(empty_groups_in_place(path.str())));

} // namespace
