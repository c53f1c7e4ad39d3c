#include "client/options.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

TEST(Options, AddressIsANetIdWithAPort) {
    const std::pair<const char*, const char*> cases[] = {
        {"5.12.82.40.1.1", "5.12.82.40.1.1:851"},
        {"5.12.82.40", "5.12.82.40.1.1:851"},
        {"5.12.82.40:10000", "5.12.82.40.1.1:10000"},
        {"5.12.82.40.2.3:1", "5.12.82.40.2.3:1"},
        {"", ""},
        {"5.12.82", ""},
        {"5.12.82.40.1", ""},
        {"5.12.82.40.1.1.1", ""},
        {"5.12.82.256", ""},
        {"5.12.82.40.", ""},
        {"5.12..40", ""},
        {"5.12.82.40:", ""},
        {"5.12.82.40:0", ""},
        {"5.12.82.40:65536", ""},
        {"5.12.82.40:1x", ""},
        {" 5.12.82.40", ""},
        {"host", ""},
    };
    for (const auto& [text, expected] : cases) {
        const auto address = fdx::parse_address(text);
        EXPECT_EQ(address ? to_string(address->net_id) + ":" + std::to_string(address->port) : "", expected) << text;
    }
}

TEST(Options, LimitsAreThreeNumbers) {
    const auto limits = fdx::parse_limits("500,65536,2000");
    ASSERT_TRUE(limits.has_value());
    EXPECT_EQ(limits->sum_request_limit, 500u);
    EXPECT_EQ(limits->response_size_limit, 65536u);
    EXPECT_EQ(limits->new_handles_per_sum_request_limit, 2000u);
    for (const char* wrong : {"", "1", "1,2", "1,2,3,4", "1,,3", "1,2,x", "-1,2,3"})
        EXPECT_FALSE(fdx::parse_limits(wrong).has_value()) << wrong;
    EXPECT_EQ(fdx::parse_number("0xF005"), 0xF005u);
    for (const char* wrong : {"", "0x", "1x", "4294967296", "-1"})
        EXPECT_FALSE(fdx::parse_number(wrong).has_value()) << wrong;
}

} // namespace
