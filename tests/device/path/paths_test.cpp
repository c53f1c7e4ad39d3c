#include "device/path/const_symbol_path.h"

#include "device/path/symbol_entry.h"
#include "device/path/symbol_path.h"
#include "extension/host/command.h"
#include "tests/device/path/path_text.h"
#include "tests/test_headers.h"

#include <stdexcept>
#include <type_traits>

using namespace ZoHmiFdx;
using path_text::path;
using Popped = std::pair<std::string, char>;
using namespace std::string_view_literals;

namespace {

constexpr std::size_t npos = std::string::npos;

TEST(PathGrammar, Properties) {
    const struct {
        std::string_view text;
        std::size_t depth = 0, full_depth = 0, operators = 0;
        std::string_view operators_text = "", last_part = "";
        /// g: global, m: ends in a method, a: is an array access, i: includes one
        std::string_view traits = "";
    } rows[] = {
        {""},
        {"a#m", 1, 1, 0, "", "m", "m"},
        {"a#m.r", 2, 2, 0, "", "r", ""},
        {"a.b`^`", 1, 1, 3, "`^`", "b`^`", ""},
        {"a^.b", 1, 1, 0, "", "b", ""},
        // Nothing but operators: counted, but not given as text.
        {"^^", 0, 0, 2, "", "", ""},
        {"a[1]", 0, 1, 0, "", "", "ai"},
        {"a[1]`.#^", 2, 3, 1, "^", "^", "aim"},
        {"a[1,2][3].b", 1, 4, 0, "", "b", "i"},
        {"a.b[1,2]^", 1, 3, 1, "^", "b[1,2]^", "ai"},
        {"a]", 0, 0, 0, "", "", "a"},
        {"a[1", 0, 1, 0, "", "", "i"},
        // A group's text is not looked into: this separator counts.
        {"a[1.5]", 1, 2, 0, "", "5]", "ai"},
        {"^.#`", 2, 2, 1, "`", "`", "m"},
        {".#", 2, 2, 0, "", "", "gm"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        const auto p = path<UnqualifiedFdxPath>(row.text);
        EXPECT_EQ(p.depth(), row.depth);
        EXPECT_EQ(p.full_depth(), row.full_depth);
        EXPECT_EQ(p.dereference_count(), row.operators);
        EXPECT_EQ(p.dereference_operators(), row.operators_text);
        EXPECT_EQ(p.last_part(), row.last_part);
        std::string traits;
        if (p.is_global()) traits += 'g';
        if (p.is_array_access()) traits += 'a';
        if (p.includes_array_access()) traits += 'i';
        if (p.last_part_is_method()) traits += 'm';
        EXPECT_EQ(traits, row.traits);
        EXPECT_EQ(path_part_is_array_access(p.str(), '.'), row.traits.find('a') != npos);
    }
}

TEST(PathGrammar, Pops) {
    const std::tuple<std::string_view, Popped, std::string_view, Popped, std::string_view> rows[] = {
        // The first part stays.
        {"MAIN", {"", '\0'}, "MAIN", {"", '\0'}, "MAIN"},
        {".g.x", {"x", '.'}, ".g", {"x", '.'}, ".g"},
        {".g", {"g", '.'}, "", {"g", '.'}, ""},
        {"a.b#m.r", {"r", '.'}, "a.b#m", {"r", '.'}, "a.b#m"},
        {"a.b[1]^", {"b[1]^", '.'}, "a", {"1]^", '['}, "a.b"},
        {"a[1,2][3,4]^", {"", '\0'}, "a[1,2][3,4]^", {"1,2][3,4]^", '['}, "a"},
        // A method right behind indices goes with them; behind an operator it does not.
        {"a[1]#m", {"m", '#'}, "a[1]", {"1]#m", '['}, "a"},
        {"a[1]^#m", {"m", '#'}, "a[1]^", {"m", '#'}, "a[1]^"},
        {"a[1]^[2]", {"", '\0'}, "a[1]^[2]", {"2]", '['}, "a[1]^"},
        {"a[1]..b", {"b", '.'}, "a[1].", {"b", '.'}, "a[1]."},
        // At the start any mark is taken.
        {",1]", {"", '\0'}, ",1]", {"1]", ','}, ""},
        {"[1]", {"", '\0'}, "[1]", {"1]", '['}, ""},
        {"][1]", {"", '\0'}, "][1]", {"", '\0'}, "][1]"},
        {"a,b", {"", '\0'}, "a,b", {"", '\0'}, "a,b"},
        {"a.", {"", '.'}, "a", {"", '.'}, "a"},
        {"a[", {"", '\0'}, "a[", {"", '['}, "a"},
    };
    for (const auto& [text, part, left, level, level_left] : rows) {
        SCOPED_TRACE(text);
        auto p = path<UniqueFdxPath>(text);
        EXPECT_EQ(p.pop_back(), part);
        EXPECT_EQ(p.str(), left);
        p = path<UniqueFdxPath>(text);
        EXPECT_EQ(p.pop_back_restrained(), level);
        EXPECT_EQ(p.str(), level_left);
    }
}

TEST(PathGrammar, Pushes) {
    const std::tuple<std::string_view, char, const char*, std::string_view> rows[] = {
        {"", '.', "MAIN", "MAIN"}, {"MAIN", '.', "a", "MAIN.a"}, {"a", '#', "m", "a#m"}, {"a", '[', "1,2]", "a[1,2]"},
        {"a", ',', "b", "a.b"},    {"a", '.', "", "a."},         {"", '.', "", ""},
    };
    for (const auto& [text, separator, part, result] : rows) {
        auto p = path<LookupFdxPath>(text);
        p.push_back(separator, part);
        EXPECT_EQ(p.str(), result);
    }
    auto p = path<NativeFdxPath>("a");
    p.push_back_indices("[7]");
    p.push_back_method("m");
    p.push_back_subitem("r");
    p.append_dereference_operators(0);
    p.append_dereference_operators(3);
    EXPECT_EQ(p.str(), "a[7]#m.r^^^");
    EXPECT_THROW(p.append_dereference_operators(std::numeric_limits<std::size_t>::max()), std::length_error);
    EXPECT_EQ(p.str(), "a[7]#m.r^^^");
}

TEST(PathGrammar, MethodAndIndicesRequireParent) {
    const std::pair<char, const char*> rows[] = {{'#', "method has no parent"}, {'[', "indices have no parent"}};
    for (const auto& [separator, message] : rows) {
        UniqueFdxPath p;
        try {
            p.push_back(separator, "x]");
            ADD_FAILURE() << message;
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), message);
        }
        EXPECT_TRUE(p.empty());
    }
}

