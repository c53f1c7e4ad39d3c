#include "tests/device/runtime/plant.h"

#include <gtest/gtest.h>

using namespace ZoHmiFdx;
using plant::alias;
using plant::path;
using plant::structure;
using zo_sim::UploadEntry;

namespace {

class Resolve : public testing::Test {
protected:
    void SetUp() override {
        plant::Program program = plant::bottling();
        UploadEntry pointer = alias("P_Valve", "POINTER TO ST_InletValve", 8, 0x15);
        pointer.attributes = {{"unit", "pointer"}};
        UploadEntry valve = alias("T_Valve2", "ST_InletValve", 24, 0x41);
        valve.attributes = {{"unit", "second"}};
        for (const UploadEntry& more :
             {pointer, valve, alias("P_Pointer", "P_Valve", 8, 0x15), alias("RING", "POINTER TO RING", 8, 0x15)})
            program.types.push_back(more);
        for (const char* name : {"P_Pointer", "T_Valve2", "RING", "POINTER TO Missing", "POINTER TO REFERENCE TO INT"})
            program.symbols.push_back(plant::symbol(std::string("T.") + name, name, 8));
        config = plant::analyzed(state, program);
    }
    std::shared_ptr<const Datatype> type(const std::string& name) const { return config->datatypes().get(name); }
    auto resolve(const std::string& name, ResolveSettings settings = ResolveSettings::AllButEnumAliases,
                 bool follow = true, std::size_t limit = std::string::npos) {
        return state.resolve(config, path("M.x"), *type(name), follow, false, settings, limit);
    }

