#include "extension/host/timestamp.h"
#include "tests/server_api/values.h"

#include <gtest/gtest.h>
#include <limits>
#include <string>

using namespace ZoHmiSrv;
using values::show;

TEST(ValueConvert, Table) {
    Value int64;
    int64.set(1L << 40);
    Value span;
    span.set(Timespan(1500));
    const Value vector = Value().set_type(ValueType::Vector) << 1;
    Value map;
    map["a"] = 1;
    struct Case {
        Value value;
        ValueType type;
        std::string result;
    };
    const Case cases[] = {
        {Value("2.5"), ValueType::Double, "Double(2.5)"},
        {Value("1e400"), ValueType::Double, "Double(0)"},
        {Value(0.1), ValueType::String, "'0.1'"},
        {Value(5.9), ValueType::Int, "Int(5)"},
        {Value(1e10), ValueType::Int, "Int(2147483647)"},
        {Value(-1), ValueType::UInt64, "UInt64(0)"},
        {int64, ValueType::Int, "Int(2147483647)"},
        {Value(true), ValueType::String, "'true'"},
        {Value(Timestamp(0)), ValueType::String, "'1970-01-01T00:00:00Z'"},
        {Value("1970-01-01T00:00:01Z"), ValueType::DateTime, "DateTime(1970-01-01T00:00:01Z)"},
        {span, ValueType::String, "'1500'"},
        {Value("TWFu"), ValueType::Binary, "Binary(TWFu)"},
        {Value(7), ValueType::Binary, "Binary()"},
        {map, ValueType::Struct, "struct {a: Int(1)}"},
        {map, ValueType::String, "''"},
        {vector, ValueType::Int, "Int(0)"},
        {Value("text"), ValueType::Null, "Null()"},
    };
    for (const Case& c : cases) {
        Value value = c.value;
        EXPECT_EQ(&value.convert(c.type), &value);
        EXPECT_EQ(show(value), c.result) << show(c.value);
    }
}

TEST(ValueConvert, Base64) {
    struct Case {
        const char* text;
        const char* bytes; // null: refused
    };
    const Case cases[] = {
        {"", ""},          {"Zg==", "f"},     {"Zm9vYmFy", "foobar"}, {"+/+/", "\xfb\xff\xbf"}, {"Zg", nullptr},
        {"Zh==", nullptr}, {"=Zm9", nullptr}, {"Zg==Zg==", nullptr},  {"Zm-_", nullptr},        {"Zm\xc3\xbc", nullptr},
    };
    for (const Case& c : cases) {
        Value value(c.text);
        value.convert(ValueType::Binary);
        ASSERT_EQ(value.type(), ValueType::Binary);
        const Binary bytes = static_cast<Binary>(value);
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size()),
                  c.bytes == nullptr ? "" : c.bytes)
            << c.text;
        if (c.bytes != nullptr) {
            EXPECT_STREQ(value.convert(ValueType::String).get_string(), c.text);
        }
    }
}

TEST(Timestamp, FileTimesAndMilliseconds) {
    constexpr long max = std::numeric_limits<long>::max();
    constexpr long min = std::numeric_limits<long>::min();
    struct Case {
        Timestamp time;
        long nanoseconds;
    };
    const Case cases[] = {
        {Timestamp::from_file_time(116444736000000001), 100},
        {Timestamp::from_file_time(133537536000000000), 1709280000000000000},
        {Timestamp::from_file_time(116444735999999999), -100},
        {Timestamp::from_file_time(1), min},
        {Timestamp::from_file_time(max), max},
        {Timestamp::from_milliseconds(1500), 1500000000},
        {Timestamp::from_milliseconds(max), max},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.time.nanoseconds(), c.nanoseconds);
    }
    EXPECT_EQ(Timestamp(2'999'999'999L).seconds(), 2);
    EXPECT_EQ(Timespan(1'999'999L).milliseconds(), 1);
}
