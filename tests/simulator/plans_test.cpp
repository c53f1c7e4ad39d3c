#include "simulator/plans.h"
#include "tests/simulator/small_scenario.h"

#include <gtest/gtest.h>

namespace zo_sim {
namespace {

class PlansTest : public testing::Test {
protected:
    void add(const char* line) { plans_.add(parse_verb(line, scenario_)); }
    std::optional<std::uint32_t> code(const char* operation, std::optional<std::int32_t> language = {}) {
        return plans_.take(operation, language).code;
    }

    const Scenario scenario_ = parse_scenario(zo_sim_test::small_scenario);
    Plans plans_;
};

TEST_F(PlansTest, CodesAreUsedUpInOrder) {
    add("fail get_text 1 2");
    add("fail all 2");
    add("fail get_text@de-DE 3 always");
    EXPECT_EQ(code("get_text", 1033), 1u);
    EXPECT_EQ(code("get_text", 1031), 1u);
    EXPECT_EQ(code("confirm"), 2u);
    EXPECT_EQ(code("confirm"), std::nullopt);
    EXPECT_EQ(code("get_text", 1033), std::nullopt);
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(code("get_text", 1031), 3u);
}

TEST_F(PlansTest, TheOtherPlansComeTogetherAndOnce) {
    add("slow details 30");
    add("slow all 12 always");
    add("truncate details");
    add("during details drop");
    add("during details clear-log");
    add("after details quit");
    const RequestPlan plan = plans_.take("details", 1031);
    EXPECT_EQ(plan.delay, 42);
    EXPECT_TRUE(plan.truncate);
    ASSERT_EQ(plan.before.size(), 2u);
    EXPECT_EQ(plan.before[0]->kind, VerbKind::drop);
    EXPECT_EQ(plan.before[1]->kind, VerbKind::clear_log);
    ASSERT_EQ(plan.after.size(), 1u);
    const RequestPlan next = plans_.take("details", 1031);
    EXPECT_EQ(next.delay, 12);
    EXPECT_FALSE(next.truncate);
    EXPECT_TRUE(next.before.empty() && next.after.empty());
}

TEST_F(PlansTest, NormalTakesBackItsOwnKindOnly) {
    const auto fill = [this] {
        plans_ = Plans();
        add("fail get_text 1 always");
        add("fail get_text@de-DE 2 always");
        add("fail confirm 3 always");
    };
    fill();
    add("normal get_text@de-DE");
    EXPECT_EQ(code("get_text", 1033), 1u);
    add("normal get_text");
    EXPECT_EQ(code("get_text", 1031), std::nullopt);
    EXPECT_EQ(code("confirm"), 3u);
    fill();
    add("normal");
    EXPECT_EQ(code("confirm"), std::nullopt);
}

} // namespace
} // namespace zo_sim
