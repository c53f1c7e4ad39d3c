#include "device/code_page.h"
#include "device/method_item.h"
#include "device/property_item.h"
#include "device/type_name.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

using namespace ZoHmiFdx;

namespace {

TEST(PropertyItem, Signature) {
    const struct {
        std::string type_name;
        bool getter, setter;
        std::string signature;
    } cases[] = {
        {"INT", true, false, "PROPERTY-GET-INT"},
        {"INT", false, true, "PROPERTY-SET-INT"},
        {"ARRAY [1..3] OF STRING(80)", true, true, "PROPERTY-GET-SET-ARRAY_1..3_OF-STRING-80"},
        {"INT", false, false, "PROPERTY-VOID"},
        {"", true, true, "PROPERTY-VOID"},
    };
    for (const auto& c : cases) {
        PropertyItem item("p", c.type_name, 4, 2, "", {});
        EXPECT_EQ(item.offset(), 4);                       // which stands before the size
        item.set_prefixed_getter_method_exists(!c.getter); // each flag is set and taken back alone
        item.set_prefixed_setter_method_exists(!c.setter);
        item.set_prefixed_getter_method_exists(c.getter);
        item.set_prefixed_setter_method_exists(c.setter);
        EXPECT_EQ(item.signature(), c.signature);
    }
}

TEST(MethodItem, Signature) {
    using Parameters = std::vector<MethodParameterItem>;
    const struct {
        const char* what;
        std::string return_type_name;
        Parameters parameters;
        std::string signature;
    } cases[] = {
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
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        MethodItem forwards("m", c.return_type_name, "", MethodFlags::None), backwards = forwards;
        std::for_each(c.parameters.begin(), c.parameters.end(), [&](auto& p) { forwards.add_parameter(p); });
        std::for_each(c.parameters.rbegin(), c.parameters.rend(), [&](auto& p) { backwards.add_parameter(p); });
        EXPECT_EQ(forwards.signature(), c.signature);
        EXPECT_EQ(backwards.signature(), c.signature);
        EXPECT_EQ(forwards.has_out_or_inout_parameters(), c.signature.find("OUT-") != std::string::npos);
    }
}

TEST(MethodItem, SwapsAndKeepsTheFlagsOfItsName) {
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

TEST(CodePage, OnlyUtf8IsLeftAlone) {
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
