#include "tests/device/runtime/literal_lookup.h"
#include "tests/device/runtime/plant.h"

#include <gtest/gtest.h>

using namespace ZoHmiFdx;
using plant::alias;
using plant::member;
using plant::path;
using plant::structure;
using zo_sim::UploadAttributes;
using zo_sim::UploadEntry;

namespace {

const UploadAttributes hide{{"ZoHmiSymbol.Hide", ""}};
const UploadAttributes show{{"ZoHmiSymbol.Show", ""}};
const UploadAttributes show_all{{"ZoHmiSymbol.ShowRecursively", ""}};
const UploadAttributes read_only{{"ZoHmiSymbol.ReadOnly", ""}};

void whitelist(RuntimeConfig& config, bool read_only_runtime = false) {
    FdxRuntime runtime = config.runtime_revision();
    runtime.set_uses_whitelisting(true);
    runtime.set_is_read_only(read_only_runtime);
    config.set_runtime_revision(runtime);
}

TEST(Lookup, FlagAndEmptyPathAreTestedFirst) {
    const RuntimeConfig config("plc");
    EXPECT_FALSE(config.is_in_lookup_table(LookupFlag(0), LookupFdxPath()));
    for (const unsigned flag : {0u, 1u, 6u, 0x20u}) {
        try {
            (void)config.is_in_lookup_table(LookupFlag(flag), path<LookupFdxPath>("a"));
            ADD_FAILURE() << flag;
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), "no flag set");
        }
    }
    EXPECT_FALSE(config.is_in_lookup_table(LookupFlag::NotShown, path<LookupFdxPath>("a")));
}

TEST(Lookup, PlantWithAndWithoutWhitelist) {
    State state;
    const auto config = plant::analyzed(state, plant::bottling());
    const std::tuple<const char*, bool, bool> rows[] = {
        // path, hidden, hidden with a whitelist
        {"", false, false},
        {"MAIN", false, false},
        {"MAIN.filler", false, false},
        {"MAIN.filler.speed", false, false},
        {"MAIN.filler.valves[2].serviceKey", true, true},
        {"MAIN.filler.next^.speed", false, false},
        {"MAIN.capper", false, true},
        {"MAIN.capper#Start", false, true},
        {"MAIN.inlet`.serviceKey", true, true},
        {"MAIN.spare.serviceKey", true, true},
        {"MAIN.grid[1][5].serviceKey", true, true},
        {"MAIN.grid[1][5].open", false, true},
        {"Service.secret", true, true},
        {"Nowhere.x", false, false},
        {".total", false, true},
    };
    for (const auto& [text, hidden, refused] : rows) {
        const UniqueFdxPath unique = path(text);
        EXPECT_EQ(config->is_hidden_or_not_whitelisted(unique), hidden) << text;
        EXPECT_EQ(config->is_hidden_or_not_whitelisted(sanitize(unique)), hidden) << text;
    }
    whitelist(*config, true);
    for (const auto& [text, hidden, refused] : rows) {
        EXPECT_EQ(config->is_hidden_or_not_whitelisted(path(text)), refused) << text;
        EXPECT_EQ(config->is_readonly(path(text)), *text != 0) << text;
    }
    EXPECT_TRUE(config->is_in_a_whitelisted_tree(path("MAIN.filler.valves[2].open")));
    EXPECT_TRUE(config->is_in_a_whitelisted_tree(sanitize(path("MAIN.filler"))));
    EXPECT_FALSE(config->is_in_a_whitelisted_tree(path("MAIN")));
    EXPECT_TRUE(config->is_in_lookup_table(LookupFlag::ReadOnly, path<LookupFdxPath>("MAIN.state")));
}

TEST(Lookup, OneShownElementOnTheWayWhitelists) {
    plant::Program program;
    UploadEntry shown = structure("ST_Shown", {member("x", "INT", 0, 2)});
    shown.attributes = show;
    program.types = {shown, structure("ST", {member("a", "ST_Shown", 0, 2), member("b", "INT", 2, 2, show),
                                             member("c", "INT", 4, 2), member("d", "INT", 4, 2, hide)})};
    program.symbols = {plant::symbol("M.s", "ST", 6, show), plant::symbol("M.t", "ST_Shown", 2),
                       plant::symbol("M.u", "ST", 6), plant::symbol("M.u.x.deep", "INT", 2, show)};
    State state;
    const auto config = plant::analyzed(state, program);
    whitelist(*config);
    const std::pair<const char*, bool> rows[] = {
        {"M.s", false}, {"M.s.a", false}, {"M.s.a.x", true}, {"M.s.b", false}, {"M.s.c", true}, {"M.s.d", true},
        {"M.t", false}, {"M.t.x", true},  {"M.u", true},     {"M.u.a", true},  {"M.u.b", true},
    };
    for (const auto& [text, refused] : rows)
        EXPECT_EQ(config->is_hidden_or_not_whitelisted(path(text)), refused) << text;
}

// A symbol that is uploaded below another one has nodes above it that are no records.
TEST(Lookup, NodeThatOnlyLeadsOnIsNotJudged) {
    plant::Program program;
    program.symbols = {plant::symbol("M.a.x.deep", "INT", 2, show), plant::symbol("M.b", "INT", 2)};
    State state;
    const auto config = plant::analyzed(state, program);
    whitelist(*config);
    for (const char* text : {"M", "M.a", "M.a.x", "M.a.x.deep"})
        EXPECT_FALSE(config->is_hidden_or_not_whitelisted(path(text))) << text;
    EXPECT_TRUE(config->is_hidden_or_not_whitelisted(path("M.b")));
}