TEST(PathGrammar, Cuts) {
    const std::tuple<std::string_view, std::string_view, std::string_view> rows[] = {
        {"a.b[1][2]^", "[1][2]^", "^"},
        {"a[1].b", "", ""},
        {"a[1]#m`", "`", "`"},
        {"p^[1]`", "^[1]`", "`"},
        // A text of nothing but operators keeps them, a last part of nothing else does not.
        {"^`", "^`", ""},
        {"a.^`", "^`", "^`"},
        {"a.b]", "", ""},
    };
    for (const auto& [text, last_marks, operators] : rows) {
        SCOPED_TRACE(text);
        auto p = path<SanitizedUniqueFdxPath>(text);
        EXPECT_EQ(p.remove_indices_and_dereference_operators(), last_marks);
        EXPECT_EQ(p.str(), text.substr(0, text.size() - last_marks.size()));
        p.append_indices_and_dereference_operators(std::string(last_marks));
        EXPECT_EQ(p.str(), text);
        EXPECT_EQ(p.trim_dereference_operators(), operators);
        EXPECT_EQ(p.str(), text.substr(0, text.size() - operators.size()));
    }
}

TEST(PathGrammar, TakesItselfAsArgument) {
    const std::string long_text = "MAIN.a_name_that_is_not_kept_inline";
    auto p = path<LookupFdxPath>(long_text);
    p.shrink_from(p, npos);
    EXPECT_EQ(p.str(), long_text);
    p.replace_start(p, p);
    EXPECT_EQ(p.str(), long_text);
    p.push_back_subitem(p.str());
    EXPECT_EQ(p.str(), long_text + "." + long_text);
    p.shrink_from(p, long_text.size());
    p.push_back_method(p.str());
    EXPECT_EQ(p.str(), long_text + "#" + long_text);
    p.shrink_from(p, long_text.size());
    p.append_indices_and_dereference_operators(p.str());
    EXPECT_EQ(p.str(), long_text + long_text);
    p.replace_start(path<LookupFdxPath>(long_text), p);
    EXPECT_EQ(p.str(), long_text + long_text + long_text);
    p.replace_start(p, LookupFdxPath());
    EXPECT_TRUE(p.empty());
}

