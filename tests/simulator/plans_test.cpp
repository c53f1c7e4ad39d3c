#include "simulator/plans.h"
#include "tests/simulator/small_scenario.h"

#include <gtest/gtest.h>

namespace zo_sim {
namespace {

TEST(Plans, CodesAreUsedUpInOrder) {
    const Scenario scenario = parse_scenario(zo_sim_test::small_scenario);
    Plans plans;
    const auto code = [&](const char* operation, std::optional<std::int32_t> language = {}) {
        return plans.take(operation, language).code;
    };
    for (const char* line : {"fail get_text 1 2", "fail all 2", "fail get_text@de-DE 3 always"})
        plans.add(parse_verb(line, scenario));
    EXPECT_EQ(code("get_text", 1033), 1u);
    EXPECT_EQ(code("get_text", 1031), 1u);
    EXPECT_EQ(code("confirm"), 2u);
    EXPECT_EQ(code("confirm"), std::nullopt);
    EXPECT_EQ(code("get_text", 1033), std::nullopt);
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(code("get_text", 1031), 3u);
    plans.add(parse_verb("normal", scenario));
    EXPECT_EQ(code("get_text", 1031), std::nullopt);
}

} // namespace
} // namespace zo_sim
