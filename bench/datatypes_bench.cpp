// Construction of the 100,000 datatypes of a very large controller program from their descriptions, beside plain
// copies. Look-up of the members of usual and of large structures, beside a walk in declared order and a hash table for
// each type. "allocations" is the average for one type or one look-up.

#include "device/type/datatype.h"
#include "tests/server_api/allocations.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

using namespace ZoHmiFdx;
using ZoHmiSrv::ValueType;

namespace {

using Descriptions = std::vector<DatatypeDescription>;

DatatypeDescription structure(std::mt19937& random, const std::string& name, unsigned max_members = 25) {
    const char* words[] = {"axis",    "fbDrive", "stStatus",       "arrPumps", "nState", "aRecipeSteps",
                           "pConfig", "bReady",  "stTemperatures", "x",        "y",      "lastErrorText"};
    const char* types[] = {"BOOL", "INT", "LREAL", "STRING(80)", "ST_Status", "ARRAY [1..10] OF REAL"};
    DatatypeDescription description;
    description.item_name = description.type_name = name;
    description.hmi_type = ValueType::Struct;
    description.fdx_type = FdxDataType::Composite;
    Attributes shown;
    shown.add("ZoHmiSymbol.Show", "");
    shown.add("unit", "mm");
    const auto count = int(2 + random() % (max_members - 1));
    for (int i = 0; i < count; ++i) {
        description.subitems.emplace_back(std::string(words[random() % std::size(words)]) + std::to_string(i),
                                          types[random() % std::size(types)], i * 8, 8, "",
                                          random() % 4 == 0 ? shown : Attributes());
    }
    description.size = count * 8;
    return description;
}

/// Of ten types four are structures and three arrays; the others are enumerations, pointers and strings.
Descriptions make_descriptions() {
    std::mt19937 random(100'000);
    Descriptions list;
    for (int i = 0; i < 100'000; ++i) {
        const std::string number = std::to_string(i);
        DatatypeDescription description;
        switch (random() % 10) {
        case 0:
        case 1:
        case 2:
        case 3:
            description = structure(random, "ST_Part" + number);
            break;
        case 4:
        case 5:
        case 6:
            description.item_name = "ARRAY [0.." + number + "] OF LREAL";
            description.type_name = "LREAL";
            description.hmi_type = ValueType::Vector;
            description.fdx_type = FdxDataType::LReal;
            description.size = (i + 1) * 8;
            description.array_info = ArrayInfo({{0, std::uint64_t(i) + 1}}, "LREAL");
            break;
        case 7:
            description.item_name = "E_Mode" + number;
            description.type_name = "INT";
            description.hmi_type = ValueType::Int;
            description.fdx_type = FdxDataType::Int16;
            description.size = 2;
            description.enum_items = {{"off", 0}, {"manual", 1}, {"automatic", 2}, {"fault", -1}};
            break;
        case 8:
            description.item_name = "POINTER TO ST_Part" + number;
            description.type_name = "ST_Part" + number;
            description.flags = 4;
            description.size = 8;
            description.fdx_type = FdxDataType::Composite;
            break;
        default:
            description.item_name = description.type_name = "STRING(" + number + ")";
            description.hmi_type = ValueType::String;
            description.fdx_type = FdxDataType::String;
            description.size = i + 1;
        }
        list.push_back(std::move(description));
    }
    return list;
}

const Descriptions& descriptions() {
    static const Descriptions list = make_descriptions();
    return list;
}

void count(benchmark::State& state, std::size_t items, std::size_t allocated) {
    const auto all = state.iterations() * std::int64_t(items);
    state.counters["allocations"] = double(allocated) / double(all);
    state.SetItemsProcessed(all);
}

/// Makes one object from each description. `taken` returns the descriptions.
template <typename Taken, typename Make>
void build(benchmark::State& state, Taken taken, Make make) {
    std::size_t allocated = 0;
    for (auto _ : state) {
        state.PauseTiming();
        {
            auto&& list = taken();
            std::vector<decltype(make(list[0]))> made;
            made.reserve(list.size());
            const std::size_t before = allocations::count();
            state.ResumeTiming();
            for (auto& description : list)
                made.push_back(make(description));
            benchmark::DoNotOptimize(made.data());
            state.PauseTiming();
            allocated += allocations::count() - before;
        }
        state.ResumeTiming();
    }
    count(state, descriptions().size(), allocated);
}

void build_moved(benchmark::State& state) {
    build(
        state, [] { return Descriptions(descriptions()); },
        [](DatatypeDescription& description) { return std::make_shared<const Datatype>(std::move(description)); });
}

void build_copied(benchmark::State& state) {
    build(
        state, []() -> const Descriptions& { return descriptions(); },
        [](const DatatypeDescription& description) { return std::make_shared<const Datatype>(description); });
}

void build_bare_copy(benchmark::State& state) {
    build(
        state, []() -> const Descriptions& { return descriptions(); },
        [](const DatatypeDescription& description) {
            return std::make_shared<const DatatypeDescription>(description);
        });
}

struct Members {
    Datatype type;
    std::unordered_map<std::string, std::size_t> by_name;
    std::vector<std::string> questions;
};

std::vector<Members> make_members(std::size_t types, unsigned max_members) {
    std::mt19937 random(7);
    std::vector<Members> list;
    while (list.size() < types) {
        Members made{Datatype(structure(random, "ST_Part", max_members)), {}, {}};
        for (const SubItem& item : made.type.subitems()) {
            made.by_name.emplace(item.name(), made.by_name.size());
            made.questions.push_back(item.name());
        }
        std::shuffle(made.questions.begin(), made.questions.end(), random);
        list.push_back(std::move(made));
    }
    return list;
}

const std::vector<Members>& usual() {
    static const auto list = make_members(1000, 25);
    return list;
}

const std::vector<Members>& large() {
    static const auto list = make_members(20, 1500);
    return list;
}

template <typename Find>
void find(benchmark::State& state, const std::vector<Members>& members, Find find_in) {
    std::size_t asked = 0;
    for (const Members& of : members)
        asked += of.questions.size();
    const std::size_t before = allocations::count();
    std::size_t sum = 0;
    for (auto _ : state) {
        for (const Members& of : members)
            for (const std::string& name : of.questions)
                sum += find_in(of, name);
        benchmark::DoNotOptimize(sum);
    }
    count(state, asked, allocations::count() - before);
}

std::size_t find_subitem(const Members& of, const std::string& name) {
    return std::size_t(of.type.find_subitem(name) - of.type.subitems().begin());
}

std::size_t walk(const Members& of, const std::string& name) {
    const auto& items = of.type.subitems();
    const std::string cut = name.substr(0, name.find_first_of("^`"));
    const auto same = [&](const SubItem& item) { return item.name() == cut; };
    return std::size_t(std::find_if(items.begin(), items.end(), same) - items.begin());
}

std::size_t ask_hash_table(const Members& of, const std::string& name) {
    return of.by_name.find(name.substr(0, name.find_first_of("^`")))->second;
}

BENCHMARK(build_moved)->Name("build/moved")->Unit(benchmark::kMillisecond);
BENCHMARK(build_copied)->Name("build/copied")->Unit(benchmark::kMillisecond);
BENCHMARK(build_bare_copy)->Name("build/bare_copy")->Unit(benchmark::kMillisecond);

#define COMPARE(members)                                                                                               \
    BENCHMARK_CAPTURE(find, find_subitem, members(), find_subitem)->Name("find_" #members "/this");                    \
    BENCHMARK_CAPTURE(find, walk, members(), walk)->Name("find_" #members "/walk");                                    \
    BENCHMARK_CAPTURE(find, hash_table, members(), ask_hash_table)->Name("find_" #members "/hash_table")

COMPARE(usual);
COMPARE(large);

} // namespace