TEST(PathParts, IndicesStopAtFirstNonNumber) {
    const std::pair<const char*, std::vector<std::int64_t>> rows[] = {
        {"", {}},
        {"1,2][3]^", {1, 2, 3}},
        {"1,]", {1}},
        {"1][", {1}},
        {"1],2]", {1, 2}},
        {"1[2]", {}},
        {"1, 2]", {1}},
        {"9223372036854775807,-9223372036854775808]",
         {std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int64_t>::min()}},
        {"1,9223372036854775808,3]", {1}},
    };
    for (const auto& [part, indices] : rows)
        EXPECT_EQ(parse_indices_from_path_part(part, '['), indices) << part;
}

TEST(PathParts, DereferenceOperators) {
    EXPECT_EQ(find_first_dereference_operator("a[1]"), npos);
    EXPECT_EQ(find_first_dereference_operator("a`^"), 1U);
    assert_no_dereference_operators("a[1].b");
    EXPECT_DEBUG_DEATH(assert_no_dereference_operators("a`"), "");
}

TEST(ConstSymbolPath, Parts) {
    const std::tuple<const char*, std::vector<std::string>, const char*> rows[] = {
        {"", {}, ""},
        {"a::b", {"a", "b"}, "a.b"},
        {"a::", {"a", ""}, "a."},
        {"::a", {"", "a"}, ".a"},
        {"a:::b", {"a", ":b"}, "a.:b"},
        {"a.b::c", {"a.b", "c"}, "a.b.c"},
    };
    for (const auto& [text, parts, mapping] : rows) {
        SCOPED_TRACE(text);
        ConstSymbolPath p{std::string(text)};
        EXPECT_EQ(p.to_mapping_name(), mapping);
        EXPECT_EQ(p.num_parts(), parts.size());
        EXPECT_EQ(p.parts(), parts);
        EXPECT_EQ(&p.parts(), &p.parts());
        EXPECT_THROW(p.at(parts.size()), std::out_of_range);
        EXPECT_STREQ(p.c_str(), text);
        p.sanity_check();
    }
}

TEST(ConstSymbolPath, JoinsAndCompares) {
    const std::string same = "same";
    EXPECT_EQ(ConstSymbolPath(same, same).str(), "same::same");
    EXPECT_EQ(ConstSymbolPath("a", "", "c").str(), "a::::c");
    ConstSymbolPath p("a", "b", "c", "d::e");
    EXPECT_EQ(p.str(), "a::b::c::d::e");
    EXPECT_EQ(p.num_parts(), 5U);
    EXPECT_TRUE(p.starts_with("a", "b", "c", "d"));
    EXPECT_FALSE(p.starts_with("A"));
    EXPECT_FALSE(p.starts_with("a", "b", "c", "d::e"));
    EXPECT_FALSE(p.starts_with("a", "b", "c", ""));
    ConstSymbolPath open{std::string("a::")};
    EXPECT_TRUE(open.starts_with("a", nullptr));
    EXPECT_FALSE(ConstSymbolPath(std::string()).starts_with(""));
}

