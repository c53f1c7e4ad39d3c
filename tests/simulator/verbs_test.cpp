#include "simulator/event_log.h"
#include "simulator/verbs.h"
#include "tests/simulator/small_scenario.h"

#include <gtest/gtest.h>

#include <set>

namespace zo_sim {
namespace {

class VerbsTest : public testing::Test {
protected:
    Verb parse(std::string_view line) const { return parse_verb(line, scenario_); }
    std::vector<Argument> arguments(std::string_view line) const {
        const zo_link::EventRecord event = parse(line).event;
        return unpack_arguments(event.args, event.block).value_or(std::vector<Argument>());
    }

    const Scenario scenario_ = parse_scenario(zo_sim_test::small_scenario);
};

TEST_F(VerbsTest, EventsTakeTheirDefinitionAndWhatTheVerbChanges) {
    const zo_link::EventRecord event = parse("raise c 1\r").event;
    EXPECT_EQ(event.event_class, scenario_.classes.at("c").guid);
    EXPECT_EQ(event.source_id, 7u);
    EXPECT_EQ(event.source_name, "Plant.Pump");
    EXPECT_EQ(event.with_confirmation, 0);
    EXPECT_EQ(parse("raise c 2").event.with_confirmation, -1);
    EXPECT_EQ(parse("raise c 2").event.json, R"({"k":1})");

    const zo_link::EventRecord bare = parse("raise 0a0b0c0d-0102-0304-0506-0708090A0B0C 1 source=bare").event;
    EXPECT_EQ(bare.source_id, std::nullopt);
    EXPECT_EQ(bare.source_guid, std::nullopt);
    EXPECT_EQ(bare.source_name, "Bare");

    using Arguments = std::vector<Argument>;
    EXPECT_EQ(arguments("raise c 1"), (Arguments{12.5, std::string("P1")}));
    EXPECT_EQ(arguments("raise c 1 name= speed=-1e3 "), (Arguments{-1000.0, std::string()}));
    EXPECT_EQ(arguments(R"(raise c 1 name="a \"b\"=\u0000\u00e9")"), (Arguments{12.5, std::string("a \"b\"=\0é", 9)}));
    EXPECT_EQ(arguments("message c 3 flag=true count=7"), (Arguments{7, true}));
    EXPECT_EQ(parse("message c 4").event.args, (std::array<std::uint32_t, 5>{1, 4294967290, 4, 2, 4294967295}));
}

TEST_F(VerbsTest, ErrorsAreTold) {
    const struct {
        const char* line;
        const char* expected;
    } cases[] = {
        {"", "missing verb"},
        {"explode", "unknown verb 'explode'"},
        {"raise x 1", "unknown class 'x'"},
        {"raise c 9", "class 'c' has no event '9'"},
        {"raise c 3", "that event is a message"},
        {"raise c 1 loudness=3", "that event has no argument 'loudness'"},
        {"raise c 1 speed=fast", "'fast' is no number for 'speed'"},
        {"message c 3 count=2147483648", "'2147483648' is no number for 'count'"},
        {"raise c 1 source=tank", "unknown source 'tank'"},
        {"raise c 1 name=\"a", "a quote is not closed"},
        {"raise c 1 name=\"a\"b", "a quote ends inside a word"},
        {"raise c 1 name=\xff", "the line is not UTF-8"},
        {"flood 0 c 3", "'0' is no count from 1"},
        {"fail everything 5", "unknown kind of request 'everything'"},
        {"fail get_text 0x1ffffffff", "'0x1ffffffff' is no result code"},
        {"during get_text after get_text drop", "do not nest"},
    };
    for (const auto& c : cases) {
        try {
            (void)parse(c.line);
            ADD_FAILURE() << c.line << " was taken";
        } catch (const VerbError& error) {
            EXPECT_NE(std::string(error.what()).find(c.expected), std::string::npos) << c.line << ": " << error.what();
        }
    }
}

// The demo's plants go through their schedule as it is meant: in one round of it nothing is refused.
TEST(Demo, HistoryAndScheduleFitTogether) {
    for (const char* name : {"/bottling.json", "/packaging.json"}) {
        const Scenario scenario = load_scenario(std::string(ZO_DEMO_FOLDER) + name);
        EventLog log(scenario.max_log);
        const auto apply = [&](const std::string& line) {
            const Verb verb = parse_verb(line, scenario);
            const std::uint64_t handle = log.find_active(verb.event);
            Outcome outcome = Outcome::done;
            if (verb.kind == VerbKind::raise)
                outcome = log.raise(verb.event, 0);
            else if (verb.kind == VerbKind::clear)
                outcome = log.clear(handle, 0);
            else if (verb.kind == VerbKind::confirm)
                outcome = log.confirm(handle, 0);
            else if (verb.kind == VerbKind::reset)
                outcome = log.reset(handle, 0);
            else
                log.send(verb.event, 0);
            EXPECT_EQ(outcome, Outcome::done) << name << ": " << line;
        };
        for (const HistoryItem& item : scenario.history)
            apply(item.verb);
        EXPECT_GE(log.active_alarms().size(), 2u) << name;
        std::multiset<std::pair<std::int64_t, std::string>> events;
        for (const ScheduleItem& item : scenario.schedule)
            for (std::int64_t at = item.at; at < 300000; at += item.every != 0 ? item.every : 300000)
                events.emplace(at, item.verb);
        for (const auto& [at, verb] : events)
            apply(verb);
        for (const zo_link::EventRecord& record : log.logged(log.size()))
            EXPECT_TRUE(unpack_arguments(record.args, record.block)) << name << " event " << record.event_id;
    }
}

} // namespace
} // namespace zo_sim