TEST(Lookup, TypeAndSymbolOfOneNameAreApart) {
    plant::Program program;
    UploadEntry type = structure("MAIN", {member("x", "INT", 0, 2, hide)});
    type.attributes = read_only;
    program.types = {type};
    program.symbols = {plant::symbol("MAIN.x", "INT", 2), plant::symbol("P.m", "MAIN", 2)};
    State state;
    const auto config = plant::analyzed(state, program);
    EXPECT_FALSE(config->is_hidden_or_not_whitelisted(path("MAIN.x")));
    EXPECT_FALSE(config->is_readonly(path("MAIN.x")));
    EXPECT_TRUE(config->is_hidden_or_not_whitelisted(path("P.m.x")));
    EXPECT_TRUE(config->is_readonly(path("P.m")));
}

// Programs of random types and symbols, and paths into them.
class RandomPlant {
public:
    explicit RandomPlant(unsigned seed) : random_(seed) {
        const std::size_t types = 3 + below(10);
        for (std::size_t i = 0; i < types; ++i)
            program.types.push_back(type(i));
        for (std::size_t i = 0; i < 6; ++i)
            program.symbols.push_back(plant::symbol(symbol_name(), type_name(types), 8, attributes()));
    }
    UniqueFdxPath random_path() {
        std::string text = below(4) != 0 ? program.symbols[below(program.symbols.size())].name : symbol_name();
        for (std::size_t parts = below(6); parts > 0; --parts) {
            text += marks();
            text += below(8) == 0 ? "#" : ".";
            text += names[below(std::size(names))];
        }
        text += marks();
        if (below(20) == 0) text.insert(below(text.size() + 1), 1, "[]^.#"[below(5)]);
        return path(text);
    }

    plant::Program program;

private:
    static constexpr const char* names[] = {"a", "b", "c", "aVeryLongNameOfAMember", ""};

    std::size_t below(std::size_t n) { return random_() % n; }
    UploadAttributes attributes() {
        const UploadAttributes choices[] = {hide, show, show_all, read_only};
        return below(3) == 0 ? choices[below(4)] : UploadAttributes{};
    }
    std::string marks() {
        const char* const choices[] = {"[1]", "[1,2]", "[0][3]", "^", "`", "[4]^`"};
        return below(3) == 0 ? choices[below(6)] : "";
    }
    // A type that was made already, or a way to any type.
    std::string type_name(std::size_t made) {
        if (made == 0 || below(5) == 0) return below(2) == 0 ? "INT" : "STRING(80)";
        const std::string plain = "T" + std::to_string(below(made));
        const std::string any = "T" + std::to_string(below(12));
        const std::string choices[] = {plain,
                                       plain,
                                       "ARRAY [0..4] OF " + plain,
                                       "POINTER TO " + any,
                                       "REFERENCE TO " + any,
                                       "ARRAY [0..4] OF POINTER TO " + any};
        return choices[below(6)];
    }
    UploadEntry type(std::size_t made) {
        const std::string name = "T" + std::to_string(made);
        if (below(3) == 0) {
            UploadEntry another_name = alias(name, type_name(made), 8, 0x41);
            another_name.attributes = attributes();
            return another_name;
        }
        UploadEntry entry = structure(name, {});
        for (const char* const child : names)
            if (*child != 0 && below(2) == 0)
                entry.members.push_back(member(child, type_name(made), 0, 0, attributes()));
        entry.attributes = attributes();
        if (below(3) == 0) entry.methods = {{"m", type_name(made), {}, 0, {}}};
        return entry;
    }
    std::string symbol_name() {
        std::string name = below(8) == 0 ? "" : "P" + std::to_string(below(2));
        for (std::size_t parts = 1 + below(3); parts > 0; --parts)
            name += std::string(".") + names[below(4)];
        return name;
    }

    std::mt19937 random_;
};

TEST(Lookup, TrieAnswersLikeLiteralWalks) {
    std::map<unsigned, int> hits;
    for (unsigned seed = 0; seed < 100; ++seed) {
        RandomPlant random(seed);
        State state;
        const auto config = plant::analyzed(state, random.program);
        std::map<LookupFlag, LookupTable> tables;
        std::map<LookupFlag, LookupTable> copies;
        for (const LookupFlag flag : literal::all_flags) {
            tables[flag] = literal::build(state, config, flag);
            copies[flag] = config->get_lookup_table(flag);
        }
        for (int i = 0; i < 120; ++i) {
            const UniqueFdxPath unique = random.random_path();
            const LookupFdxPath lookup = simplify(sanitize(unique));
            for (const LookupFlag flag : literal::all_flags) {
                const bool expected = literal::is_in(tables[flag], flag, lookup.str());
                hits[unsigned(flag)] += expected;
                ASSERT_EQ(config->is_in_lookup_table(flag, lookup), expected) << seed << ' ' << unique.str();
                ASSERT_EQ(has(config->tables_of(unique), flag), expected) << seed << ' ' << unique.str();
                ASSERT_EQ(literal::is_in(copies[flag], flag, lookup.str()), expected) << seed << ' ' << unique.str();
            }
            const bool read_only_path =
                literal::is_in(tables[LookupFlag::ReadOnly], LookupFlag::ReadOnly, lookup.str());
            ASSERT_EQ(config->is_readonly(sanitize(unique)), read_only_path) << seed << ' ' << unique.str();
        }
    }
    for (const LookupFlag flag : literal::all_flags)
        EXPECT_GT(hits[unsigned(flag)], 300) << unsigned(flag);
}

} // namespace
