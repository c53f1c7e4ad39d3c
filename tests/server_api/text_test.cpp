#include "extension/host/algorithm.h"
#include "extension/host/result.h"
#include "extension/host/time_text.h"
#include "tests/test_headers.h"

#include <cerrno>

using namespace ZoHmiSrv;

TEST(Algorithm, Replace) {
    const std::tuple<std::string, std::string, std::string, std::string> cases[] = {{"a.b.c", ".", "::", "a::b::c"},
                                                                                    {"aaa", "aa", "b", "ba"},
                                                                                    {"aaa", "a", "aa", "aaaaaa"},
                                                                                    {"abc", "", "x", "abc"}};
    for (const auto& [text, search, replacement, result] : cases) {
        std::string replaced = text;
        Algorithm::replace(replaced, search, replacement);
        EXPECT_EQ(replaced, result) << text << " " << search;
    }
}

TEST(Algorithm, Split) {
    using Parts = std::vector<std::string>;
    EXPECT_EQ(Algorithm::split_symbol_name(nullptr), Parts{});
    EXPECT_EQ(Algorithm::split_symbol_name("TARGET_SYSTEMS::a b:c"), (Parts{"TARGET_SYSTEMS", "a b:c"}));
    EXPECT_EQ(Algorithm::split("a,,b", ","), (Parts{"a", "", "b"}));
    EXPECT_EQ(Algorithm::split("a,b", ""), (Parts{"a,b"}));
}

TEST(Algorithm, TryAsInt64) {
    const std::pair<const char*, std::optional<std::int64_t>> cases[] = {
        {"0", 0},
        {"9223372036854775807", std::numeric_limits<std::int64_t>::max()},
        {"-9223372036854775808", std::numeric_limits<std::int64_t>::min()},
        {"9223372036854775808", {}},
        {"", {}},
        {" 1", {}},
        {"1.0", {}}};
    for (const auto& [text, number] : cases)
        EXPECT_EQ(Algorithm::try_as_int64(text), number) << text;
}

TEST(Algorithm, NumbersAsText) {
    EXPECT_EQ(Algorithm::to_string(std::numeric_limits<long>::min()), "-9223372036854775808");
    EXPECT_EQ(Algorithm::to_string(std::numeric_limits<unsigned long>::max()), "18446744073709551615");
    const std::tuple<double, int, bool, const char*> cases[] = {{7, 2, false, "7"},
                                                                {7, 2, true, "7.00"},
                                                                {1234.567, 2, false, "1234.57"},
                                                                {-0.001, 2, false, "0"},
                                                                {1e21, 2, false, "1000000000000000000000"},
                                                                {0.3, -5, false, "0"}};
    for (const auto& [number, decimals, keep_zeros, text] : cases)
        EXPECT_EQ(Algorithm::to_string(number, decimals, keep_zeros), text);
    EXPECT_EQ(Algorithm::to_string(-std::numeric_limits<double>::max(), 100, true).size(), 411U);
}

TEST(Algorithm, CheckedMemory) {
    using Bytes = std::array<char, 4>;
    Bytes to{'w', 'x', 'y', 'z'};
    EXPECT_EQ(Algorithm::hmi_memcpy_s(to.data(), 4, "ab", 2), 0);
    EXPECT_EQ(to, (Bytes{'a', 'b', 'y', 'z'}));
    EXPECT_EQ(Algorithm::hmi_memcpy_s(to.data(), 3, "abcd", 4), ERANGE);
    EXPECT_EQ(to, (Bytes{0, 0, 0, 'z'}));
    EXPECT_EQ(Algorithm::hmi_memcpy_s(nullptr, 4, "abcd", 4), EINVAL);
    EXPECT_EQ(Algorithm::hmi_memcpy_s(to.data(), 4, nullptr, 1), EINVAL);
    EXPECT_EQ(to, Bytes{});
    EXPECT_EQ(Algorithm::hmi_memset_s(to.data(), 4, 7, 2), 0);
    EXPECT_EQ(to, (Bytes{7, 7, 0, 0}));
    EXPECT_EQ(Algorithm::hmi_memset_s(to.data(), 3, 9, 4), ERANGE);
    EXPECT_EQ(to, (Bytes{9, 9, 9, 0}));
    EXPECT_EQ(Algorithm::hmi_memset_s(nullptr, 3, 9, 1), EINVAL);
}

TEST(TimeText, ThereAndBack) {
    const std::pair<long, const char*> cases[] = {{0, "1970-01-01T00:00:00Z"},
                                                  {1, "1970-01-01T00:00:00.000000001Z"},
                                                  {-1, "1969-12-31T23:59:59.999999999Z"},
                                                  {1709164800000340000, "2024-02-29T00:00:00.000340Z"},
                                                  {-8644473600000000000, "1696-01-25T05:20:00Z"},
                                                  {std::numeric_limits<long>::max(), "2262-04-11T23:47:16.854775807Z"},
                                                  {std::numeric_limits<long>::min(), "1677-09-21T00:12:43.145224192Z"}};
    for (const auto& [nanoseconds, text] : cases) {
        EXPECT_EQ(ns_to_iso(nanoseconds), text);
        EXPECT_EQ(iso_to_ns(text), nanoseconds) << text;
    }
}

TEST(TimeText, OtherFormsAndInvalidTexts) {
    const std::pair<const char*, long> cases[] = {{"1970-01-02", 86400},
                                                  {"1970-01-01T02:00:00+02:00", 0},
                                                  {"1970-01-01T00:00:10-01:30", 5410},
                                                  {nullptr, 0},
                                                  {"", 0},
                                                  {"1971-02-29", 0},
                                                  {"1971-01-01T24:00:00", 0},
                                                  {"1971-01-01T00:00:00.1234567890Z", 0},
                                                  {"9999-01-01", 0}};
    for (const auto& [text, seconds] : cases)
        EXPECT_EQ(iso_to_ns(text), seconds * 1'000'000'000) << (text == nullptr ? "null" : text);
}

TEST(Result, PairAndStream) {
    EXPECT_TRUE(ResultPair() == HMI_SUCCESS);
    const ResultPair pair(HMI_E_INIT, nullptr);
    EXPECT_TRUE(pair == HMI_E_INIT && pair != HMI_SUCCESS);
    EXPECT_STREQ(pair.text(), "");
    const auto foreign = static_cast<ErrorValue>(-2147483647 - 1);
    EXPECT_EQ(static_cast<int>(ResultPair(foreign).result()), -2147483647 - 1);

    ResultStream stream(HMI_E_INVALID_TYPE);
    stream << "Expected " << ValueType::Struct << ", not " << static_cast<ValueType>(13) << " " << 7 << 1.5 << -2L
           << 3UL;
    const ResultPair result = stream;
    EXPECT_TRUE(result == HMI_E_INVALID_TYPE);
    EXPECT_STREQ(result.text(), "Expected Struct, not Null 71.5-23");
}
