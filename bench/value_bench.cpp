// A Value beside nlohmann::json. A Struct of 30 members is like the parameters of a large event; a Vector of 1,000 of
// them is like a listing.

#include "extension/host/value.h"

#include <benchmark/benchmark.h>

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

using Json = nlohmann::json;
using ZoHmiSrv::Value;
using ZoHmiSrv::ValueType;

namespace {

// In name order, as in most code that fills a Struct. The lengths are those of parameters' names.
constexpr const char* names[] = {
    "alarmState",    "batch",        "causeRemedy",  "comment",    "count",          "data",
    "details",       "deviceState",  "duration",     "eventClass", "eventClassName", "eventId",
    "jsonAttribute", "limit",        "line",         "location",   "maximum",        "measuredTemperature",
    "minimum",       "numArguments", "operatorName", "priority",   "recipeName",     "sequence",
    "severity",      "sourceGuid",   "sourceId",     "sourceName", "targetName",     "types",
};
constexpr std::size_t members = std::size(names);
constexpr int rows = 1000;
constexpr char short_text[] = "short text";
constexpr char long_text[] = "{08500001-0000-0000-F000-000000000064}";

// Texts, numbers and flags in turn. One text is too long to lie inside.
template <class Add>
void for_each_member(int row, Add&& add) {
    for (std::size_t i = 0; i < members; ++i) {
        switch (i % 5) {
        case 0:
            add(names[i], short_text);
            break;
        case 1:
            add(names[i], row);
            break;
        case 2:
            add(names[i], 0.5 * row);
            break;
        case 3:
            add(names[i], i % 2 == 0 ? long_text : short_text);
            break;
        default:
            add(names[i], true);
        }
    }
}

void fill(Value& target, int row) {
    target.set_type(ValueType::Struct);
    target.reserve(members);
    for_each_member(row, [&](const char* name, auto member) { target.insert_or_update(name, member); });
}
void fill(Json& target, int row) {
    for_each_member(row, [&](const char* name, auto member) { target[name] = member; });
}

template <class Tree>
struct Record {
    static constexpr std::size_t batch = 64;
    static Tree build() {
        Tree record;
        fill(record, 7);
        return record;
    }
};

template <class Tree>
struct Listing;
template <>
struct Listing<Value> {
    static constexpr std::size_t batch = 1;
    static Value build() {
        Value list;
        list.set_type(ValueType::Vector);
        list.reserve(rows);
        for (int row = 0; row < rows; ++row) {
            Value record;
            fill(record, row);
            list << std::move(record);
        }
        return list;
    }
};
template <>
struct Listing<Json> {
    static constexpr std::size_t batch = 1;
    static Json build() {
        Json list = Json::array();
        list.get_ref<Json::array_t&>().reserve(rows);
        for (int row = 0; row < rows; ++row) {
            Json record;
            fill(record, row);
            list.push_back(std::move(record));
        }
        return list;
    }
};

[[gnu::always_inline]] inline bool has(const Value& record, const char* name) {
    return record[name].isset();
}
[[gnu::always_inline]] inline bool has(const Json& record, const char* name) {
    return record.find(name) != record.end();
}

// Finds each member of a record by names that the compiler knows, as most code does.
struct KnownNames {
    template <class Tree>
    std::size_t find_in(const Tree& record) const {
        return find(record, std::make_index_sequence<members>());
    }

private:
    template <class Tree, std::size_t... I>
    static std::size_t find(const Tree& record, std::index_sequence<I...>) {
        return (std::size_t{has(record, names[I])} + ...);
    }
};
// The same by names that the compiler does not know.
struct ForeignNames {
    template <class Tree>
    std::size_t find_in(const Tree& record) const {
        std::size_t found = 0;
        for (const std::string& text : texts)
            found += has(record, text.c_str());
        return found;
    }

    std::vector<std::string> texts{std::begin(names), std::end(names)};
};

std::size_t iterate(const Value& record) {
    std::size_t sum = 0;
    for (auto member = record.begin(); member != record.end(); ++member)
        sum += static_cast<unsigned char>(*member.name()) + static_cast<std::size_t>(member->type());
    return sum;
}
std::size_t iterate(const Json& record) {
    std::size_t sum = 0;
    for (auto member = record.begin(); member != record.end(); ++member)
        sum += static_cast<unsigned char>(*member.key().c_str()) + static_cast<std::size_t>(member->type());
    return sum;
}

template <class Visit>
void for_each_row(const Value& list, Visit&& visit) {
    for (auto row = list.begin_vector(); row != list.end_vector(); ++row)
        visit(*row);
}
template <class Visit>
void for_each_row(const Json& list, Visit&& visit) {
    for (const Json& row : list)
        visit(row);
}

template <class Tree, template <class> class Shape>
void build(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        std::vector<Tree> built;
        built.reserve(Shape<Tree>::batch);
        state.ResumeTiming();
        while (built.size() < built.capacity())
            built.push_back(Shape<Tree>::build());
        benchmark::DoNotOptimize(built.data());
        state.PauseTiming();
        built.clear();
        state.ResumeTiming();
    }
}

