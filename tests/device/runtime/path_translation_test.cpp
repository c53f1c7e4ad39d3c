#include "tests/device/runtime/plant.h"

#include <gtest/gtest.h>

using namespace ZoHmiFdx;
using plant::alias;
using plant::member;
using plant::path;
using plant::structure;

namespace {

class Translation : public testing::Test {
protected:
    void SetUp() override {
        plant::Program program = plant::bottling();
        program.types.push_back(alias("P_Valve", "POINTER TO ST_Valve", 8, 0x15));
        program.types.push_back(alias("RING", "POINTER TO RING", 8, 0x15));
        program.types.push_back(structure(
            "ST_Cases", {member("Value", "INT", 0, 2), member("value", "DINT", 4, 4), member("Other", "INT", 8, 2)}));
        for (const auto& [name, type] : {std::pair("MAIN.pointer", "P_Valve"),
                                         {"MAIN.ring", "RING"},
                                         {"MAIN.cases", "ST_Cases"},
                                         {"MAIN.filler.hidden.deep", "LREAL"},
                                         {"main.other", "REAL"},
                                         {"MAIN.Two", "INT"},
                                         {"MAIN.two", "DINT"},
                                         {"MAIN.next", "POINTER TO POINTER TO INT"}})
            program.symbols.push_back(plant::symbol(name, type, 8));
        config = plant::analyzed(state, program);
    }
    const TranslatePathResult& translate(const std::string& text) {
        last = state.translate_path(config, path<UnqualifiedFdxPath>(text));
        return *last;
    }

