#include "device/type_name_escape.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

using namespace ZoHmiFdx;

namespace {

TEST(EscapedName, Examples) {
    const struct {
        const char* name;
        const char* expected;
    } cases[] = {
        {"", ""},
        {"ns.FB_Axis^,x", "ns.FB_Axis^,x"},
        {"STRING(80) ", "STRING-80-"},
        {"STRING(80)x", "STRING(80)x"},
        {"INT (0..7)", "INT--0..7"},
        {"f(((a)))", "f-((a))"},
        {"f( a)", "f(-a"}, // the partner stands in another word
        {"f(a))", "f(a)"}, // the partner of the last one is missing
        {")", ""},
        {"(", "("},
        {"List<INT>", "ListINT"},
        {"f<)>", "f"},
        {"POINTER TO ", "POINTER-TO-"},
        {"POINTER TO (x)", "POINTER-TO--x"},
        {"REFERENCE TO POINTER TO STRING(80)", "REFERENCE-TO-POINTER-TO-STRING-80"},
        {"ARRAY [1..3,0..2] OF ARRAY [0..1] OF STRING(8)", "ARRAY_1..3_0..2_OF-ARRAY_0..1_OF-STRING-8"},
        {"ARRAY [] OF X", "ARRAY__OF-X"},
        {"ARRAY [", "ARRAY-("},
        {"ARRAY [1", "ARRAY_1"},
        {"ARRAY [1]", "ARRAY_1)"},
        {"ARRAY [1] OF ", "ARRAY_1)-OF-"},
        {"ARRAY [1] of X", "ARRAY_1)-of-X"},
        {"ARRAY [1,", "ARRAY_1,"},
        {"ARRAY [1, ", "ARRAY_1_-"}, // the comma with its blank needs more text, the comma alone has some
        {"ARRAY [f(1)..f(2)] OF X", "ARRAY_f(1)..f-2_OF-X"},
        {"ARRAY [a[1,2]..b[3], 4] OF X", "ARRAY_a(1,2)..b(3)_4_OF-X"},
        {"ARRAY [a[b[1]2,3]] OF X", "ARRAY_a(b(1)2,3)_OF-X"},
        {"ARRAY [a[1] OF X", "ARRAY_a(1)-OF-X"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(escape_datatype_name(c.name), c.expected) << '"' << c.name << '"';
}

// Arrays whose brackets are never closed must not be searched to the end of the text for each of them.
TEST(EscapedName, TakesLinearTime) {
    std::string name;
    std::string expected = "ARRAY_x-";
    for (int i = 0; i < 200'000; ++i)
        name += "ARRAY [x ";
    for (int i = 1; i < 200'000; ++i)
        expected += "ARRAY_x-";
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(escape_datatype_name(name) == expected);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20)); // hundreds if it were quadratic
}

} // namespace