    State state;
    std::shared_ptr<RuntimeConfig> config;
};

TEST_F(Resolve, FollowsWhatTheSettingsName) {
    using enum ResolveSettings;
    const std::tuple<const char*, ResolveSettings, bool, const char*, const char*, bool> rows[] = {
        // type, settings, follow, resolved ("" for the type itself), path, only names
        {"ST_Valve", AllButEnumAliases, true, "", "M.x", true},
        {"T_State", AllButEnumAliases, true, "", "M.x", true},
        {"T_State2", AllButEnumAliases, true, "T_State", "M.x", true},
        {"INT (0..100)", AllButEnumAliases, true, "", "M.x", true},
        {"ST_InletValve", AllButEnumAliases, true, "ST_Valve", "M.x", true},
        {"T_Valve2", AllButEnumAliases, true, "ST_Valve", "M.x", true},
        {"T_Valve2", AliasOfAlias, true, "ST_InletValve", "M.x", true},
        {"T_Valve2", StructAlias, true, "", "M.x", true},
        {"T_Inlet", AllButEnumAliases, true, "ST_Valve", "M.x`", false},
        {"T_Inlet", AllButEnumAliases, false, "REFERENCE TO ST_Valve", "M.x", true},
        {"T_Inlet", Names, true, "REFERENCE TO ST_Valve", "M.x", true},
        {"P_Pointer", AllButEnumAliases, true, "ST_Valve", "M.x^", false},
        {"P_Pointer", Reference, true, "", "M.x", true},
        {"POINTER TO REFERENCE TO INT", AllButEnumAliases, true, "INT", "M.x^`", false},
        {"POINTER TO REFERENCE TO INT", Pointer, true, "REFERENCE TO INT", "M.x^", false},
        {"POINTER TO REFERENCE TO INT", Reference, true, "", "M.x", true},
        {"ARRAY [0..3] OF ST_Valve", AllButEnumAliases, true, "", "M.x", true},
        {"POINTER TO Missing", AllButEnumAliases, true, "Missing", "M.x^", false},
    };
    for (const auto& [name, settings, follow, expected, where, names] : rows) {
        const auto resolved = resolve(name, settings, follow);
        EXPECT_EQ(resolved.result.code(), 0) << name;
        EXPECT_EQ(resolved.type ? resolved.type->item_name() : "", expected) << name;
        EXPECT_EQ(std::pair(resolved.path.str(), resolved.only_names), std::pair(std::string(where), names)) << name;
    }
}

TEST_F(Resolve, LimitEndsTheWayEarly) {
    const char* const expected[] = {"", "P_Valve", "POINTER TO ST_InletValve", "ST_InletValve", "ST_Valve", "ST_Valve"};
    for (std::size_t limit = 0; limit < std::size(expected); ++limit) {
        const auto resolved = resolve("P_Pointer", ResolveSettings::AllButEnumAliases, true, limit);
        EXPECT_EQ(resolved.type ? resolved.type->item_name() : "", expected[limit]) << limit;
    }
}

TEST_F(Resolve, AttributesOnTheWayAreCollected) {
    const auto resolved = resolve("P_Pointer");
    EXPECT_EQ(resolved.attributes.entries(), (std::vector<Attributes::Entry>{{"unit", "pointer"}}));
    const auto [name, attributes] = state.simple_resolve(config, *type("P_Pointer"));
    EXPECT_EQ(std::pair(name, attributes.size()), std::pair(std::string("ST_Valve"), std::size_t{1}));
    EXPECT_EQ(state.simple_resolve(config, *type("INT")).first, "INT");
}

TEST_F(Resolve, CycleEndsWithTheVoidType) {
    const auto resolved = resolve("RING");
    EXPECT_EQ(resolved.result, ZoHmiSrv::ExtensionResult(0x10003C, "Recursive type 'RING'. [M.x]"));
    EXPECT_EQ(resolved.type, config->datatypes().get(""));
    EXPECT_EQ(resolve("RING", ResolveSettings::Names).result.code(), 0);
}

TEST_F(Resolve, ChainOf64StepsIsTheLongest) {
    const auto chain = [&](int steps) {
        const std::string start = "CHAIN" + std::to_string(steps) + "_";
        for (int i = 0; i <= steps; ++i) {
            DatatypeDescription link;
            link.item_name = start + std::to_string(i);
            link.type_name = start + std::to_string(i + 1);
            if (i < steps) link.flags |= DatatypeFlags::AliasOfAlias;
            config->datatypes().set_impl(link.item_name, Datatype(link));
        }
        return resolve(start + "0").result.code();
    };
    EXPECT_EQ(std::pair(chain(64), chain(65)), std::pair(0, 0x10003C));
}

TEST_F(Resolve, DialectFollowsThePath) {
    FdxRuntime runtime = config->runtime_revision();
    const auto where = [](const char* text) { return sanitize(path(text)); };
    const auto name = [&](const char* text, const char* of, bool dialect = true,
                          DatatypeStorage storage = DatatypeStorage::Both) {
        const auto found = state.datatype(config, where(text), of, dialect, storage);
        return found ? found->item_name() : "none";
    };
    EXPECT_EQ(name("MAIN.filler", "FB_Filler"), "FB_Filler ShowRecursively");
    EXPECT_EQ(name("MAIN.filler", "FB_Filler", false), "FB_Filler");
    EXPECT_EQ(name("MAIN.state", "FB_Filler"), "FB_Filler ReadOnly");
    EXPECT_EQ(name("MAIN.state", "INT"), "INT") << "has no dialects";
    EXPECT_EQ(name("MAIN.capper", "FB_Motor ReadOnly ShowRecursively"), "FB_Motor") << "asked without dialect";
    runtime.set_is_read_only(true);
    config->set_runtime_revision(runtime);
    EXPECT_EQ(name("MAIN.filler", "FB_Filler"), "FB_Filler ReadOnly ShowRecursively");
    EXPECT_EQ(state.datatype(config, where("MAIN.filler"), "FB_Filler", true, DatatypeStorage::Both)->count_subitems(),
              4u);

    EXPECT_EQ(name("MAIN.state", "STRING(9)", false, DatatypeStorage::Table), "none");
    EXPECT_EQ(name("MAIN.state", "STRING(9)", false, DatatypeStorage::Infer), "STRING(9)");
    EXPECT_EQ(name("MAIN.state", "STRING(9)", false, DatatypeStorage::Table), "STRING(9)");
    EXPECT_EQ(name("MAIN.state", ""), "none");
    EXPECT_EQ(name("MAIN.state", "FB_Other"), "none") << "no type has this name";
    EXPECT_EQ(name("MAIN.state", " ReadOnly"), "none");
    const auto array = state.datatype(config, {}, "ARRAY [0..1] OF FB_Motor", false, DatatypeStorage::Both);
    EXPECT_EQ(std::pair(array->size(), array->fdx_type()), std::pair(32, FdxDataType::Composite));
}

} // namespace
