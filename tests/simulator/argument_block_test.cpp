#include "simulator/argument_block.h"
#include "simulator/text_template.h"

#include <gtest/gtest.h>

namespace zo_sim {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Descriptor = std::array<std::uint32_t, 5>;

const std::vector<Argument> one_of_each = {std::int32_t{-2}, 0.5, std::string("a\0b", 3), true};

TEST(ArgumentBlock, HostileBlocksAreRefused) {
    const Bytes block = {1, 3, 9, 9, 9, 9, 2, 0, 0, 0, 'o', 'k'};
    ASSERT_TRUE(unpack_arguments({2, 0, 2, 2, 10}, block));
    const struct {
        const char* what;
        Descriptor descriptor;
    } cases[] = {
        {"more arguments than types", {3, 0, 2, 2, 10}},  {"types behind the end", {1, 11, 2, 0, 4}},
        {"types offset wraps", {1, 0xffffffff, 2, 0, 4}}, {"data behind the end", {2, 0, 2, 2, 11}},
        {"data offset wraps", {2, 0, 2, 0xfffffffe, 10}}, {"value cut off", {1, 0, 1, 2, 3}},
        {"text longer than the data", {2, 0, 2, 2, 9}},   {"unknown type", {1, 2, 1, 2, 8}},
    };
    for (const auto& c : cases)
        EXPECT_FALSE(unpack_arguments(c.descriptor, block)) << c.what;
    EXPECT_TRUE(unpack_arguments({0, 77, 77, 77, 77}, block)) << "no arguments, nothing to read";
}

TEST(TextTemplate, FillsInArguments) {
    const std::vector<std::string> names = {"n", "d", "t", "b"};
    const struct {
        const char* text;
        const char* filled;
    } cases[] = {
        {"{n}|{d}|{b}", "-2|0.5|true"},
        {"{d:3}{n:1}", "0.500-2.0"},
        {"{{n} and {{", "{n} and {"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(check_template(c.text, names), std::nullopt) << c.text;
        EXPECT_EQ(fill_template(c.text, names, one_of_each), c.filled);
    }
    EXPECT_EQ(fill_template("{t}", names, one_of_each), std::string("a\0b", 3));
    EXPECT_EQ(fill_template("{n} {d}", names, std::span(one_of_each).first(1)), "-2 ?");
    EXPECT_EQ(fill_template("{d:9}", names, std::vector<Argument>{1, 1.7976931348623157e308}).size(), 309u + 10u);
    for (const char* wrong : {"{n", "{x}", "{n:12}"})
        EXPECT_NE(check_template(wrong, names), std::nullopt) << wrong;
}

} // namespace
} // namespace zo_sim
