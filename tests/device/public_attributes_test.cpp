#include "device/attributes.h"
#include "device/state.h"
#include "extension/host/value.h"

#include <gtest/gtest.h>

#include <string>

using namespace ZoHmiFdx;
using ZoHmiSrv::Value;
using ZoHmiSrv::ValueType;

bool State::is_plc_attribute_ignored(const std::string& key) const {
    return key.starts_with("ZoHmiSymbol.");
}

namespace {

TEST(Attributes, PublicOnesAsValue) {
    const State state;
    Attributes attributes;
    attributes.add("ZoHmiSymbol.Hide", "");
    Value shown = attributes.public_attributes_as_value(state);
    EXPECT_EQ(shown.type(), ValueType::Map);
    EXPECT_TRUE(shown.empty());

    attributes.add("unit", "mm");
    attributes.add("Unit", "");
    attributes.add("ZoHmiSymbol.Show", "kept back");
    attributes.add("unit", "m"); // a symbol's own attributes stand behind those of its type
    attributes.add("", "no key");
    shown = attributes.public_attributes_as_value(state);
    EXPECT_EQ(shown.size(), 3u);
    EXPECT_EQ(shown["unit"].type(), ValueType::String);
    EXPECT_STREQ(shown["unit"].get_string(), "m");
    EXPECT_EQ(shown["Unit"].type(), ValueType::String);
    EXPECT_STREQ(shown[""].get_string(), "no key");
}

} // namespace