// No spelling becomes another one unnoticed.
static_assert(!std::is_convertible_v<std::string, UnqualifiedFdxPath>);
static_assert(!std::is_constructible_v<UniqueFdxPath, std::string>);
static_assert(!std::is_constructible_v<UniqueFdxPath, UnqualifiedFdxPath>);
static_assert(!std::is_constructible_v<NativeFdxPath, UniqueFdxPath>);
static_assert(!std::is_constructible_v<SanitizedUniqueFdxPath, UniqueFdxPath>);
static_assert(!std::is_constructible_v<LookupFdxPath, SanitizedUniqueFdxPath>);
static_assert(!std::is_invocable_v<std::equal_to<>, const UniqueFdxPath&, const NativeFdxPath&>);

TEST(PathSpellings, Conversions) {
    const struct {
        std::string_view unique, native, sanitized, lookup;
        bool contaminated = false;
    } rows[] = {
        {"", "", "", ""},
        {"MAIN.arr[2,3].p^.r`.v", "MAIN.arr[2,3].p^.r.v", "MAIN.arr[].p^.r`.v", "MAIN.arr.p.r.v", true},
        {"a[1][2,3]#m", "a[1][2,3]#m", "a[][]#m", "a#m", true},
        // What is never closed stays with all that follows it.
        {"a[1].b[2", "a[1].b[2", "a[].b[2", "a.b2", true},
        // The first closing bracket ends a group; a closing one alone is no group.
        {"a[b[1]c]d", "a[b[1]c]d", "a[]c]d", "acd", true},
        {"a[`^.]b", "a[^.]b", "a[]b", "ab", true},
        {"`^`", "^", "`^`", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.unique);
        const auto unique = path<UniqueFdxPath>(row.unique);
        EXPECT_EQ(to_native(unique).str(), row.native);
        EXPECT_EQ(sanitized_path_if_contaminated(unique), row.contaminated ? row.sanitized : "");
        EXPECT_EQ(sanitize(unique).str(), row.sanitized);
        EXPECT_EQ(simplify(sanitize(unique)).str(), row.lookup);
        EXPECT_EQ(to_lookup(unique).str(), row.lookup);
    }
}

TEST(PathSpellings, ReplacesPrefix) {
    const std::tuple<std::string_view, std::string_view, std::string_view, std::string_view> rows[] = {
        {"MAIN.ab", "MAIN.a", "X", "Xb"},  {"MAIN.a", "MAIN.a", "X", "X"}, {"MAIN.a", "MAIN.ab", "X", "MAIN.a"},
        {"MAIN.a", "main", "X", "MAIN.a"}, {"a", "", "X.", "X.a"},         {"a.b", "a", "", ".b"},
        {"a.a.a", "a", "a.a", "a.a.a.a"},
    };
    for (const auto& [text, from, to, result] : rows) {
        const auto old_start = path<LookupFdxPath>(from);
        const auto new_start = path<LookupFdxPath>(to);
        auto changed = path<LookupFdxPath>(text);
        EXPECT_EQ(changed.replace_start_copy(old_start, new_start).str(), result);
        EXPECT_EQ(changed.str(), text);
        changed.replace_start(old_start, new_start);
        EXPECT_EQ(changed.str(), result);
    }
}

TEST(PathSpellings, UnqualifiedBecomesUnique) {
    EXPECT_EQ(unsafe_to_unique(UnqualifiedFdxPath("a.b^]"))->str(), "a.b^]");

    ZoHmiSrv::Command command("name");
    command.set_mapping("MAIN.x[1]");
    EXPECT_EQ(UnqualifiedFdxPath(command).str(), "MAIN.x[1]");
}

