#include "device/dialect.h"
#include "device/indirection.h"

#include <gtest/gtest.h>

#include <string>

using namespace ZoHmiFdx;

namespace {

TEST(Dialect, SuffixOfANameIsFoundAndRemoved) {
    const struct {
        std::string name;
        std::string removed;
        bool has;
        bool readonly;
        bool nothing_else;
    } cases[] = {
        {"", "", false, false, true},
        {"X ReadOnly", "X", true, true, false},
        {"X ShowRecursively", "X", true, false, false},
        {"X ReadOnly ShowRecursively", "X", true, true, false},
        {" ReadOnly", "", true, true, true},
        {" ReadOnly ShowRecursively", "", true, true, true},
        {" ShowRecursively", "", true, false, false}, // taken for a name
        {"X ShowRecursively ReadOnly", "X", true, true, false},
        // Three endings are tried in turn, each once.
        {"X ReadOnly ReadOnly", "X ReadOnly", true, true, false},
        {"X ReadOnly ReadOnly ShowRecursively", "X", true, true, false},
        {"X ReadOnly ShowRecursively ReadOnly", "X ReadOnly", true, true, false},
        {"X ShowRecursively ShowRecursively", "X ShowRecursively", true, false, false},
        {"ReadOnly", "ReadOnly", false, false, false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(remove_dialect_suffix_copy(c.name), c.removed) << c.name;
        std::string name = c.name;
        remove_dialect_suffix(name);
        EXPECT_EQ(name, c.removed) << c.name;
        EXPECT_EQ(has_dialect_suffix(c.name), c.has) << c.name;
        EXPECT_EQ(has_readonly_dialect_suffix(c.name), c.readonly) << c.name;
        EXPECT_EQ(empty_or_only_dialect_suffix(c.name), c.nothing_else) << c.name;
    }
}

TEST(Dialect, AddReplacesTheSuffix) {
    constexpr auto both = DatatypeDialectFlags::ReadOnly | DatatypeDialectFlags::ShowRecursively;
    for (const char* name : {"X", "X ReadOnly", "X ShowRecursively", "X ReadOnly ShowRecursively"}) {
        EXPECT_EQ(add_dialect_suffix(name, DatatypeDialectFlags::None), "X");
        EXPECT_EQ(add_dialect_suffix(name, DatatypeDialectFlags::ReadOnly), "X ReadOnly");
        EXPECT_EQ(add_dialect_suffix(name, DatatypeDialectFlags::ShowRecursively), "X ShowRecursively");
        EXPECT_EQ(add_dialect_suffix(name, both), "X ReadOnly ShowRecursively");
        EXPECT_EQ(add_dialect_suffix(name, DatatypeDialectFlags(4)), "X");
    }
    EXPECT_EQ(add_dialect_suffix("", both), " ReadOnly ShowRecursively");
}

TEST(Indirection, OperatorsLeadToTheTarget) {
    struct Case {
        std::string name;
        std::string target;
        std::string operators;
        bool found;
        std::string remainder;
    };
    const std::string pointer = "POINTER TO ", reference = "REFERENCE TO ";
    const Case cases[] = {
        {pointer + reference + "INT", "INT", "^`", true, ""},
        {reference + pointer + pointer + "INT", "INT", "`^^", true, ""},
        {reference + pointer + "INT", pointer + "INT", "`", true, ""},
        {"INT", "I", "", true, ""}, // the target need only be the start
        {pointer + "INT", "I", "^", true, ""},
        {pointer + "INT", "DINT", "^", false, ""},
        {pointer + "INT", "", "^", true, ""},
        // The prefix is stripped before the target is looked for.
        {pointer + "INT", pointer, "^", false, ""},
        {pointer + pointer + "INT", pointer, "^", true, ""},
        // A name that is its own target.
        {"INT", "INT", "", true, "INT"},
        {"", "", "", true, ""},
        {pointer + "INT", pointer + "INT", "^", false, "INT"},
        {reference + pointer + "INT", reference + pointer + "INT", "`", false, pointer + "INT"},
    };
    for (const Case& c : cases) {
        const auto result = analyze_indirection_type_names(c.name, c.target);
        EXPECT_EQ(result.dereference_operators, c.operators) << c.name << " | " << c.target;
        EXPECT_EQ(result.target_found, c.found) << c.name << " | " << c.target;
        EXPECT_EQ(result.remainder, c.remainder) << c.name << " | " << c.target;
        EXPECT_EQ(infer_dereference_operators(c.name, c.target), c.operators) << c.name << " | " << c.target;
    }
    EXPECT_TRUE(is_indirection_strict(pointer) && is_indirection_strict(reference + "INT"));
    EXPECT_FALSE(is_indirection_strict("POINTER TO") || is_indirection_strict("") ||
                 is_indirection_strict("ARRAY [0..1] OF POINTER TO INT"));
}

} // namespace
