#include "device/runtime/upload_info_analyzer.h"
#include "tests/device/runtime/plant.h"

#include <gtest/gtest.h>

using namespace ZoHmiFdx;
using plant::alias;
using plant::member;
using plant::path;
using plant::structure;
using zo_sim::UploadEntry;
using ZoHmiSrv::ValueType;

namespace {

std::shared_ptr<const Datatype> type(const RuntimeConfig& config, const std::string& name) {
    const auto found = config.datatypes().get(name);
    EXPECT_TRUE(found) << name;
    return found ? found : std::make_shared<const Datatype>();
}

// The bits of a description that an analysis adds.
std::vector<int> alias_bits(const Datatype& of) {
    std::vector<int> bits;
    for (const int bit : {4, 5, 6, 7, 14, 15, 17})
        if ((of.flags() >> bit & 1) != 0) bits.push_back(bit);
    return bits;
}

TEST(Analyzer, ReferredTypesAreInferred) {
    State state;
    plant::Program program = plant::bottling();
    program.symbols.push_back(plant::symbol("X.unknown", "FB_Missing", 8));
    program.symbols.push_back(plant::symbol("X.far", "POINTER TO ARRAY [0..2] OF POINTER TO ST_Valve", 8));
    const auto config = plant::analyzed(state, program);
    const std::tuple<const char*, int, ValueType> rows[] = {
        {"BOOL", 1, ValueType::Bool},
        {"WSTRING(31)", 64, ValueType::String},
        {"ARRAY [0..3] OF ST_Valve", 96, ValueType::Vector},
        {"ARRAY [0..1] OF ARRAY [5..6] OF ST_Valve", 96, ValueType::Vector},
        {"ARRAY [5..6] OF ST_Valve", 48, ValueType::Vector},
        {"POINTER TO FB_Motor", 8, ValueType::UInt64},
        {"TIME", 4, ValueType::TimeSpan},
        {"STRING(80)", 81, ValueType::String},
        {"REAL", 4, ValueType::Double},
        {"FB_Missing", 0, ValueType::Null},
        {"ARRAY [0..2] OF POINTER TO ST_Valve", 24, ValueType::Vector},
        {"POINTER TO ST_Valve", 8, ValueType::UInt64},
    };
    for (const auto& [name, size, hmi_type] : rows)
        EXPECT_EQ(std::pair(type(*config, name)->size(), type(*config, name)->hmi_type()), std::pair(size, hmi_type))
            << name;
    EXPECT_EQ(config->unmodified_upload_info().size(), program.types.size());
    EXPECT_TRUE(type(*config, "ARRAY [0..2] OF POINTER TO ST_Valve")->is_array_of_indirections());
}

TEST(Analyzer, UploadShowsTheSizeOfPointers) {
    State state;
    plant::Program program;
    program.types = {structure("ST", {member("p", "POINTER TO ST", 0, 4)})};
    program.symbols = {plant::symbol("M.r", "REFERENCE TO ST", 4)};
    const auto config = plant::analyzed(state, program);
    EXPECT_EQ(type(*config, "POINTER TO ST")->size(), 4);
    EXPECT_EQ(type(*config, "REFERENCE TO ST")->hmi_type(), ValueType::Double);
}

TEST(Analyzer, AliasesAreMarkedFromTheirBase) {
    plant::Program program = plant::bottling();
    const UploadEntry more[] = {
        alias("T_Inlet2", "T_Inlet", 8, 0x15),
        alias("P_Valve", "POINTER TO ST_Valve", 8, 0x15),
        alias("T_Inlets", "ARRAY [0..1] OF T_Inlet", 16, 0x15),
        alias("T_Inlets2", "ARRAY [0..1] OF T_Inlet2", 16, 0x15),
        alias("T_Temp", "LREAL", 8, 5),
        alias("T_Valves", "ARRAY [2..3] OF ST_Valve", 48, 0x41),
    };
    program.types.insert(program.types.begin(), std::begin(more), std::end(more)); // in front of their bases
    State state;
    const auto config = plant::analyzed(state, program);
    const std::pair<const char*, std::vector<int>> rows[] = {
        {"T_State2", {14}},
        {"ST_InletValve", {7}},
        {"T_Inlet", {5, 6, 15}},
        {"T_Inlet2", {14}},
        {"P_Valve", {6, 15}},
        {"T_Temp", {17}},
        {"INT (0..100)", {17}},
        {"E_State", {}},
        {"ST_Valve", {}},
        {"FB_Filler", {}},
        {"Doors", {}},
        {"T_Valves", {}},
        {"T_Inlets", {5, 6}},
        {"T_Inlets2", {5, 6}},
        {"POINTER TO FB_Motor", {}},
        {"ARRAY [0..1] OF T_Inlet2", {5, 6}},
    };
    for (const auto& [name, bits] : rows)
        EXPECT_EQ(alias_bits(*type(*config, name)), bits) << name;
    const auto valves = type(*config, "T_Valves");
    EXPECT_EQ(std::tuple(valves->hmi_type(), valves->array_info().max_index(0), valves->type_name()),
              std::tuple(ValueType::Vector, std::int64_t{3}, "ST_Valve"));
    EXPECT_EQ(type(*config, "T_Doors")->array_info().total_nr_of_elements(), 13u);
}

TEST(Analyzer, EnumAliasCarriesTheEnumerators) {
    plant::Program program = plant::bottling();
    program.types[1].attributes = {{"unit", "own"}};
    State state;
    const auto config = plant::analyzed(state, program);
    const auto alias_type = type(*config, "T_State");
    EXPECT_EQ(std::tuple(alias_type->item_name(), alias_type->type_name(), alias_type->count_enum_items()),
              std::tuple("T_State", "E_State", std::size_t{3}));
    EXPECT_TRUE(alias_type->attributes().has("unit"));
}

TEST(Analyzer, TypeInsideItselfBecomesAnEmptyRecord) {
    plant::Program program;
    program.types = {
        structure("SELF", {member("x", "SELF", 0, 2)}),
        structure("A", {member("b", "ARRAY [0..1] OF B", 0, 8)}),
        structure("B", {member("c", "T_A", 0, 4)}),
        alias("T_A", "A", 4, 0x41),
        alias("LOOP1", "LOOP2", 4, 0x41),
        alias("LOOP2", "LOOP1", 4, 0x41),
        structure("LIST", {member("next", "POINTER TO LIST", 0, 8)}),
        structure("USER", {member("a", "A", 0, 4)}),
        alias("T_SELF", "SELF", 4, 0x41),
    };
    State state;
    const auto config = plant::analyzed(state, program);
    for (const char* name : {"SELF", "A", "B", "T_A", "LOOP1", "LOOP2", "ARRAY [0..1] OF B"}) {
        EXPECT_EQ(std::tuple(type(*config, name)->count_subitems(), type(*config, name)->size(),
                             type(*config, name)->item_name()),
                  std::tuple(std::size_t{0}, 0, name));
        EXPECT_TRUE(alias_bits(*type(*config, name)).empty()) << name;
    }
    EXPECT_EQ(type(*config, "LIST")->count_subitems() + type(*config, "USER")->count_subitems(), 2u);
    EXPECT_TRUE(alias_bits(*type(*config, "T_SELF")).empty());
}

TEST(Analyzer, TopLayerIsMarked) {
    plant::Program program = plant::bottling();
    program.symbols.push_back(plant::symbol("MAIN.filler.speed", "LREAL", 8));
    State state;
    const auto config = plant::analyzed(state, program);
    EXPECT_TRUE(config->is_toplayer_field(path("MAIN.filler")) && config->is_toplayer_field(path(".total")));
    EXPECT_FALSE(config->is_toplayer_field(path("MAIN.filler.speed")));
}

// Chains that are longer than any stack: aliases, pointers, and structures inside each other.
TEST(Analyzer, LongChainsEnd) {
    plant::Program program;
    for (int i = 0; i < 20000; ++i) {
        const std::string next = std::to_string(i + 1);
        program.types.push_back(structure("S" + std::to_string(i), {member("x", "S" + next, 0, 2)}));
        if (i % 20 != 0) continue; // these are followed for 64 steps from each of them
        const std::string link = std::to_string(i / 20);
        const std::string next_link = std::to_string(i / 20 + 1);
        program.types.push_back(alias("A" + link, "A" + next_link, 2, 0x41));
        program.types.push_back(alias("P" + link, "POINTER TO P" + next_link, 8, 0x15));
    }
    std::string nested = "INT";
    for (int i = 0; i < 2000; ++i)
        nested = "POINTER TO ARRAY [0..1] OF " + nested;
    program.symbols = {plant::symbol("M.a", "A0", 2), plant::symbol("M.s", "S0", 2), plant::symbol("M.p", "P0", 8),
                       plant::symbol("M.n", nested, 8)};
    State state;
    const auto config = plant::analyzed(state, program);
    EXPECT_FALSE(config->is_hidden_or_not_whitelisted(path("M.a.b")));
    EXPECT_LT(config->datatypes().size(), 24'000u);
}

} // namespace
