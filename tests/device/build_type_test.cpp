#include "device/build_type.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>

using namespace ZoHmiFdx;
using ZoHmiSrv::ValueType;

namespace {

TEST(BuildType, TakesWhatTheNameTells) {
    const struct {
        std::string name, type_name;
        std::int32_t size;
        ValueType hmi_type;
        std::uint32_t fdx_type;
    } cases[] = {
        {"INT ReadOnly", "INT", 2, ValueType::Int, 0x02},
        {"STRING(80)", "STRING(80)", 81, ValueType::String, 0x1E},
        {"WSTRING[80]", "WSTRING[80]", 162, ValueType::String, 0x1F},
        {"STRING", "STRING", 0, ValueType::String, 0x1E},
        {"STRING(-5)", "STRING(-5)", 0, ValueType::String, 0x1E}, // 4294967292 bytes
        {"POINTER TO INT", "INT", 0, ValueType::Null, 0},
        {"REFERENCE TO POINTER TO INT", "POINTER TO INT", 0, ValueType::Null, 0},
        {"POINTER TO ", "POINTER TO ", 0, ValueType::Null, 0},
        {"XINT", "XINT", 0, ValueType::Null, 0}, // a size of the target's own
        {"", "", 0, ValueType::Null, 0},

        {"ARRAY [-1..1,0 .. 9] OF BOOL ReadOnly", "BOOL", 30, ValueType::Vector, 0x21},
        {"ARRAY [0..1] OF ARRAY [0..2] OF DINT", "ARRAY [0..2] OF DINT", 24, ValueType::Vector, 0x03},
        {"ARRAY [0..1] OF ST_Pump", "ST_Pump", 0, ValueType::Vector, 0},
        {"ARRAY [0..2147483647] OF SINT", "SINT", 0, ValueType::Vector, 0x10}, // one byte too large
        {"ARRAY [0..2147483646] OF SINT", "SINT", 2147483647, ValueType::Vector, 0x10},
        {"ARRAY [0..4294967295, 0..4294967295] OF LINT", "LINT", 0, ValueType::Vector, 0x14}, // 2^67 bytes
        {"ARRAY [0..9223372036854775807] OF LINT", "LINT", 0, ValueType::Vector, 0x14},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const Datatype type = build_type(c.name);
        EXPECT_EQ(type.item_name(), c.name);
        EXPECT_EQ(type.type_name(), c.type_name);
        EXPECT_EQ(type.size(), c.size);
        EXPECT_EQ(type.hmi_type(), c.hmi_type);
        EXPECT_EQ(std::uint32_t(type.fdx_type()), c.fdx_type);
        EXPECT_EQ(type.parsed(), c.fdx_type != 0);
        EXPECT_TRUE(type.sanity_check());
    }
}

TEST(BuildType, MarksIndirectionsPackedBitsAndSubranges) {
    EXPECT_TRUE(build_type("BIT").bits_may_be_packed());
    EXPECT_FALSE(build_type("ARRAY [0..7] OF BIT").bits_may_be_packed());
    EXPECT_TRUE(build_type("REFERENCE TO INT").is_reference());
    EXPECT_TRUE(build_type("POINTER TO INT ReadOnly").is_indirection_strict());
    EXPECT_FALSE(build_type("POINTER TO INT").is_reference());
    EXPECT_FALSE(build_type("ARRAY [0..1] OF POINTER TO INT").is_indirection());
    EXPECT_TRUE(build_type("ARRAY [0..1] OF INT").can_have_dialects());
    EXPECT_FALSE(build_type("ARRAY [0..1] OF ST_Pump").can_have_dialects());

    const Datatype subrange = build_type("INT(-3..7) ReadOnly");
    ASSERT_TRUE(subrange.attributes().value_of_lower_border().has_value());
    EXPECT_EQ(subrange.attributes().value_of_lower_border()->get(), "-3");
    EXPECT_EQ(subrange.attributes().value_of_upper_border()->get(), "7");
}

TEST(BuildType, ReadsDimensions) {
    const Datatype type = build_type("ARRAY [ -2147483648 .. -1 ,+1..3] OF ARRAY [5..5] OF UINT");
    ASSERT_EQ(type.array_info().dimensions(), 2u);
    EXPECT_EQ(type.array_info().dimension(0).lower_bound, -2147483648);
    EXPECT_EQ(type.array_info().max_index(0), -1);
    EXPECT_EQ(type.array_info().dimension(1).lower_bound, 1);
    EXPECT_EQ(type.array_info().max_index(1), 3);
    EXPECT_EQ(type.array_info().total_nr_of_elements(), 3ull << 31);
    EXPECT_EQ(type.array_info().element_type_name(), "ARRAY [5..5] OF UINT");

    for (const char* name :
         {"ARRAY [] OF INT", "ARRAY [1..] OF INT", "ARRAY [1..3,] OF INT", "ARRAY [3..2] OF INT", "ARRAY [1..3] OF ",
          "ARRAY [1..3]", "ARRAY [a..b] OF INT", "ARRAY [1...3] OF INT", "ARRAY [-2147483649..0] OF INT",
          "ARRAY [0..9223372036854775808] OF INT", "array [1..3] OF INT", "xARRAY [1..3] OF INT", "ARRAY [1..3"}) {
        const Datatype unknown = build_type(name);
        EXPECT_EQ(unknown.hmi_type(), ValueType::Null) << name;
        EXPECT_EQ(unknown.array_info().dimensions(), 0u) << name;
        EXPECT_EQ(unknown.item_name(), name);
    }
}

TEST(BuildType, EndsInArraysOfArraysWithoutEnd) {
    const auto nested = [](int depth) {
        std::string name;
        for (int i = 0; i < depth; ++i) {
            name += "ARRAY [0..0] OF ";
        }
        return build_type(name + "INT");
    };
    EXPECT_EQ(nested(16).size(), 2);
    EXPECT_EQ(nested(17).size(), 0);
    EXPECT_EQ(nested(100'000).hmi_type(), ValueType::Vector);
}

} // namespace