    State state;
    std::shared_ptr<RuntimeConfig> config;
    std::shared_ptr<const TranslatePathResult> last;
};

TEST_F(Translation, PathBecomesExact) {
    const std::tuple<const char*, const char*, const char*> rows[] = {
        // text, unique path, type
        {"MAIN.filler", "MAIN.filler", "FB_Filler"},
        {"MAIN.filler.speed", "MAIN.filler.speed", "LREAL"},
        {"MAIN.filler.valves", "MAIN.filler.valves", "ARRAY [0..3] OF ST_Valve"},
        {"MAIN.filler.valves[2]", "MAIN.filler.valves[2]", "ST_Valve"},
        {"MAIN.filler.valves[2].open", "MAIN.filler.valves[2].open", "BOOL"},
        {"MAIN.filler.level[1,3]", "MAIN.filler.level[1,3]", "REAL"},
        {"MAIN.filler.level[1][3]", "MAIN.filler.level[1,3]", "REAL"},
        {"MAIN.grid[1,5].open", "MAIN.grid[1][5].open", "BOOL"},
        {"MAIN.grid[1]", "MAIN.grid[1]", "ARRAY [5..6] OF ST_Valve"},
        {"MAIN.filler.next.speed", "MAIN.filler.next^.speed", "LREAL"},
        {"MAIN.filler.next^.speed", "MAIN.filler.next^.speed", "LREAL"},
        {"MAIN.filler.next^", "MAIN.filler.next^", "FB_Motor"},
        {"MAIN.filler.next^.next.next.speed", "MAIN.filler.next^.next^.next^.speed", "LREAL"},
        {"MAIN.inlet.open", "MAIN.inlet`.open", "BOOL"},
        {"MAIN.inlet`", "MAIN.inlet`", "ST_Valve"},
        {"MAIN.spare.open", "MAIN.spare.open", "BOOL"},
        {"MAIN.pointer^.open", "MAIN.pointer^.open", "BOOL"},
        {"MAIN.next^^", "MAIN.next^^", "INT"},
        {"MAIN.next^", "MAIN.next^", "POINTER TO INT"},
        {"MAIN.doors[12]", "MAIN.doors[12]", "BIT"},
        {"MAIN.capper.Load", "MAIN.capper.Load", "REAL"},
        {"Recipes.current.steps[5].wait", "Recipes.current.steps[5].wait", "TIME"},
        {".total", ".total", "ULINT"},
        {"MAIN.mode.step", "MAIN.mode.step", "BIT"},
        // longer symbols where the shorter one leads nowhere
        {"MAIN.filler.hidden.deep", "MAIN.filler.hidden.deep", "LREAL"},
        // letters in another case, the exact spelling first
        {"main.FILLER.Valves[2].Open", "MAIN.filler.valves[2].open", "BOOL"},
        {"main.other", "main.other", "REAL"},
        {"MAIN.OTHER", "main.other", "REAL"},
        {"MAIN.two", "MAIN.two", "DINT"},
        {"MAIN.TWO", "MAIN.Two", "INT"},
        {"MAIN.cases.value", "MAIN.cases.value", "DINT"},
        {"MAIN.cases.VALUE", "MAIN.cases.Value", "INT"},
        {"main.cases.value", "MAIN.cases.value", "DINT"},
        {".TOTAL", ".total", "ULINT"},
    };
    for (const auto& [text, unique, type] : rows) {
        const TranslatePathResult& found = translate(text);
        EXPECT_EQ(found.result, ZoHmiSrv::ExtensionResult()) << text;
        EXPECT_EQ(std::pair(found.path.unique().str(), found.type_name),
                  std::pair(std::string(unique), std::string(type)))
            << text;
    }
}

TEST_F(Translation, FailureSaysWhy) {
    const std::tuple<const char*, int, const char*> rows[] = {
        {"", 0x100036, "Symbol not found."},
        {"MAIN", 0x100036, "Symbol not found. [MAIN]"},
        {"MAIN.nothing", 0x100036, "Symbol not found. [MAIN.nothing]"},
        {"MAIN.filler.nothing", 0x100036, "Symbol not found. [MAIN.filler.nothing]"},
        {"MAIN.filler.", 0x100036, "Symbol not found. [MAIN.filler.]"},
        {"MAIN.filler.hidden", 0x100036, "Symbol not found. [MAIN.filler.hidden]"},
        {"MAIN.filler.valves[1]x", 0x100036, "Symbol not found. [MAIN.filler.valves[1]x]"},
        {"MAIN.filler.valves.open", 0x100036, "Symbol not found. [MAIN.filler.valves.open]"},
        {"MAIN.capper#Stop", 0x100036, "Symbol not found. [MAIN.capper#Stop]"},
        {"MAIN.filler.speed[1]", 0x100042, "Symbol is not an array. [MAIN.filler.speed[1]]"},
        {"MAIN.filler.valves[1,2]", 0x100042, "Symbol is not an array. [MAIN.filler.valves[1,2]]"},
        {"MAIN.filler.level[1]", 0x100042, "Number of indices does not match the dimensions. [MAIN.filler.level[1]]"},
        {"MAIN.filler.valves[x]", 0x100042, "Index is not a number. [MAIN.filler.valves[x]]"},
        {"MAIN.filler.valves[]", 0x100042, "Index is not a number. [MAIN.filler.valves[]]"},
        {"MAIN.filler.valves[1,]", 0x100042, "Index is not a number. [MAIN.filler.valves[1,]]"},
        {"MAIN.filler.valves[1", 0x100042, "Index group is not closed. [MAIN.filler.valves[1]"},
        {"MAIN.filler.valves[4].open", 0x100049, "Index is out of range. [MAIN.filler.valves[4].open]"},
        {"MAIN.filler.valves[-1]", 0x100049, "Index is out of range. [MAIN.filler.valves[-1]]"},
        {"MAIN.filler.level[1,0]", 0x100049, "Index is out of range. [MAIN.filler.level[1,0]]"},
        {"MAIN.filler.speed^", 0x10003C, "Symbol is not a pointer. [MAIN.filler.speed^]"},
        {"MAIN.inlet^", 0x10003C, "Symbol is not a pointer. [MAIN.inlet^]"},
        {"MAIN.filler.next`", 0x10003C, "Symbol is not a reference. [MAIN.filler.next`]"},
        {"MAIN.ring.x", 0x10003C, "Recursive type 'RING'. [MAIN.ring]"},
        {"MAIN.capper#Start.x", 0x100048, "Parts of a return value cannot be accessed. [MAIN.capper#Start.x]"},
    };
    for (const auto& [text, code, wording] : rows) {
        EXPECT_EQ(translate(text).result, ZoHmiSrv::ExtensionResult(code, wording)) << text;
        EXPECT_TRUE(translate(text).path.unique().empty() && translate(text).type_name.empty()) << text;
    }
}

TEST_F(Translation, ResultTellsAttributesMethodAndDereferences) {
    EXPECT_TRUE(translate("MAIN.filler").attributes.has(AttributesFlags::ShowRecursively));
    EXPECT_TRUE(translate("MAIN.filler.speed").attributes.empty());
    EXPECT_TRUE(translate("MAIN.filler.valves[1].serviceKey").attributes.has(AttributesFlags::Hide));
    EXPECT_EQ(translate("MAIN.next^^").dereferences, 2u);
    EXPECT_EQ(translate("MAIN.filler.next^.speed").dereferences, 0u);
    const TranslatePathResult& method = translate("main.capper#start");
    EXPECT_EQ(std::tuple(method.path.unique().str(), method.method_name, method.type_name),
              std::tuple("MAIN.capper#Start", "Start", "BOOL"));
    EXPECT_EQ(translate("MAIN.inlet.open").path.native().str(), "MAIN.inlet.open");
}

TEST_F(Translation, AnswersAreKeptUpToTheLimit) {
    StateOptions options;
    options.max_paths = 2;
    State limited(options);
    const auto first = limited.translate_path(config, path<UnqualifiedFdxPath>("MAIN.nothing"));
    EXPECT_EQ(limited.translate_path(config, path<UnqualifiedFdxPath>("MAIN.nothing")), first);
    for (const char* text : {"MAIN.filler", "MAIN.capper"})
        (void)limited.translate_path(config, path<UnqualifiedFdxPath>(text));
    EXPECT_EQ(config->path_results().size(), 2u);
    EXPECT_NE(limited.translate_path(config, path<UnqualifiedFdxPath>("MAIN.nothing")), first);
}

} // namespace
