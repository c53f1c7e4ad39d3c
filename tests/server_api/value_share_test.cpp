// Trees that copies share until one of them is to be changed.
#include "extension/host/event_payload.h"
#include "tests/server_api/values.h"
#include "tests/test_headers.h"

#include <iterator>

using namespace ZoHmiSrv;
using values::show;

namespace {

const char* const long_text = "a text that is far too long to lie inside of a value";
const char* const names[] = {"", "a", "bb", "a name that has to lie outside of its member"};

/// A random change of a random part of a Value: the same for the same seed.
void change(Value& root, std::uint32_t seed) {
    std::mt19937 random(seed);
    const auto any = [&random](std::size_t count) { return random() % count; };
    const auto name = [&] { return names[any(4)]; };
    Value* at = &root;
    for (std::size_t depth = any(4); depth > 0; --depth)
        if (at->type() == ValueType::Vector && at->size() > 0)
            at = &(*at)[any(at->size())];
        else if (auto member = at->find(name()); member != at->end())
            at = &*member;
    Value& value = *at;
    const std::function<void()> changes[] = {
        [&] { value[name()] = static_cast<int>(any(9)); },
        [&] { value[name()] = long_text; },
        [&] { value.insert(name(), root); },
        [&] { value.insert_or_update(name(), std::as_const(value)[name()]); },
        [&] { value.remove(value.find(name())); },
        [&] { value << static_cast<int>(any(9)) << long_text; },
        [&] { value << root; },
        [&] { value.insert(value.begin_vector(), std::as_const(value)[any(3)]); },
        [&] { value.resize(any(4), std::as_const(value)[any(2)]); },
        [&] { value = std::as_const(value)[name()]; },
        [&] { value.get_message().parameters()[name()] = value; },
        [&] { value.clear(); },
        [&] { value.set_type(any(2) == 0 ? ValueType::Map : ValueType::Struct); },
        [&] {
            for (Value& element : value.get_vector())
                element = long_text;
        },
        [&] {
            for (Value& member : value.get_map())
                member = 1;
        },
        [&] {
            value.reserve(any(20));
            value[name()] = 1;
        },
        [&] {
            if (auto element = value.find(any(2)); element != value.end_vector()) *element = 1;
        },
        [&] { value[any(3)] = name(); },
    };
    changes[any(std::size(changes))]();
    if (root.size() > 40) root = Value();
}

/// Lets some part share itself.
void share_some(Value& value, std::mt19937& random) {
    for (Value& element : value.get_vector())
        if (random() % 2 == 0) element.share();
}

TEST(ValueShare, AgreesWithUnsharedValue) {
    std::mt19937 random(7);
    for (int round = 0; round < 300; ++round) {
        Value plain;
        Value sharing;
        std::vector<std::pair<Value, std::string>> witnesses;
        for (int step = 0; step < 60; ++step) {
            if (random() % 3 == 0) {
                if (sharing.type() == ValueType::Vector && random() % 2 == 0) share_some(sharing, random);
                sharing.share();
            }
            if (random() % 3 == 0) witnesses.emplace_back(sharing, show(sharing));
            const std::uint32_t seed = static_cast<std::uint32_t>(random());
            change(plain, seed);
            change(sharing, seed);
            ASSERT_EQ(show(plain), show(sharing)) << "round " << round << ", step " << step;
            ASSERT_TRUE(plain == sharing);
        }
        for (const auto& [value, shown] : witnesses)
            ASSERT_EQ(show(value), shown) << "round " << round;
    }
}

TEST(ValueShare, WritesByNameInSharedTree) {
    Value value;
    value[long_text] = long_text;
    Value other = value.share();
    value.insert_or_update(std::as_const(value).begin().name(), 1);
    EXPECT_EQ(show(other), "{" + std::string(long_text) + ": '" + long_text + "'}");
    value = other;
    const char* const name = std::as_const(value)[long_text].get_string();
    other = Value();
    value[name] = 2;
    EXPECT_EQ(show(value), "{" + std::string(long_text) + ": Int(2)}");
}

TEST(ValueShare, SizesCopyNothing) {
    Value value;
    value["list"] << 1 << 2;
    value["list"].share();
    Value list = std::as_const(value)["list"];
    const Value map = value.share();
    EXPECT_EQ(value.get_map().size(), 1U);
    EXPECT_EQ(list.get_vector().size(), 2U);
    EXPECT_FALSE(value.get_map().empty() || list.get_vector().empty());
    EXPECT_EQ(&std::as_const(value)["list"], &map["list"]);
    EXPECT_EQ(&std::as_const(list)[0], &map["list"][0]);
}

TEST(ValueShare, FindByNameInTreeOfLeavingOwner) {
    Value large; // takes long to copy
    for (int i = 0; i < 4000; ++i)
        large[std::to_string(i).c_str()] = i;
    for (int round = 0; round < 40; ++round) {
        Value value;
        value["large"] = large;
        value["name"] = "large";
        Value other = value.share();
        std::atomic<bool> started = false;
        std::thread leaving([&] {
            started = true;
            std::this_thread::sleep_for(std::chrono::microseconds(1));
            other = Value();
        });
        while (!started) {
        }
        EXPECT_TRUE(value.find(std::as_const(value)["name"].get_string()) != value.end());
        leaving.join();
    }
}

TEST(ValueShare, OwnersOnSeveralThreads) {
    Value original;
    for (int i = 0; i < 200; ++i) // more than one run
        original[std::to_string(i).c_str()]["text"] = long_text;
    original[names[3]] = long_text;
    const std::string expected = show(original);
    original.share();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([copy = original, &expected] {
            for (int round = 0; round < 50; ++round) {
                Value next = copy;
                const Value kept = next;
                next["7"]["text"] = round;
                ASSERT_EQ(std::as_const(next)["7"]["text"].get_int32(), round);
                ASSERT_EQ(show(kept), expected);
            }
        });
    }
    original = Value();
    for (std::thread& thread : threads)
        thread.join();
}

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
    const std::string map = show(sample_map());
    const std::string in_map = map.substr(1, map.size() - 2);
    const std::string vector = show(sample_vector());
    const std::string in_vector = vector.substr(1, vector.size() - 2);
    const std::string text = "'" + std::string(long_text) + "'";
    const std::tuple<const char*, std::function<void(Value&)>, Value (*)(), std::string> cases[] = {
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
        {"v = move(v)", [](Value& v) { v = static_cast<Value&&>(v); }, sample_map, map},
        {"v.insert(x, move(v[3])), a vector", [](Value& v) { v.insert("x", std::move(v[3])); }, sample_vector,
         "{x: 'end'}"},
        {"v.insert_or_update(a, v)", [](Value& v) { v.insert_or_update("a", v); }, sample_map,
         "{a: " + map + ", b: {c: 'short'}}"},
        {"v.insert(x, move(v[b]))", [](Value& v) { v.insert("x", std::move(v["b"])); }, sample_map,
         "{a: " + text + ", b: Null(), x: {c: 'short'}}"},
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
    for (const auto& [name, operation, start, result] : cases) {
        Value value = start();
        operation(value);
        EXPECT_EQ(show(value), result) << name;
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
