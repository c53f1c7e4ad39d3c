// What a failed allocation leaves behind, and trees that are deeper than any stack.
#include "tests/server_api/allocations.h"

#include "extension/host/event.h"
#include "extension/host/event_payload.h"
#include "extension/host/value.h"
#include "tests/server_api/values.h"
#include "tests/test_headers.h"

#include <type_traits>

using namespace ZoHmiSrv;
using values::show;

static_assert(std::is_nothrow_move_constructible_v<Value> && std::is_nothrow_move_assignable_v<Value>);
static_assert(std::is_nothrow_move_constructible_v<Event> && std::is_nothrow_move_assignable_v<Event>);
static_assert(std::is_nothrow_move_constructible_v<Message> && std::is_nothrow_move_constructible_v<Alarm>);

namespace {

Value record(int members) {
    Value value = Value().set_type(ValueType::Struct);
    for (int i = 0; i < members; ++i)
        value[("member_" + std::to_string(1000 + i)).c_str()] = i % 2 == 0 ? Value("short text") : Value(i);
    return value;
}

Value rich_tree() {
    Value tree = record(200);
    tree["a name that is too long to lie inside"] = "a text that is too long to lie inside";
    tree["list"] << record(3) << "a text that is too long to lie inside";
    Event event;
    event.set_name("an event with a long name, as some of them have one");
    event.payload().get_alarm().set_name("an alarm with a long name, as some of them have one");
    event.payload().get_alarm().parameters()["p"] = record(2);
    tree["event"] = event;
    return tree;
}

} // namespace

TEST(Allocations, FailureLeavesWholeValues) {
    struct Case {
        const char* name;
        std::function<void(Value&)> operation;
        bool unchanged = true; // what the value must be after a failure
    };
    const Case cases[] = {
        {"copy", [](Value& v) { const Value copy(v); }},
        {"assign", [](Value& v) { Value("x") = v; }},
        {"insert at the end", [](Value& v) { v.insert("zzz_a_name_that_is_too_long_to_lie_inside", 1); }},
        {"insert in the middle", [](Value& v) { v.insert("member_1100_a_name_that_is_too_long", v["list"]); }},
        {"new runs",
         [](Value& v) {
             for (int i = 0; i < 400; ++i)
                 v.insert_or_update(("x" + std::to_string(i)).c_str(), i);
         },
         false},
        {"append itself", [](Value& v) { v["list"] << v["list"] << v["list"]; }, false},
        {"set a text", [](Value& v) { v.set("a text that is too long to lie inside"); }},
        {"a message", [](Value& v) { v["event"].get_event().payload().get_message(); }, false},
        {"write what is shared",
         [](Value& v) {
             const Value other = v.share();
             v["member_1100"] = 1;
         }},
        {"compare", [](Value& v) { (void)(Value(v) == v); }},
    };
    const Value original = rich_tree();
    for (const Case& c : cases) {
        std::size_t failures = 0;
        for (bool failed = true; failed; ++failures) {
            ASSERT_LT(failures, 2000U) << c.name;
            Value value = original;
            allocations::fail_after(failures);
            try {
                c.operation(value);
                failed = allocations::stop_failing();
                EXPECT_FALSE(failed) << c.name << " swallowed a failure";
            } catch (const std::bad_alloc&) {
                failed = allocations::stop_failing();
            }
            ASSERT_TRUE(!failed || !c.unchanged || value == original) << c.name << ", allocation " << failures;
            EXPECT_FALSE(show(value).empty());
        }
    }
}

namespace {

constexpr int levels = 100'000;

/// Each level wraps the inner value in one more container.
Value nested(int bottom, void (*wrap)(Value& outer, Value&& inner)) {
    Value value(bottom);
    for (int i = 0; i < levels; ++i) {
        Value outer;
        wrap(outer, std::move(value));
        value.swap(outer);
    }
    return value;
}

} // namespace

TEST(DeepValue, CopiesComparesDestroys) {
    void (*const wrappings[])(Value&, Value &&) = {
        [](Value& outer, Value&& inner) { outer << "beside" << std::move(inner); },
        [](Value& outer, Value&& inner) { outer.insert("a name that is too long to lie inside", std::move(inner)); },
        [](Value& outer, Value&& inner) { outer.get_message().parameters().insert("inner", std::move(inner)); },
        [](Value& outer, Value&& inner) { outer.get_event().payload().get_alarm().parameters() = std::move(inner); },
    };
    for (const auto wrap : wrappings) {
        const Value deep = nested(1, wrap);
        Value copy = deep;
        EXPECT_TRUE(copy == deep);
        const Value other = nested(2, wrap);
        EXPECT_TRUE(deep != other);
        EXPECT_TRUE(deep < other);
        EXPECT_FALSE(other < copy);
        copy.set_type(ValueType::Bool);
        EXPECT_EQ(copy.type(), ValueType::Bool);
    }
}
