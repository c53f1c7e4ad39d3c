// Classification of the 1,000 type names of an ordinary controller program, beside a search over all rows and a hash
// map. The hash map has only exact names: no lengths of strings, no subranges, no pointers.

#include "device/type/detail/data_type_table.h"
#include "device/type/detail/type_name_table.h"
#include "device/type/type_name.h"
#include "tests/server_api/allocations.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

using namespace ZoHmiFdx;
using ZoHmiSrv::ValueType;

namespace {

struct SizedName {
    int size;
    std::string name;
};

/// Elementary types (55 of 100), declared types, arrays, pointers and strings, in the mix of a program's symbols and
/// members.
std::vector<SizedName> make_names() {
    const SizedName elementary[] = {
        {1, "BOOL"}, {1, "BOOL"},  {1, "BOOL"}, {1, "BOOL"},  {2, "INT"},   {2, "INT"},           {2, "UINT"},
        {4, "DINT"}, {4, "DINT"},  {4, "REAL"}, {4, "REAL"},  {8, "LREAL"}, {8, "LREAL"},         {4, "UDINT"},
        {2, "WORD"}, {4, "DWORD"}, {1, "BYTE"}, {1, "USINT"}, {1, "SINT"},  {4, "TIME"},          {8, "ULINT"},
        {8, "LINT"}, {8, "LWORD"}, {4, "TOD"},  {8, "LTIME"}, {4, "DT"},    {4, "DATE_AND_TIME"}, {1, "BIT"},
    };
    const char* prefixes[] = {"ST_", "FB_", "E_", "T_", "I_", "UDT_", "ns.ST_"};
    const char* words[] = {"Axis", "Pump", "Valve", "Recipe", "Motor", "Status", "Command", "Heater", "Unit", "Limits"};
    std::mt19937 random(1000);
    const auto pick = [&random](const auto& list) -> const auto& {
        return list[random() % std::size(list)];
    };
    const auto declared = [&] { return std::string(pick(prefixes)) + pick(words) + pick(words); };
    const auto number = [&random] { return std::to_string(1 + random() % 255); };

    std::vector<SizedName> names;
    while (names.size() < 1000) {
        const auto kind = random() % 100;
        if (kind < 55)
            names.push_back(pick(elementary));
        else if (kind < 75)
            names.push_back({48, declared()});
        else if (kind < 85)
            names.push_back({81, "STRING(" + number() + ")"});
        else if (kind < 93)
            names.push_back({64, "ARRAY [0.." + number() + "] OF " + pick(elementary).name});
        else if (kind < 97)
            names.push_back({8, "POINTER TO " + declared()});
        else
            names.push_back({2, "INT(0.." + number() + ")"});
    }
    return names;
}

/// The ordinary list, or 1,000 of its exact names.
const std::vector<SizedName>& names(bool exact_only) {
    static const std::vector<SizedName> all = make_names();
    static const std::vector<SizedName> exact = [] {
        std::vector<SizedName> list;
        for (std::size_t i = 0; list.size() < all.size(); i = (i + 1) % all.size())
            if (all[i].name.find_first_of("([_. ") == std::string::npos) list.push_back(all[i]);
        return list;
    }();
    return exact_only ? exact : all;
}

/// Counts the known names, so that the compiler removes nothing, and the allocations.
template <typename Parse>
void run(benchmark::State& state, bool exact_only, Parse parse) {
    const auto& list = names(exact_only);
    std::size_t known = 0;
    const std::size_t allocated = allocations::count();
    for (auto _ : state) {
        known = 0;
        for (const SizedName& name : list) {
            auto value = ValueType::Null;
            auto type = FdxDataType::Void;
            parse(name.size, name.name.c_str(), value, type);
            known += type != FdxDataType::Void && value != ValueType::Null;
        }
        benchmark::DoNotOptimize(known);
    }
    state.counters["allocations"] = double(allocations::count() - allocated);
    state.counters["known"] = double(known);
    state.SetItemsProcessed(state.iterations() * std::int64_t(list.size()));
}

void write(int size, FdxDataType found, TypeNameSize rule, ValueType& value, FdxDataType& type) {
    const DataTypeRow& row = find_data_type(found);
    if (rule == TypeNameSize::Checked && size != -1 && size != row.size) return;
    if (value != ValueType::Vector) value = row.hmi_type;
    type = found;
}

void parse_type_name(benchmark::State& state, bool exact_only) {
    run(state, exact_only, [](int size, const char* name, ValueType& value, FdxDataType& type) {
        (void)parse_fdx_type_string(size, name, &value, &type, nullptr);
    });
}

void search_all_rows(benchmark::State& state, bool exact_only) {
    run(state, exact_only, [](int size, const char* name, ValueType& value, FdxDataType& type) {
        for (const TypeNameRow& row : type_name_table) {
            if (std::strncmp(name, row.name.data(), row.name.size()) != 0) continue;
            const char rest = name[row.name.size()];
            if (rest == '\0' || (row.match == TypeNameMatch::Prefix && rest == '('))
                return write(size, row.type, row.size, value, type);
        }
        if (std::strncmp(name, "POINTER TO ", 11) == 0 || std::strncmp(name, "REFERENCE TO ", 13) == 0)
            write(size, FdxDataType::UInt64, TypeNameSize::Checked, value, type);
    });
}

void find_in_unordered_map(benchmark::State& state, bool exact_only) {
    struct Known {
        FdxDataType type;
        ValueType value;
        int size; ///< -1 if any size matches
    };
    std::unordered_map<std::string_view, Known> types;
    for (const TypeNameRow& row : type_name_table) {
        const DataTypeRow& type = find_data_type(row.type);
        types.emplace(row.name, Known{type.type, type.hmi_type, row.size == TypeNameSize::Checked ? type.size : -1});
    }
    run(state, exact_only, [&types](int size, const char* name, ValueType& value, FdxDataType& type) {
        const auto known = types.find(name);
        if (known == types.end()) return;
        if (known->second.size != -1 && size != -1 && size != known->second.size) return;
        value = known->second.value;
        type = known->second.type;
    });
}

BENCHMARK_CAPTURE(parse_type_name, ordinary, false)->Name("ordinary/this");
BENCHMARK_CAPTURE(search_all_rows, ordinary, false)->Name("ordinary/search_all_rows");
BENCHMARK_CAPTURE(find_in_unordered_map, ordinary, false)->Name("ordinary/unordered_map");
BENCHMARK_CAPTURE(parse_type_name, exact, true)->Name("exact/this");
BENCHMARK_CAPTURE(search_all_rows, exact, true)->Name("exact/search_all_rows");
BENCHMARK_CAPTURE(find_in_unordered_map, exact, true)->Name("exact/unordered_map");

} // namespace
