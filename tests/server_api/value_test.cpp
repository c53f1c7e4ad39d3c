#include "extension/host/event.h"
#include "extension/host/event_payload.h"
#include "extension/host/timestamp.h"
#include "tests/server_api/values.h"
#include "tests/test_headers.h"

#include <cmath>
#include <type_traits>

using namespace ZoHmiSrv;
using values::show;

namespace {

constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

template <class T>
Value with(const T& content) {
    Value value;
    value.set(content);
    return value;
}

Value binary(const std::string& bytes) {
    return with(Binary(bytes.data(), bytes.size()));
}

// One of each type that has content.
std::vector<Value> samples() {
    std::vector<Value> all;
    for (Value value :
         {Value(true), Value(7), Value(1.5), Value("a text that is too long to lie inside"), with(7L),
          Value(Timestamp(5)), with(Timespan(6)), with(7UL), with(Message()), with(Alarm()), Value(Event()),
          binary("bytes"), Value().set_type(ValueType::Vector) << 1, Value().set_type(ValueType::Map)})
        all.push_back(std::move(value));
    Value map;
    map["a"] = 1;
    all.push_back(map);
    all.push_back(map.set_type(ValueType::Struct));
    return all;
}

} // namespace

TEST(Value, ConstructorsGiveTheirTypes) {
    const std::pair<Value, ValueType> cases[] = {
        {Value(static_cast<const char*>(nullptr)), ValueType::String},
        {Value(nullptr), ValueType::String},
        {Value(std::true_type()), ValueType::Bool},
    };
    static_assert(!std::is_constructible_v<Value, Event*>, "no pointer counts as true");
    for (const auto& [value, type] : cases) {
        EXPECT_EQ(value.type(), type) << value_type_to_string(type);
    }
}

TEST(Value, SetTypeKeepsOrEmpties) {
    for (const Value& sample : samples()) {
        Value same = sample;
        EXPECT_EQ(&same.set_type(sample.type()), &same);
        EXPECT_TRUE(same == sample) << show(sample);

        Value cleared = sample;
        cleared.clear();
        EXPECT_EQ(cleared.type(), sample.type());
        EXPECT_TRUE(cleared == Value().set_type(sample.type())) << show(cleared);
    }
    Value map;
    map["a"] = 1;
    map["b"] = 2;
    EXPECT_EQ(show(map.set_type(ValueType::Struct)), "struct {a: Int(1), b: Int(2)}");
    EXPECT_EQ(show(map.set_type(ValueType::Vector)), "[]");
    EXPECT_EQ(show(Value(7).set_type(ValueType::Int64)), "Int64(0)");

    Value any = Value().set_type(ValueType::Any);
    EXPECT_EQ(static_cast<int>(any.type()), 256);
    EXPECT_TRUE(any.isset());
    EXPECT_TRUE(any == Value(any) && any != Value());
}

TEST(Value, TextOfAnyLengthIsCopiedAndMoved) {
    constexpr std::size_t lengths[] = {0, 1, 14, 15, 16, 17, 70000};
    for (const std::size_t length : lengths) {
        std::string text;
        for (std::size_t i = 0; i < length; ++i)
            text += static_cast<char>('a' + i % 26);
        const Value value(text.c_str());
        Value copy(value);
        Value moved(std::move(copy));
        EXPECT_EQ(moved.get_string(), text);
        EXPECT_EQ(moved.size(), length);
        EXPECT_FALSE(copy.isset()); // NOLINT(bugprone-use-after-move): a moved-from value is a Null
        Value other(1);
        other.swap(moved);
        EXPECT_EQ(other.get_string(), text);
        EXPECT_EQ(moved.get_int32(), 1);

        text[length / 2] = '\0';
        const Value bytes = binary(text);
        const Binary view = static_cast<Binary>(bytes);
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(view.data()), view.size()), text);
    }
}

