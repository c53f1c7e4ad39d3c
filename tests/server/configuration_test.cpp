#include "server/configuration.h"

#include "server/host.h"
#include "tests/server_api/values.h"
#include "tests/support/files.h"

#include <gtest/gtest.h>

using namespace server;
using zo_test::TemporaryFile;
using ZoHmiSrv::Value;
using ZoHmiSrv::ValueType;

namespace {

Value parse(const std::string& targets) {
    return parse_configuration(R"({"TARGET_SYSTEMS": {)" + targets + "}}");
}

TEST(Configuration, GivesEachKeyTheTypeThatExtensionsExpect) {
    const Value root = parse_configuration(R"({
        "TIMEOUT": 3000, "LIMIT_EVENT_COUNT": 1000, "PRELOAD_TRANSLATIONS": true, "NULL": null,
        "TARGET_SYSTEMS": {"a": {"ADDRESS": "1.2.3.4.1.1", "ENABLED": true, "TIMEOUT": 7}},
        "LIST": [1, 5000000000, 18446744073709551615, 1.5, "ü"]})");
    EXPECT_EQ(values::show(root),
              "struct {LIMIT_EVENT_COUNT: Double(1000), "
              "LIST: [Int(1), Int64(5000000000), UInt64(18446744073709551615), Double(1.5), 'ü'], NULL: Null(), "
              "PRELOAD_TRANSLATIONS: Bool(true), TARGET_SYSTEMS: {a: struct "
              "{ADDRESS: '1.2.3.4.1.1', ENABLED: Bool(true), TIMEOUT: Int(7)}}, TIMEOUT: TimeSpan(3000000000)}")
        << "keys are special at the top only";
    EXPECT_EQ(parse_configuration(R"({"TIMEOUT": 1e300})")["TIMEOUT"].get_timespan().nanoseconds(),
              std::numeric_limits<long>::max());
}

TEST(Configuration, RefusesWhatNoPathCanName) {
    const std::string deep = std::string(100'000, '[') + std::string(100'000, ']');
    const std::string cases[]{
        "", "{", "[]", "3", R"({"a::b": 1})", R"({"T": {"a\u0000b": 1}})", R"({"a": )" + deep + "}"};
    for (const std::string& text : cases) {
        EXPECT_THROW(static_cast<void>(parse_configuration(text)), std::runtime_error) << text.substr(0, 40);
    }
}

TEST(Configuration, ChangesAreNewOrDifferentEntriesThenMissingOnes) {
    struct Case {
        const char* what;
        const char* before;
        const char* after;
        std::vector<ConfigChange> changes;
    };
    const Case cases[]{
        {"the same in another order", R"("a": {"x": 1, "y": 2}, "b": {})", R"("b": {}, "a": {"y": 2, "x": 1})", {}},
        {"one member differs",
         R"("a": {"x": 1, "y": 2}, "b": {})",
         R"("a": {"x": 1, "y": 3}, "b": {})",
         {{"TARGET_SYSTEMS::a", false}}},
        {"new, changed and missing at once",
         R"("a": 1, "b": 2, "c": 3)",
         R"("b": 2, "c": 4, "d": 5)",
         {{"TARGET_SYSTEMS::c", false}, {"TARGET_SYSTEMS::d", false}, {"TARGET_SYSTEMS::a", true}}},
        {"null is not missing", R"("a": 1)", R"("a": null)", {{"TARGET_SYSTEMS::a", false}}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(target_changes(parse(c.before), parse(c.after)), c.changes) << c.what;
    EXPECT_EQ(target_changes(parse(R"("a": 1)"), parse_configuration("{}")),
              (std::vector<ConfigChange>{{"TARGET_SYSTEMS::a", true}}));
}

TEST(Configuration, PathsWalkTheTreeAndABrokenFileChangesNothing) {
    const TemporaryFile file(R"({"TIMEOUT": 10, "TARGET_SYSTEMS": {"a": {"ENABLED": true}}})");
    Configuration configuration(file.path());
    EXPECT_EQ(configuration.get("").type(), ValueType::Struct);
    EXPECT_TRUE(configuration.get("TARGET_SYSTEMS::a::ENABLED").get_bool());
    for (const char* path : {"TARGET_SYSTEMS::b", "TIMEOUT::a", "target_systems", "TARGET_SYSTEMS::a::", "::"}) {
        EXPECT_FALSE(configuration.get(path).isset()) << path;
    }

    file.write("{ broken");
    EXPECT_THROW(configuration.reload(), std::runtime_error);
    EXPECT_TRUE(configuration.get("TARGET_SYSTEMS::a::ENABLED").get_bool());

    file.write(R"({"TIMEOUT": 20, "TARGET_SYSTEMS": {"a": {"ENABLED": false}}})");
    EXPECT_EQ(configuration.reload(), (std::vector<ConfigChange>{{"TARGET_SYSTEMS::a", false}}));
    EXPECT_FALSE(configuration.get("TARGET_SYSTEMS::a::ENABLED").get_bool());
    EXPECT_EQ(configuration.get("TIMEOUT").get_timespan().milliseconds(), 20);
}

TEST(ConfigFilter, FlagsAndPathsDecideTogether) {
    struct Case {
        const char* filter;
        int flag;
        bool asked;
    };
    const Case cases[]{
        {R"([{"flags": 48, "paths": ["TARGET_SYSTEMS::*"]}])", flag_change, true},
        {R"([{"flags": 48, "paths": ["TARGET_SYSTEMS::*"]}])", flag_delete, true},
        {R"([{"flags": 16, "paths": ["TARGET_SYSTEMS::*"]}])", flag_delete, false},
        {R"([{"flags": 32, "paths": ["TARGET_SYSTEMS::*"]}])", flag_change, false},
    };
    for (const Case& c : cases) {
        const Value root = parse_configuration(R"({"f": )" + std::string(c.filter) + "}");
        EXPECT_EQ(asks_for(root["f"], "TARGET_SYSTEMS::a", c.flag), c.asked) << c.filter;
    }
}

} // namespace