TEST(PathSpellings, TextFindsKeys) {
    std::unordered_map<UniqueFdxPath, int, FdxPathHash, FdxPathEqual> table;
    std::set<UniqueFdxPath, FdxPathLess> set;
    const std::string_view texts[] = {"b", "a", "\xC3\xA4", "a.b", "MAIN.a_name_that_is_not_kept_inline"};
    for (const std::string_view text : texts) {
        table[path<UniqueFdxPath>(text)] = int(text.size());
        set.insert(path<UniqueFdxPath>(text));
    }
    for (const std::string_view text : texts) {
        ASSERT_NE(table.find(text), table.end());
        EXPECT_EQ(table.find(text)->second, int(text.size()));
        EXPECT_TRUE(set.contains(text));
    }
    EXPECT_FALSE(table.contains("MAIN"sv));
    EXPECT_FALSE(set.contains("MAIN"sv));
    // Bytes are ordered as unsigned numbers, with the functors as with the operators.
    std::vector<UniqueFdxPath> in_order(set.begin(), set.end());
    EXPECT_EQ(in_order.back().str(), "\xC3\xA4");
    EXPECT_TRUE(std::is_sorted(in_order.begin(), in_order.end()));
}

TEST(PathOfEntry, NameInsideEntry) {
    constexpr int windows1252 = 1252;
    constexpr int utf8 = 65001;
    const struct {
        std::string_view behind_head;
        std::uint32_t entry_length;
        std::uint16_t name_length;
        std::string_view result;
        int code_page = windows1252;
        std::size_t available = std::string_view::npos; ///< for all
    } rows[] = {
        {"MAIN.x\0INT\0\0"sv, 42, 6, "MAIN.x"},
        {"MAIN.x\0"sv, 37, 6, "MAIN.x"},
        {"\0"sv, 31, 0, ""},
        {"M\xE4rz\0"sv, 35, 4, "M\xC3\xA4rz"},
        {"M\xC3\xA4rz\0"sv, 36, 5, "M\xC3\xA4rz", utf8},
        {"MA\0IN\0"sv, 36, 5, "MA"},
        {"MAIN.x\0"sv, 37, 4, "MAIN"},
        // The entry ends before the name does, or its head does not fit.
        {"MAIN.x\0"sv, 36, 6, ""},
        {"MAIN.x\0"sv, 37, 7, ""},
        {"MAIN.x\0"sv, 29, 0, ""},
        // The entry is cut, whatever length it gives itself.
        {"MAIN.x"sv, 37, 6, ""},
        {"MAIN.x"sv, 4'294'967'295, 6, ""},
        {"MAIN.x\0"sv, 4'294'967'295, 6, "MAIN.x"},
        {"MAIN.x\0"sv, 37, 6, "", windows1252, 36},
        {"MAIN.x\0"sv, 37, 6, "", windows1252, 29},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.result << " of " << row.entry_length << ", " << row.name_length);
        FdxSymbolEntry head{};
        head.entry_length = row.entry_length;
        head.name_length = row.name_length;
        // In memory of just that size, and at an odd address, as entries follow each other.
        const std::size_t size = sizeof head + row.behind_head.size();
        const auto memory = std::make_unique<char[]>(1 + size);
        std::memcpy(memory.get() + 1, &head, sizeof head);
        std::memcpy(memory.get() + 1 + sizeof head, row.behind_head.data(), row.behind_head.size());
        const auto* entry = reinterpret_cast<const FdxSymbolEntry*>(memory.get() + 1);
        EXPECT_EQ(UniqueFdxPath(entry, row.code_page, std::min(size, row.available)).str(), row.result);
        if (row.entry_length <= size && row.available > size) {
            EXPECT_EQ(UniqueFdxPath(entry, row.code_page).str(), row.result);
        }
    }
    EXPECT_TRUE(UniqueFdxPath(nullptr, windows1252).empty());
}

} // namespace
