// Trees that are deeper than any stack.
#include "extension/host/event.h"
#include "extension/host/event_payload.h"
#include "extension/host/value.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>

using namespace ZoHmiSrv;

namespace {

constexpr int levels = 100'000;

struct Wrapping {
    const char* name;
    void (*wrap)(Value& value);
};

constexpr Wrapping wrappings[] = {
    {"vectors",
     [](Value& value) {
         Value outer = Value().set_type(ValueType::Vector) << "beside";
         outer << std::move(value);
         value.swap(outer);
     }},
    {"maps with long names",
     [](Value& value) {
         Value outer;
         outer.insert("a name that has to lie outside of its member", std::move(value));
         value.swap(outer);
     }},
    {"messages in maps",
     [](Value& value) {
         Value outer;
         outer.get_message().parameters().insert("inner", std::move(value));
         value.swap(outer);
     }},
    {"events of alarms",
     [](Value& value) {
         Value outer;
         outer.get_event().payload().get_alarm().parameters() = std::move(value);
         value.swap(outer);
     }},
};

class DeepValue : public testing::TestWithParam<Wrapping> {
protected:
    static Value build(int bottom) {
        Value value(bottom);
        for (int i = 0; i < levels; ++i) {
            GetParam().wrap(value);
        }
        return value;
    }
};

} // namespace

TEST_P(DeepValue, IsCopiedComparedAndDestroyed) {
    const Value deep = build(1);
    Value copy = deep;
    EXPECT_TRUE(copy == deep);
    const Value other = build(2);
    EXPECT_TRUE(deep != other);
    EXPECT_TRUE(deep < other);
    EXPECT_FALSE(other < copy);
    copy.set_type(ValueType::Bool);
    EXPECT_EQ(copy.type(), ValueType::Bool);
}

INSTANTIATE_TEST_SUITE_P(Kinds, DeepValue, testing::ValuesIn(wrappings),
                         [](const auto& kind) { return "Kind" + std::to_string(kind.index); });
