#include "device/datatype_description.h"
#include "device/fix_type_description.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace ZoHmiFdx;

namespace {

using Entries = std::vector<Attributes::Entry>;

DatatypeDescription describe(FdxDataType type, const std::string& name) {
    DatatypeDescription description;
    description.fdx_type = type;
    description.item_name = name;
    description.type_name = name;
    return description;
}

TEST(TypeDescription, BordersOfASubrangeBecomeAttributes) {
    const struct {
        FdxDataType type;
        std::string name;
        Entries expected;
    } cases[] = {
        {FdxDataType::Int16, "INT (0..7)", {{"LowerBorder", "0"}, {"UpperBorder", "7"}}},
        {FdxDataType::Int64, "LINT ( -5 .. 5 )x", {{"LowerBorder", " -5 "}, {"UpperBorder", " 5 "}}},
        {FdxDataType::Int16, "INT (1...7)", {{"LowerBorder", "1"}, {"UpperBorder", ".7"}}},
        {FdxDataType::Int16, "INT (f(1)..2)", {{"LowerBorder", "f(1)"}, {"UpperBorder", "2"}}},
        {FdxDataType::Int16, "INT (0)", {}},
        {FdxDataType::Int16, "INT (0..7", {}},
        {FdxDataType::Int16, "0..(7)", {}},
        {FdxDataType::Int16, "(", {}},
        {FdxDataType::Real, "REAL (0..7)", {}},
        {FdxDataType::Int56, "INT56 (0..7)", {}},
    };
    for (const auto& c : cases) {
        auto description = describe(c.type, c.name);
        fix_type_description(description);
        EXPECT_EQ(description.attributes.entries(), c.expected) << c.name;
        EXPECT_EQ(description.type_name, c.name); // a plain type may name itself
    }
}

TEST(TypeDescription, BordersThatAreThereStay) {
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

TEST(TypeDescription, IndirectionToItselfGetsWhatItPointsTo) {
    struct Case {
        DatatypeFlags flag;
        std::string item_name;
        std::string type_name;
        std::string expected;
    };
    const std::string pointer = "POINTER TO ", reference = "REFERENCE TO ";
    const Case cases[] = {
        {DatatypeFlags::Pointer, pointer + "INT", pointer + "INT", "INT"},
        {DatatypeFlags::Reference, reference + pointer + "INT", reference + pointer + "INT", pointer + "INT"},
        {DatatypeFlags::Pointer, pointer + "INT", "INT", "INT"},
        {DatatypeFlags::Pointer, pointer + "INT", pointer + "DINT", pointer + "DINT"},
        {DatatypeFlags::PlainType, pointer + "INT", pointer + "INT", pointer + "INT"},
        {DatatypeFlags::Pointer, pointer, pointer, pointer},
    };
    for (const Case& c : cases) {
        DatatypeDescription description;
        description.flags = std::uint32_t(c.flag);
        description.item_name = c.item_name;
        description.type_name = c.type_name;
        fix_type_description(description);
        EXPECT_EQ(description.type_name, c.expected) << c.item_name;
        EXPECT_EQ(description.item_name, c.item_name);
    }
}

TEST(TypeDescription, BordersAndTargetAreRepairedIndependently) {
    auto description = describe(FdxDataType::UInt32, "POINTER TO INT (0..7)");
    description.flags |= DatatypeFlags::Pointer;
    fix_type_description(description);
    EXPECT_EQ(description.type_name, "INT (0..7)");
    EXPECT_EQ(description.attributes.value_of_lower_border()->get(), "0");
}

} // namespace