TEST(Value, NumbersReadAsEachOther) {
    constexpr long long_max = std::numeric_limits<long>::max();
    constexpr long long_min = std::numeric_limits<long>::min();
    constexpr unsigned long ulong_max = std::numeric_limits<unsigned long>::max();
    constexpr int int_max = std::numeric_limits<int>::max();
    constexpr int int_min = std::numeric_limits<int>::min();
    const std::tuple<Value, int, long, unsigned long, double, bool> cases[] = {
        {Value(), 0, 0, 0, 0, false},
        {with(1L << 40), int_max, 1L << 40, 1UL << 40, 1099511627776.0, true},
        {with(long_min), int_min, long_min, 0, -9223372036854775808.0, true},
        {with(ulong_max), int_max, long_max, ulong_max, 18446744073709551616.0, true},
        {Value(-2.9), -2, -2, 0, -2.9, true},
        {Value(1e300), int_max, long_max, ulong_max, 1e300, true},
        {Value(-infinity), int_min, long_min, 0, -infinity, true},
        {Value(9223372036854775808.0), int_max, long_max, 1UL << 63, 9223372036854775808.0, true},
        {Value("-1"), -1, -1, 0, -1, true},
        {Value("18446744073709551615"), int_max, long_max, ulong_max, 18446744073709551616.0, true},
        {Value("12x"), 0, 0, 0, 0, false},
        {Value(Timestamp(9)), 9, 9, 9, 9, true},
        {with(Timespan(-9)), -9, -9, 0, -9, true},
        {Value().set_type(ValueType::Vector) << 1, 0, 0, 0, 0, false},
    };
    for (const auto& [value, as_int, as_long, as_ulong, as_double, as_bool] : cases) {
        EXPECT_EQ(static_cast<int>(value), as_int) << show(value);
        EXPECT_EQ(static_cast<long>(value), as_long) << show(value);
        EXPECT_EQ(static_cast<unsigned long>(value), as_ulong) << show(value);
        EXPECT_EQ(static_cast<double>(value), as_double) << show(value);
        EXPECT_EQ(static_cast<bool>(value), as_bool) << show(value);
        EXPECT_EQ(static_cast<Timestamp>(value).nanoseconds(), as_long) << show(value);
        EXPECT_EQ(value.get_timespan().nanoseconds(), as_long) << show(value);
    }
    EXPECT_EQ(Value(not_a_number).get_int32(), 0);
    EXPECT_EQ(Value(not_a_number).get_uint64(), 0U);
}

TEST(Value, WrongTypeReadsAsEmpty) {
    const Value values[] = {Value(), Value(7), Value().set_type(ValueType::Map), Value(Event())};
    for (const Value& value : values) {
        EXPECT_STREQ(value.get_string(), "");
        EXPECT_EQ(static_cast<Binary>(value).size(), 0U);
        EXPECT_FALSE(value["missing"].isset());
        EXPECT_FALSE(value[0].isset());
        EXPECT_FALSE(value[-1].isset());
        EXPECT_TRUE(value.begin() == value.end());
        EXPECT_TRUE(value.begin_vector() == value.end_vector());
        EXPECT_TRUE(value.find("x") == value.end());
        EXPECT_TRUE(value.get_vector().empty() && value.get_map().empty());
        EXPECT_STREQ(value.get_message().name(), "");
        EXPECT_EQ(value.get_alarm().id(), 0);
    }
    EXPECT_STREQ(Value(7).get_event().name(), "");
}

TEST(Value, EventsInsideAreChangedInPlace) {
    Value value(7);
    Message& message = value; // a wrong type gives way to an empty one
    EXPECT_EQ(value.type(), ValueType::Message);
    message.set_name("NAME");
    message.parameters()["0"] = "p";
    EXPECT_STREQ(value.get_message().name(), "NAME");
    const Value copy = value;
    value.get_message().set_name("OTHER");
    EXPECT_STREQ(copy.get_message().name(), "NAME");
    EXPECT_STREQ(copy.get_message().parameters()["0"].get_string(), "p");

    static_cast<Alarm&>(value).set_id(5);
    EXPECT_EQ(value.type(), ValueType::Alarm);
    EXPECT_EQ(value.get_alarm().id(), 5);

    value.get_event().payload() = copy;
    EXPECT_EQ(value.type(), ValueType::Event);
    EXPECT_TRUE(value.get_event().payload() == copy);
}

TEST(Value, TotalOrder) {
    // Each is less than all that follow.
    std::vector<Value> sorted = {Value(),     Value(false),  Value(true),
                                 Value(-1),   Value(1),      Value(-infinity),
                                 Value(-1.5), Value(0.0),    Value(not_a_number),
                                 Value(""),   Value("a"),    Value("a longer text than fits"),
                                 Value("ab"), Value("\x80"), Value().set_type(ValueType::Vector)};
    const auto vector = [](int a, int b) { return Value().set_type(ValueType::Vector) << a << b; };
    sorted.push_back(vector(1, 1));
    sorted.push_back(vector(1, 2) << 0);
    sorted.push_back(vector(1, 3));
    Value map;
    for (const auto& [name, number] : {std::pair{"a", 1}, {"b", 1}, {"c", 1}}) {
        map[name] = number;
        sorted.push_back(map);
    }
    Value other;
    other["a"] = 1;
    other["bb"] = 0;
    sorted.push_back(other);
    sorted.push_back(Value(map).set_type(ValueType::Struct));
    Message message;
    message.parameters()["x"] = 1;
    Alarm invalid;
    invalid.set_alarm_state(AlarmState::Invalid);
    for (const Value& value : {binary("a"), binary(std::string("a\0", 2)), with(-1L), Value(Timestamp(1)), with(3UL),
                               with(Message()), with(message), with(Alarm()), with(invalid)})
        sorted.push_back(value);
    for (std::size_t i = 0; i < sorted.size(); ++i) {
        for (std::size_t k = 0; k < sorted.size(); ++k) {
            EXPECT_EQ(sorted[i] < sorted[k], i < k) << show(sorted[i]) << " and " << show(sorted[k]);
            EXPECT_EQ(sorted[i] == sorted[k], i == k) << show(sorted[i]) << " and " << show(sorted[k]);
        }
    }
    EXPECT_TRUE(Value(0.0) == Value(-0.0));
}

