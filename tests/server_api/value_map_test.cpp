#include "tests/server_api/values.h"
#include "tests/test_headers.h"

#include <iterator>

using namespace ZoHmiSrv;
using values::show;

namespace {

// Short and long names, with long common beginnings, empty and with bytes above 0x7f.
std::string random_name(std::mt19937& random, unsigned different) {
    static const char* const stems[] = {
        "", "a", "member_", "exactly_twenty_two_ch_", "a_name_that_is_longer_than_fits_inside_", "\xc3\xbc", "\xff"};
    return stems[random() % std::size(stems)] + std::to_string(random() % different);
}

void expect_same(const Value& map, const std::map<std::string, int>& model) {
    ASSERT_EQ(map.size(), model.size());
    auto expected = model.begin();
    for (auto it = map.begin(); it != map.end(); ++it, ++expected) {
        ASSERT_NE(expected, model.end());
        ASSERT_EQ(it.name(), expected->first);
        ASSERT_EQ(it->get_int32(), expected->second);
    }
    ASSERT_EQ(expected, model.end());
}

void compare_with_model(unsigned different_names) {
    std::mt19937 random(different_names);
    Value map = Value().set_type(ValueType::Map);
    std::map<std::string, int> model;
    for (int step = 0; step < 20000; ++step) {
        // Phases of growth and of shrinking, so that runs are split and given up again.
        const bool shrinking = step / 4000 % 2 == 1;
        const std::string name = random_name(random, different_names);
        const int number = static_cast<int>(random() % 1000);
        switch (random() % (shrinking ? 16 : 8)) {
        case 0:
        case 1:
            map[name.c_str()] = number;
            model[name] = number;
            break;
        case 2:
        case 3: {
            const bool update = random() % 2 == 0;
            const auto it = update ? map.insert_or_update(name.c_str(), number) : map.insert(name.c_str(), number);
            const auto expected = update ? model.insert_or_assign(name, number) : model.emplace(name, number);
            ASSERT_EQ(it.name(), name);
            ASSERT_EQ(it->get_int32(), expected.first->second);
            break;
        }
        case 4: {
            const Value& read_only = map;
            const auto expected = model.find(name);
            ASSERT_EQ(read_only[name.c_str()].isset(), expected != model.end());
            ASSERT_EQ(map.find(name.c_str()) == map.end(), expected == model.end());
            break;
        }
        case 5: {
            const Value copy = map;
            if (step % 16 == 0) {
                expect_same(copy, model);
                ASSERT_TRUE(copy == map);
                map = copy;
            }
            break;
        }
        default: {
            auto it = map.find(name.c_str());
            auto expected = model.find(name);
            if (shrinking && !model.empty() && expected == model.end()) {
                it = map.begin();
                expected = model.begin();
            }
            const auto next = map.remove(it);
            if (expected != model.end()) expected = model.erase(expected);
            ASSERT_EQ(next == map.end(), expected == model.end());
            if (expected != model.end()) {
                ASSERT_EQ(next.name(), expected->first);
            }
            break;
        }
        }
        if (step % 500 == 0) expect_same(map, model);
    }
    expect_same(map, model);
    while (!map.empty())
        map.remove(map.begin());
    map["again"] = 1;
    expect_same(map, {{"again", 1}});
}

} // namespace

// Few names stay below the size of an index, some cross it often, many stay above.
TEST(ValueMap, AgreesWithStdMap) {
    for (const unsigned different_names : {3U, 20U, 60U, 3000U})
        ASSERT_NO_FATAL_FAILURE(compare_with_model(different_names)) << different_names;
}

TEST(ValueMap, RemovesWholeRuns) {
    Value map;
    std::map<std::string, int> model;
    map.reserve(1'000'000'000); // never more than a run is set aside
    for (int i = 0; i < 5000; ++i) {
        const std::string name = std::to_string(10000 + i * 7919 % 5000);
        map[name.c_str()] = i;
        model[name] = i;
    }
    for (auto it = map.find("11000"); it.name() != std::string("14000");)
        it = map.remove(it);
    model.erase(model.find("11000"), model.find("14000"));
    expect_same(map, model);
    while (model.size() > 10) {
        ASSERT_TRUE(map.remove(map.find(model.rbegin()->first.c_str())) == map.end());
        model.erase(std::prev(model.end()));
    }
    expect_same(map, model);
}

namespace {

constexpr char letters[] = "abcdefghijklmnopqrstuvwxyz0123";
constexpr std::size_t longest = sizeof letters - 1;

// The last letters are a name that the compiler knows and reads in its own way.
template <std::size_t... Length>
std::vector<const Value*> find_known(const Value& map, std::index_sequence<Length...>) {
    return {&map[letters + longest - Length]...};
}

} // namespace

TEST(ValueMap, EveryByteOfNameCounts) {
    const auto name_of = [](std::size_t length) { return std::string(letters + longest - length); };
    Value map = Value().set_type(ValueType::Struct);
    for (std::size_t length = 0; length <= longest; ++length)
        map.insert(name_of(length).c_str(), static_cast<int>(length));
    const auto known = find_known(map, std::make_index_sequence<longest + 1>());
    for (std::size_t length = 0; length <= longest; ++length) {
        EXPECT_EQ(known[length], &map[name_of(length).c_str()]) << length;
        EXPECT_EQ(known[length]->get_int32(), static_cast<int>(length));
        for (std::size_t other = 0; other < length; ++other) { // every byte counts
            std::string changed = name_of(length);
            changed[other] ^= 1;
            EXPECT_FALSE(std::as_const(map)[changed.c_str()].isset()) << changed;
        }
    }
}

TEST(ValueMap, WriteChangesType) {
    for (Value value : {Value(), Value(7), Value("text"), Value().set_type(ValueType::Vector) << 1,
                        Value().set_type(ValueType::Any)}) {
        EXPECT_FALSE(value["a"].isset());
        EXPECT_EQ(show(value), "{a: Null()}");
    }
    Value record = Value().set_type(ValueType::Struct);
    record["b"] = 1;
    EXPECT_EQ(show(record), "struct {b: Int(1)}") << "a Struct stays a Struct";
    EXPECT_EQ(show(record << 1), "[Int(1)]");
    record.insert("x", "y");
    EXPECT_EQ(show(record), "{x: 'y'}");
}

TEST(ValueMap, NullNameAndRefusedInsertion) {
    Value map;
    map.insert("b", true);
    map.insert(nullptr, Value());
    Value text("kept");
    map.insert("b", std::move(text));
    EXPECT_STREQ(text.get_string(), "kept") << "not taken, as it was not inserted"; // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(show(map), "{: Null(), b: Bool(true)}");
}