template <class Tree, class Names>
void look_up_record(benchmark::State& state) {
    const Tree record = Record<Tree>::build();
    const Names wanted;
    for (auto _ : state)
        if (wanted.find_in(record) != members) return state.SkipWithError("a member is missing");
}
template <class Tree, class Names>
void look_up_listing(benchmark::State& state) {
    const Tree list = Listing<Tree>::build();
    const Names wanted;
    for (auto _ : state) {
        std::size_t found = 0;
        for_each_row(list, [&](const Tree& row) { found += wanted.find_in(row); });
        if (found != members * rows) return state.SkipWithError("a member is missing");
    }
}

template <class Tree>
void iterate_record(benchmark::State& state) {
    const Tree record = Record<Tree>::build();
    for (auto _ : state)
        benchmark::DoNotOptimize(iterate(record));
}
template <class Tree>
void iterate_listing(benchmark::State& state) {
    const Tree list = Listing<Tree>::build();
    for (auto _ : state) {
        std::size_t sum = 0;
        for_each_row(list, [&](const Tree& row) { sum += iterate(row); });
        benchmark::DoNotOptimize(sum);
    }
}

template <class Tree, template <class> class Shape>
void copy(benchmark::State& state) {
    const Tree original = Shape<Tree>::build();
    for (auto _ : state) {
        state.PauseTiming();
        std::vector<Tree> copies;
        copies.reserve(Shape<Tree>::batch);
        state.ResumeTiming();
        while (copies.size() < copies.capacity())
            copies.push_back(original);
        benchmark::DoNotOptimize(copies.data());
        state.PauseTiming();
        copies.clear();
        state.ResumeTiming();
    }
}

template <class Tree, template <class> class Shape>
void destroy(benchmark::State& state) {
    const Tree original = Shape<Tree>::build();
    for (auto _ : state) {
        state.PauseTiming();
        std::vector<Tree> copies(Shape<Tree>::batch, original);
        benchmark::DoNotOptimize(copies.data());
        state.ResumeTiming();
        copies.clear();
    }
}

template <class Tree, template <class> class Shape>
void compare(benchmark::State& state) {
    const Tree original = Shape<Tree>::build();
    const Tree copy = Shape<Tree>::build();
    for (auto _ : state)
        if (!(original == copy)) return state.SkipWithError("the copy differs");
}

BENCHMARK(build<Value, Record>)->Name("build_struct/this");
BENCHMARK(build<Json, Record>)->Name("build_struct/nlohmann_json");
BENCHMARK(look_up_record<Value, KnownNames>)->Name("look_up_struct/this");
BENCHMARK(look_up_record<Json, KnownNames>)->Name("look_up_struct/nlohmann_json");
BENCHMARK(look_up_record<Value, ForeignNames>)->Name("look_up_foreign_struct/this");
BENCHMARK(look_up_record<Json, ForeignNames>)->Name("look_up_foreign_struct/nlohmann_json");
BENCHMARK(look_up_listing<Value, KnownNames>)->Name("look_up_vector/this");
BENCHMARK(look_up_listing<Json, KnownNames>)->Name("look_up_vector/nlohmann_json");
BENCHMARK(look_up_listing<Value, ForeignNames>)->Name("look_up_foreign_vector/this");
BENCHMARK(look_up_listing<Json, ForeignNames>)->Name("look_up_foreign_vector/nlohmann_json");
BENCHMARK(iterate_record<Value>)->Name("iterate_struct/this");
BENCHMARK(iterate_record<Json>)->Name("iterate_struct/nlohmann_json");
BENCHMARK(copy<Value, Record>)->Name("copy_struct/this");
BENCHMARK(copy<Json, Record>)->Name("copy_struct/nlohmann_json");
BENCHMARK(destroy<Value, Record>)->Name("destroy_struct/this");
BENCHMARK(destroy<Json, Record>)->Name("destroy_struct/nlohmann_json");
BENCHMARK(compare<Value, Record>)->Name("compare_struct/this");
BENCHMARK(compare<Json, Record>)->Name("compare_struct/nlohmann_json");
BENCHMARK(build<Value, Listing>)->Name("build_vector/this");
BENCHMARK(build<Json, Listing>)->Name("build_vector/nlohmann_json");
BENCHMARK(iterate_listing<Value>)->Name("iterate_vector/this");
BENCHMARK(iterate_listing<Json>)->Name("iterate_vector/nlohmann_json");
BENCHMARK(copy<Value, Listing>)->Name("copy_vector/this");
BENCHMARK(copy<Json, Listing>)->Name("copy_vector/nlohmann_json");
BENCHMARK(destroy<Value, Listing>)->Name("destroy_vector/this");
BENCHMARK(destroy<Json, Listing>)->Name("destroy_vector/nlohmann_json");
BENCHMARK(compare<Value, Listing>)->Name("compare_vector/this");
BENCHMARK(compare<Json, Listing>)->Name("compare_vector/nlohmann_json");

} // namespace
