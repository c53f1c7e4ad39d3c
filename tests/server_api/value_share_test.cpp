// Trees that copies share until one of them is to be changed.
#include "extension/host/event_payload.h"
#include "tests/server_api/values.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

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
    for (std::size_t depth = any(4); depth > 0; --depth) {
        if (at->type() == ValueType::Vector && at->size() > 0) {
            at = &(*at)[any(at->size())];
        } else if (auto member = at->find(name()); member != at->end()) {
            at = &*member;
        }
    }
    Value& value = *at;
    switch (any(18)) {
    case 0:
        value[name()] = static_cast<int>(any(9));
        break;
    case 1:
        value[name()] = long_text;
        break;
    case 2:
        value.insert(name(), root);
        break;
    case 3:
        value.insert_or_update(name(), std::as_const(value)[name()]);
        break;
    case 4:
        value.remove(value.find(name()));
        break;
    case 5:
        value << static_cast<int>(any(9)) << long_text;
        break;
    case 6:
        value << root;
        break;
    case 7:
        value.insert(value.begin_vector(), std::as_const(value)[any(3)]);
        break;
    case 8:
        value.resize(any(4), std::as_const(value)[any(2)]);
        break;
    case 9:
        value = std::as_const(value)[name()];
        break;
    case 10:
        value.get_message().parameters()[name()] = value;
        break;
    case 11:
        value.clear();
        break;
    case 12:
        value.set_type(any(2) == 0 ? ValueType::Map : ValueType::Struct);
        break;
    case 13:
        for (Value& element : value.get_vector()) {
            element = long_text;
        }
        break;
    case 14:
        for (Value& member : value.get_map()) {
            member = 1;
        }
        break;
    case 15:
        value.reserve(any(20));
        value[name()] = 1;
        break;
    case 16:
        if (auto element = value.find(any(2)); element != value.end_vector()) {
            *element = 1;
        }
        break;
    default:
        value[any(3)] = name();
        break;
    }
    if (root.size() > 40) {
        root = Value();
    }
}

/// Lets some part share itself.
void share_some(Value& value, std::mt19937& random) {
    for (Value& element : value.get_vector()) {
        if (random() % 2 == 0) {
            element.share();
        }
    }
}

TEST(ValueShare, ChangesNothingButTheCopying) {
    std::mt19937 random(7);
    for (int round = 0; round < 300; ++round) {
        Value plain;
        Value sharing;
        std::vector<std::pair<Value, std::string>> witnesses;
        for (int step = 0; step < 60; ++step) {
            if (random() % 3 == 0) {
                if (sharing.type() == ValueType::Vector && random() % 2 == 0) {
                    share_some(sharing, random);
                }
                sharing.share();
            }
            if (random() % 3 == 0) {
                witnesses.emplace_back(sharing, show(sharing));
            }
            const std::uint32_t seed = static_cast<std::uint32_t>(random());
            change(plain, seed);
            change(sharing, seed);
            ASSERT_EQ(show(plain), show(sharing)) << "round " << round << ", step " << step;
            ASSERT_TRUE(plain == sharing);
        }
        for (const auto& [value, shown] : witnesses) {
            ASSERT_EQ(show(value), shown) << "round " << round;
        }
    }
}

TEST(ValueShare, NameToWriteMayLieInTheSharedTree) {
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

TEST(ValueShare, AskingForSizesCopiesNothing) {
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

TEST(ValueShare, NameToFindMayLieInATreeThatTheOtherOwnerLeavesMeanwhile) {
    Value large; // takes long to copy
    for (int i = 0; i < 4000; ++i) {
        large[std::to_string(i).c_str()] = i;
    }
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

TEST(ValueShare, HoldersOnThreadsOfTheirOwn) {
    Value original;
    for (int i = 0; i < 200; ++i) { // more than one run
        original[std::to_string(i).c_str()]["text"] = long_text;
    }
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
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace
