// Types as their names tell them, and the items that types have.
#include "device/type/build_type.h"

#include "device/code/code_page.h"
#include "device/type/method_item.h"
#include "device/type/property_item.h"
#include "device/type/type_name.h"
#include "tests/test_headers.h"

#include <stdexcept>

using namespace ZoHmiFdx;
using ZoHmiSrv::ValueType;

namespace {

TEST(BuildType, TypesOfNames) {
    const std::tuple<std::string, std::string, std::int32_t, ValueType, std::uint32_t> cases[] = {
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
    for (const auto& [name, type_name, size, hmi_type, fdx_type] : cases) {
        SCOPED_TRACE(name);
        const Datatype type = build_type(name);
        EXPECT_EQ(type.item_name(), name);
        EXPECT_EQ(type.type_name(), type_name);
        EXPECT_EQ(type.size(), size);
        EXPECT_EQ(type.hmi_type(), hmi_type);
        EXPECT_EQ(std::uint32_t(type.fdx_type()), fdx_type);
        EXPECT_EQ(type.parsed(), fdx_type != 0);
        EXPECT_TRUE(type.sanity_check());
    }
}

TEST(BuildType, SetsFlagsAndBorders) {
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

TEST(BuildType, LimitsDepthOfArrays) {
    const auto nested = [](int depth) {
        std::string name;
        for (int i = 0; i < depth; ++i)
            name += "ARRAY [0..0] OF ";
        return build_type(name + "INT");
    };
    EXPECT_EQ(nested(16).size(), 2);
    EXPECT_EQ(nested(17).size(), 0);
    EXPECT_EQ(nested(100'000).hmi_type(), ValueType::Vector);
}

TEST(PropertyItem, Signature) {
    const std::tuple<std::string, bool, bool, std::string> cases[] = {
        {"INT", true, false, "PROPERTY-GET-INT"},
        {"INT", false, true, "PROPERTY-SET-INT"},
        {"ARRAY [1..3] OF STRING(80)", true, true, "PROPERTY-GET-SET-ARRAY_1..3_OF-STRING-80"},
        {"INT", false, false, "PROPERTY-VOID"},
        {"", true, true, "PROPERTY-VOID"},
    };
    for (const auto& [type_name, getter, setter, signature] : cases) {
        PropertyItem item("p", type_name, 4, 2, "", {});
        EXPECT_EQ(item.offset(), 4);                     // which stands before the size
        item.set_prefixed_getter_method_exists(!getter); // each flag is set and taken back alone
        item.set_prefixed_setter_method_exists(!setter);
        item.set_prefixed_getter_method_exists(getter);
        item.set_prefixed_setter_method_exists(setter);
        EXPECT_EQ(item.signature(), signature);
    }
}

TEST(MethodItem, Signature) {
    using Parameters = std::vector<MethodParameterItem>;
    const std::tuple<const char*, std::string, Parameters, std::string> cases[] = {
        {"nothing", "", {}, "METHOD-VOID"},
        {"parameters without result", "", {{"a", "INT", "", 1}}, "METHOD-PARAMETERS-a-INT"},
        {"without the flag of an output it is an input", "", {{"a", "INT", "", 0xFFFFFFFD}}, "METHOD-PARAMETERS-a-INT"},
        {"groups in their order, each sorted by its texts",
         "POINTER TO INT",
         {{"a", "REAL", "", 3},
          {"z", "STRING(80)", "", 1},
          {"b", "INT", "", 2},
          {"y", "INT", "", 0},
          {"B", "INT", "", 6},
          {"\xE4", "INT", "", 1}},
         "METHOD-RETURNING-POINTER-TO-INT-PARAMETERS-y-INT--z-STRING-80--\xE4-INT--B-OUT-INT--b-OUT-INT--a-IN_OUT-"
         "REAL"},
        {"the comment and the size do not count",
         "",
         {{"a", "INT", "x", 0, 4}, {"a", "INT", "", 0, 2}},
         "METHOD-PARAMETERS-a-INT--a-INT"},
        {"without names", "", {{"", "", "", 0}}, "METHOD-PARAMETERS--"},
    };
    for (const auto& [what, return_type_name, parameters, signature] : cases) {
        SCOPED_TRACE(what);
        MethodItem forwards("m", return_type_name, "", MethodFlags::None), backwards = forwards;
        std::for_each(parameters.begin(), parameters.end(), [&](auto& p) { forwards.add_parameter(p); });
        std::for_each(parameters.rbegin(), parameters.rend(), [&](auto& p) { backwards.add_parameter(p); });
        EXPECT_EQ(forwards.signature(), signature);
        EXPECT_EQ(backwards.signature(), signature);
        EXPECT_EQ(forwards.has_out_or_inout_parameters(), signature.find("OUT-") != std::string::npos);
    }
}

TEST(MethodItem, SwapsAllFields) {
    MethodItem getter("__getspeed", "INT", "of the pump", MethodFlags(flags_from_method_name("__getspeed")));
    getter.add_parameter({"a", "INT", "", MethodParameterItem::out});

    MethodItem other;
    other.swap(getter);
    EXPECT_EQ(std::uint8_t(other.flags()), 3);
    EXPECT_EQ(other.name() + other.comment() + other.signature(),
              "__getspeedof the pumpMETHOD-RETURNING-INT-PARAMETERS-a-OUT-INT");
    EXPECT_EQ(getter.name() + getter.return_type_name() + getter.comment(), "");
    EXPECT_EQ(getter.flags(), MethodFlags::None);
    EXPECT_EQ(getter.signature(), "METHOD-VOID");
}

TEST(CodePage, AllButUtf8AreConverted) {
    const std::string device = "\xE4\x80", utf8 = "\xC3\xA4\xE2\x82\xAC"; // "ä€"
    for (const int code_page : {1252, 0, -1, 1251, 65000}) {
        SCOPED_TRACE(code_page);
        EXPECT_EQ(to_utf8(device, code_page), utf8);
        EXPECT_EQ(utf8_to_codepage(utf8, code_page), device);
        EXPECT_EQ(utf8_to_codepage("a\xCE\xA9z", code_page), "az"); // the code page has no such letter
        EXPECT_THROW((void)utf8_to_codepage(device, code_page), std::range_error);
    }
    for (const std::string& text : {device, utf8, std::string("a\0b", 3)}) {
        EXPECT_EQ(to_utf8(text, 65001), text);
        EXPECT_EQ(utf8_to_codepage(text, 65001), text);
    }
}

} // namespace
