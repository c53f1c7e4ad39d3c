#include "device/symbol_entry.h"
#include "device/symbol_path.h"
#include "extension/host/command.h"
#include "tests/device/path_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <vector>

using namespace ZoHmiFdx;
using namespace std::string_view_literals;
using path_text::path;

namespace {

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
        std::string_view unique;
        std::string_view native;
        std::string_view sanitized;
        std::string_view lookup;
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

/// Calls `check` for `text` and for all that up to `more` characters of the alphabet make of it.
template <typename Check>
void for_each_text(std::string_view alphabet, std::size_t more, const Check& check, const std::string& text = "") {
    check(text);
    if (more == 0 || testing::Test::HasFailure()) return;
    for (const char c : alphabet) {
        for_each_text(alphabet, more - 1, check, text + c);
    }
}

TEST(PathSpellings, OnePassIsTheTwoSteps) {
    std::size_t texts = 0;
    for_each_text("a.#[],^`", 6, [&](const std::string& text) {
        ++texts;
        const auto unique = path<UniqueFdxPath>(text);
        const SanitizedUniqueFdxPath sanitized = sanitize(unique);
        ASSERT_EQ(sanitized.str(), path_text::empty_groups_in_place(text)) << text;
        ASSERT_EQ(to_lookup(unique), simplify(sanitized)) << text;
        std::string names = sanitized.str();
        std::erase_if(names, [](char c) { return "^`[]"sv.find(c) != std::string::npos; });
        ASSERT_EQ(to_lookup(unique).str(), names) << text;
    });
    EXPECT_EQ(texts, 299'593U);
}

TEST(PathSpellings, ReplacesAPrefixOfText) {
    const struct {
        std::string_view text;
        std::string_view from;
        std::string_view to;
        std::string_view result;
    } rows[] = {
        {"MAIN.ab", "MAIN.a", "X", "Xb"},  {"MAIN.a", "MAIN.a", "X", "X"}, {"MAIN.a", "MAIN.ab", "X", "MAIN.a"},
        {"MAIN.a", "main", "X", "MAIN.a"}, {"a", "", "X.", "X.a"},         {"a.b", "a", "", ".b"},
        {"a.a.a", "a", "a.a", "a.a.a.a"},
    };
    for (const auto& row : rows) {
        const auto text = path<LookupFdxPath>(row.text);
        const auto from = path<LookupFdxPath>(row.from);
        const auto to = path<LookupFdxPath>(row.to);
        EXPECT_EQ(text.replace_start_copy(from, to).str(), row.result);
        EXPECT_EQ(text.str(), row.text);
        auto changed = text;
        changed.replace_start(from, to);
        EXPECT_EQ(changed.str(), row.result);
    }
}

TEST(PathSpellings, UnqualifiedIsTakenForUniqueWithoutIndices) {
    EXPECT_FALSE(unsafe_to_unique(UnqualifiedFdxPath("a[1]")));
    EXPECT_FALSE(unsafe_to_unique(UnqualifiedFdxPath("a[")));
    EXPECT_EQ(unsafe_to_unique(UnqualifiedFdxPath("a.b^]"))->str(), "a.b^]");
    EXPECT_EQ(unsafe_to_unique(UnqualifiedFdxPath(""))->str(), "");

    ZoHmiSrv::Command command("name");
    command.set_mapping("MAIN.x[1]");
    EXPECT_EQ(UnqualifiedFdxPath(command).str(), "MAIN.x[1]");
}

TEST(PathSpellings, AreKeysThatATextFinds) {
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

TEST(PathOfAnEntry, IsTheNameThatFitsIntoIt) {
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