TEST(Value, VectorOperations) {
    Value vector(7); // a wrong type gives way
    vector << 1 << "two" << Value(3.0);
    EXPECT_EQ(show(vector), "[Int(1), 'two', Double(3)]");
    *vector.insert(vector.begin_vector(), 0) = "zero";
    EXPECT_EQ(show(*vector.insert(vector.end_vector(), 9L)), "Int64(9)");
    vector.insert(vector.find(2), "mid");
    EXPECT_EQ(show(vector), "['zero', Int(1), 'mid', 'two', Double(3), Int64(9)]");
    EXPECT_EQ(vector.get_vector().get(1).get_int32(), 1);
    EXPECT_TRUE(vector.find(6) == vector.end_vector());
    vector.resize(2, Value());
    vector.resize(4, Value("fill"));
    EXPECT_EQ(show(vector), "['zero', Int(1), 'fill', 'fill']");
    vector[5] = true;
    EXPECT_EQ(show(vector), "['zero', Int(1), 'fill', 'fill', Null(), Bool(true)]");
    EXPECT_THROW(vector[std::numeric_limits<unsigned long>::max()], std::bad_alloc);
    EXPECT_THROW(vector.reserve(std::numeric_limits<std::size_t>::max() / 2), std::bad_alloc);
    EXPECT_EQ(vector.size(), 6U);

    vector.resize(0, Value());
    Value refilled = vector; // has no room to begin with
    for (int i = 0; i < 6; ++i)
        refilled << i;
    EXPECT_EQ(show(refilled), "[Int(0), Int(1), Int(2), Int(3), Int(4), Int(5)]");
}

TEST(ValueConvert, Table) {
    const Value vector = Value().set_type(ValueType::Vector) << 1;
    Value map;
    map["a"] = 1;
    const std::tuple<Value, ValueType, std::string> cases[] = {
        {Value("2.5"), ValueType::Double, "Double(2.5)"},
        {Value("1e400"), ValueType::Double, "Double(0)"},
        {Value(0.1), ValueType::String, "'0.1'"},
        {Value(1e10), ValueType::Int, "Int(2147483647)"},
        {Value(-1), ValueType::UInt64, "UInt64(0)"},
        {with(1L << 40), ValueType::Int, "Int(2147483647)"},
        {Value(true), ValueType::String, "'true'"},
        {Value(Timestamp(0)), ValueType::String, "'1970-01-01T00:00:00Z'"},
        {Value("1970-01-01T00:00:01Z"), ValueType::DateTime, "DateTime(1970-01-01T00:00:01Z)"},
        {with(Timespan(1500)), ValueType::String, "'1500'"},
        {Value("TWFu"), ValueType::Binary, "Binary(TWFu)"},
        {Value(7), ValueType::Binary, "Binary()"},
        {map, ValueType::Struct, "struct {a: Int(1)}"},
        {map, ValueType::String, "''"},
        {Value("text"), ValueType::Null, "Null()"},
    };
    for (const auto& [value, type, result] : cases) {
        Value converted = value;
        EXPECT_EQ(&converted.convert(type), &converted);
        EXPECT_EQ(show(converted), result) << show(value);
    }
}

TEST(ValueConvert, Base64) {
    // Null for a text that is refused.
    const std::pair<const char*, const char*> cases[] = {
        {"", ""},          {"Zg==", "f"},     {"Zm9vYmFy", "foobar"}, {"+/+/", "\xfb\xff\xbf"}, {"Zg", nullptr},
        {"Zh==", nullptr}, {"=Zm9", nullptr}, {"Zg==Zg==", nullptr},  {"Zm-_", nullptr},        {"Zm\xc3\xbc", nullptr},
    };
    for (const auto& [text, decoded] : cases) {
        Value value(text);
        value.convert(ValueType::Binary);
        ASSERT_EQ(value.type(), ValueType::Binary);
        const Binary bytes = static_cast<Binary>(value);
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size()),
                  decoded == nullptr ? "" : decoded)
            << text;
        if (decoded != nullptr) {
            EXPECT_STREQ(value.convert(ValueType::String).get_string(), text);
        }
    }
}

TEST(Timestamp, FileTimesAndMilliseconds) {
    constexpr long max = std::numeric_limits<long>::max();
    constexpr long min = std::numeric_limits<long>::min();
    const std::pair<Timestamp, long> cases[] = {
        {Timestamp::from_file_time(116444736000000001), 100},
        {Timestamp::from_file_time(133537536000000000), 1709280000000000000},
        {Timestamp::from_file_time(116444735999999999), -100},
        {Timestamp::from_file_time(1), min},
        {Timestamp::from_file_time(max), max},
        {Timestamp::from_milliseconds(1500), 1500000000},
        {Timestamp::from_milliseconds(max), max},
    };
    for (const auto& [time, nanoseconds] : cases)
        EXPECT_EQ(time.nanoseconds(), nanoseconds);
    EXPECT_EQ(Timestamp(2'999'999'999L).seconds(), 2);
    EXPECT_EQ(Timespan(1'999'999L).milliseconds(), 1);
}
