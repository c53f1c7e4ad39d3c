// A Value that is used on itself, or on a part of itself.
#include "extension/host/event_payload.h"
#include "tests/server_api/values.h"

#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

using namespace ZoHmiSrv;
using values::show;

namespace {

const char* const long_text = "a text that is far too long to lie inside of a value";

Value sample_map() {
    Value map;
    map["a"] = long_text;
    map["b"]["c"] = "short";
    return map;
}

Value sample_vector() {
    return Value().set_type(ValueType::Vector) << 1 << sample_map() << long_text << "end";
}

} // namespace

TEST(ValueAlias, OperationsOnItself) {
    struct Case {
        const char* name;
        std::function<void(Value&)> operation;
        Value (*start)();
        std::string result;
    };
    const std::string map = show(sample_map());
    const std::string in_map = map.substr(1, map.size() - 2);
    const std::string vector = show(sample_vector());
    const std::string in_vector = vector.substr(1, vector.size() - 2);
    const std::string text = "'" + std::string(long_text) + "'";
    const Case cases[] = {
        {"v << v", [](Value& v) { v << v; }, sample_vector, "[" + in_vector + ", " + vector + "]"},
        {"v << v[2], a full vector", [](Value& v) { v << v[2]; }, sample_vector, "[" + in_vector + ", " + text + "]"},
        {"v.insert(begin, v[3])", [](Value& v) { v.insert(v.begin_vector(), v[3]); }, sample_vector,
         "['end', " + in_vector + "]"},
        {"v.resize(5, v[3])", [](Value& v) { v.resize(5, v[3]); }, sample_vector, "[" + in_vector + ", 'end']"},
        {"v = v[1]", [](Value& v) { v = v[1]; }, sample_vector, map},
        {"v = move(v[1])", [](Value& v) { v = std::move(v[1]); }, sample_vector, map},
        {"v[1] = v", [](Value& v) { v[1] = v; }, [] { return Value().set_type(ValueType::Vector) << 1 << 2; },
         "[Int(1), [Int(1), Int(2)]]"},
        {"v[x] = v, a map", [](Value& v) { v["x"] = v; }, sample_map, "{" + in_map + ", x: " + map + "}"},
        {"v[b][x] = move(v)", [](Value& v) { v["b"]["x"] = std::move(v); }, sample_map, "{b: {x: " + map + "}}"},
        {"v[Z] = v[b], which the insertion moves", [](Value& v) { v["Z"] = v["b"]; }, sample_map,
         "{Z: {c: 'short'}, " + in_map + "}"},
        {"v[5] = v[1], a full vector", [](Value& v) { v[5] = v[1]; }, sample_vector,
         "[" + in_vector + ", Null(), " + map + "]"},
        {"v = move(v)",
         [](Value& v) {
             Value& same = v;
             v = std::move(same);
         },
         sample_map, map},
        {"v.insert(x, v)", [](Value& v) { v.insert("x", v); }, sample_map, "{" + in_map + ", x: " + map + "}"},
        {"v.insert_or_update(a, v)", [](Value& v) { v.insert_or_update("a", v); }, sample_map,
         "{a: " + map + ", b: {c: 'short'}}"},
        {"v.insert(x, move(v[b]))", [](Value& v) { v.insert("x", std::move(v["b"])); }, sample_map,
         "{a: " + text + ", b: Null(), x: {c: 'short'}}"},
        {"v.insert(x, move(v[3])), a vector", [](Value& v) { v.insert("x", std::move(v[3])); }, sample_vector,
         "{x: 'end'}"},
        {"v[own short text]", [](Value& v) { v[v.get_string()] = 1; }, [] { return Value("name"); }, "{name: Int(1)}"},
        {"v[text of a member]", [](Value& v) { v[v["a"].get_string()] = 1; }, sample_map,
         "{a: " + text + ", " + long_text + ": Int(1), b: {c: 'short'}}"},
        {"v.insert(text of the value, move(value))",
         [](Value& v) { v.insert(v["b"]["c"].get_string(), std::move(v["b"]["c"])); }, sample_map,
         "{a: " + text + ", b: {c: Null()}, short: 'short'}"},
        {"v.set(own long text)", [](Value& v) { v.set(v.get_string() + 2); }, [] { return Value(long_text); },
         "'" + std::string(long_text + 2) + "'"},
        {"v.set(own bytes)", [](Value& v) { v.set(static_cast<Binary>(v)); }, [] { return Value("xyz"); },
         "Binary(eHl6)"},
    };
    for (const Case& c : cases) {
        Value value = c.start();
        c.operation(value);
        EXPECT_EQ(show(value), c.result) << c.name;
    }
}

TEST(ValueAlias, EventsInsideThemselves) {
    Value value;
    value.get_message().set_name("outer");
    value.get_message().parameters()["inner"] = value;
    EXPECT_EQ(value.get_message().parameters().size(), 1U);
    value.set(value.get_message().parameters()["inner"].get_message());
    EXPECT_STREQ(value.get_message().name(), "outer");
    EXPECT_TRUE(value.get_message().parameters().empty()) << "the copy is of what was there before";

    Message message;
    message.parameters()["m"].get_message().set_name("inside");
    message = message.parameters()["m"].get_message();
    EXPECT_STREQ(message.name(), "inside");
}

TEST(ValueAlias, CopiesLiveOnThreadsOfTheirOwn) {
    Value original = sample_map();
    original["a name that has to lie outside of its member"] = long_text;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        // Long names and long texts are what copies share.
        threads.emplace_back([copy = original, expected = show(original)]() mutable {
            for (int round = 0; round < 500; ++round) {
                Value next = copy;
                copy = next;
                next["a"] = round;
                ASSERT_EQ(show(copy), expected);
            }
        });
    }
    original = Value();
    for (std::thread& thread : threads) {
        thread.join();
    }
}
