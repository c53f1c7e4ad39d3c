#include "device/type/dialect.h"

#include "device/type/datatype_description.h"
#include "device/type/fix_type_description.h"
#include "device/type/indirection.h"
#include "device/type/type_name_escape.h"
#include "tests/test_headers.h"

using namespace ZoHmiFdx;

namespace {

TEST(Dialect, FindsAndRemovesSuffix) {
    const std::tuple<std::string, std::string, bool, bool, bool> cases[] = {
        {"", "", false, false, true},
        {"X ReadOnly", "X", true, true, false},
        {"X ShowRecursively", "X", true, false, false},
        {"X ReadOnly ShowRecursively", "X", true, true, false},
        {" ReadOnly", "", true, true, true},
        {" ShowRecursively", "", true, false, false}, // taken for a name
        {"X ShowRecursively ReadOnly", "X", true, true, false},
        // Three endings are tried in turn, each once.
        {"X ReadOnly ReadOnly", "X ReadOnly", true, true, false},
        {"X ReadOnly ShowRecursively ReadOnly", "X ReadOnly", true, true, false},
        {"ReadOnly", "ReadOnly", false, false, false},
    };
    for (const auto& [name, removed, has, readonly, nothing_else] : cases) {
        EXPECT_EQ(remove_dialect_suffix_copy(name), removed) << name;
        std::string changed = name;
        remove_dialect_suffix(changed);
        EXPECT_EQ(changed, removed) << name;
        EXPECT_EQ(has_dialect_suffix(name), has) << name;
        EXPECT_EQ(has_readonly_dialect_suffix(name), readonly) << name;
        EXPECT_EQ(empty_or_only_dialect_suffix(name), nothing_else) << name;
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
    const std::string pointer = "POINTER TO ", reference = "REFERENCE TO ";
    const std::tuple<std::string, std::string, std::string, bool, std::string> cases[] = {
        {pointer + reference + "INT", "INT", "^`", true, ""},
        {reference + pointer + pointer + "INT", "INT", "`^^", true, ""},
        {reference + pointer + "INT", pointer + "INT", "`", true, ""},
        {"INT", "I", "", true, ""}, // the target need only be the start
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
    for (const auto& [name, target, operators, found, remainder] : cases) {
        const auto result = analyze_indirection_type_names(name, target);
        EXPECT_EQ(result.dereference_operators, operators) << name << " | " << target;
        EXPECT_EQ(result.target_found, found) << name << " | " << target;
        EXPECT_EQ(result.remainder, remainder) << name << " | " << target;
        EXPECT_EQ(infer_dereference_operators(name, target), operators) << name << " | " << target;
    }
    EXPECT_TRUE(is_indirection_strict(pointer) && is_indirection_strict(reference + "INT"));
    EXPECT_FALSE(is_indirection_strict("POINTER TO") || is_indirection_strict("") ||
                 is_indirection_strict("ARRAY [0..1] OF POINTER TO INT"));
}

TEST(EscapedName, Examples) {
    const std::pair<const char*, const char*> cases[] = {
        {"ns.FB_Axis^,x", "ns.FB_Axis^,x"},
        {"STRING(80) ", "STRING-80-"},
        {"STRING(80)x", "STRING(80)x"},
        {"INT (0..7)", "INT--0..7"},
        {"f(((a)))", "f-((a))"},
        {"f( a)", "f(-a"}, // the partner stands in another word
        {"f(a))", "f(a)"}, // the partner of the last one is missing
        {")", ""},
        {"(", "("},
        {"f<)>", "f"},
        {"POINTER TO (x)", "POINTER-TO--x"},
        {"REFERENCE TO POINTER TO STRING(80)", "REFERENCE-TO-POINTER-TO-STRING-80"},
        {"ARRAY [1..3,0..2] OF ARRAY [0..1] OF STRING(8)", "ARRAY_1..3_0..2_OF-ARRAY_0..1_OF-STRING-8"},
        {"ARRAY [] OF X", "ARRAY__OF-X"},
        {"ARRAY [", "ARRAY-("},
        {"ARRAY [1", "ARRAY_1"},
        {"ARRAY [1] OF ", "ARRAY_1)-OF-"},
        {"ARRAY [1] of X", "ARRAY_1)-of-X"},
        {"ARRAY [1,", "ARRAY_1,"},
        {"ARRAY [1, ", "ARRAY_1_-"}, // the comma with its blank needs more text, the comma alone has some
        {"ARRAY [f(1)..f(2)] OF X", "ARRAY_f(1)..f-2_OF-X"},
        {"ARRAY [a[1,2]..b[3], 4] OF X", "ARRAY_a(1,2)..b(3)_4_OF-X"},
        {"ARRAY [a[b[1]2,3]] OF X", "ARRAY_a(b(1)2,3)_OF-X"},
        {"ARRAY [a[1] OF X", "ARRAY_a(1)-OF-X"},
    };
    for (const auto& [name, expected] : cases)
        EXPECT_EQ(escape_datatype_name(name), expected) << '"' << name << '"';
}

// A search to the end of the text for each unclosed array would exceed the time limit of the test.
TEST(EscapedName, TakesLinearTime) {
    std::string name, expected;
    for (int i = 0; i < 200'000; ++i) {
        name += "ARRAY [x ";
        expected += "ARRAY_x-";
    }
    EXPECT_TRUE(escape_datatype_name(name) == expected);
}

using Entries = std::vector<Attributes::Entry>;

DatatypeDescription describe(FdxDataType type, const std::string& name) {
    return {.item_name = name, .type_name = name, .fdx_type = type};
}

TEST(TypeDescription, SubrangeGivesBorders) {
    const std::tuple<FdxDataType, std::string, Entries> cases[] = {
        {FdxDataType::Int16, "INT (0..7)", {{"LowerBorder", "0"}, {"UpperBorder", "7"}}},
        {FdxDataType::Int64, "LINT ( -5 .. 5 )x", {{"LowerBorder", " -5 "}, {"UpperBorder", " 5 "}}},
        {FdxDataType::Int16, "INT (1...7)", {{"LowerBorder", "1"}, {"UpperBorder", ".7"}}},
        {FdxDataType::Int16, "INT (f(1)..2)", {{"LowerBorder", "f(1)"}, {"UpperBorder", "2"}}},
        {FdxDataType::Int16, "INT (0)", {}},
        {FdxDataType::Int16, "INT (0..7", {}},
        {FdxDataType::Int16, "0..(7)", {}},
        {FdxDataType::Real, "REAL (0..7)", {}},
    };
    for (const auto& [type, name, expected] : cases) {
        auto description = describe(type, name);
        fix_type_description(description);
        EXPECT_EQ(description.attributes.entries(), expected) << name;
        EXPECT_EQ(description.type_name, name); // a plain type may name itself
    }
}

TEST(TypeDescription, ExistingBordersStay) {
    for (const char* key : {"LowerBorder", "UpperBorder"}) {
        auto description = describe(FdxDataType::Int16, "INT (0..7)");
        description.attributes.add(key, "3");
        fix_type_description(description);
        EXPECT_EQ(description.attributes.entries(), (Entries{{key, "3"}}));
    }
    auto array = describe(FdxDataType::Int16, "INT (0..7)");
    array.array_info.add_dimension(0, 4);
    fix_type_description(array);
    EXPECT_TRUE(array.attributes.empty());

    auto other = describe(FdxDataType::Int16, "INT (0..7)");
    other.attributes.add("ZoHmiSymbol.Hide", "");
    fix_type_description(other);
    EXPECT_EQ(other.attributes.value_of_upper_border()->get(), "7");
}

TEST(TypeDescription, SelfTargetBecomesRemainder) {
    const std::string pointer = "POINTER TO ", reference = "REFERENCE TO ";
    const std::tuple<DatatypeFlags, std::string, std::string, std::string> cases[] = {
        {DatatypeFlags::Pointer, pointer + "INT", pointer + "INT", "INT"},
        {DatatypeFlags::Reference, reference + pointer + "INT", reference + pointer + "INT", pointer + "INT"},
        {DatatypeFlags::Pointer, pointer + "INT", "INT", "INT"},
        {DatatypeFlags::Pointer, pointer + "INT", pointer + "DINT", pointer + "DINT"},
        {DatatypeFlags::PlainType, pointer + "INT", pointer + "INT", pointer + "INT"},
        {DatatypeFlags::Pointer, pointer, pointer, pointer},
    };
    for (const auto& [flag, item_name, type_name, expected] : cases) {
        DatatypeDescription description{.item_name = item_name, .type_name = type_name, .flags = std::uint32_t(flag)};
        fix_type_description(description);
        EXPECT_EQ(description.type_name, expected) << item_name;
        EXPECT_EQ(description.item_name, item_name);
    }
}

TEST(TypeDescription, FixesBordersAndTarget) {
    auto description = describe(FdxDataType::UInt32, "POINTER TO INT (0..7)");
    description.flags |= DatatypeFlags::Pointer;
    fix_type_description(description);
    EXPECT_EQ(description.type_name, "INT (0..7)");
    EXPECT_EQ(description.attributes.value_of_lower_border()->get(), "0");
}

} // namespace
