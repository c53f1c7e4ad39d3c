#include "simulator/argument_block.h"
#include "simulator/controller/system.h"
#include "simulator/device_verbs.h"
#include "simulator/event_log.h"
#include "simulator/plans.h"
#include "simulator/scenario.h"
#include "simulator/text_template.h"
#include "simulator/verbs.h"
#include "tests/simulator/small_scenario.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <set>

namespace zo_sim {
namespace {

TEST(Scenario, ReadsEverything) {
    const Scenario scenario = parse_scenario(zo_sim_test::small_scenario);
    const EventClass* found = scenario.find_class("c");
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->events.at(4).raw->bytes, (std::vector<std::uint8_t>{1, 0xff}));

    // The language, a variant of it, another language, and a text without languages.
    EXPECT_EQ(scenario.in_language(found->name, 1031), "Klasse");
    EXPECT_EQ(scenario.in_language(found->name, 0xc07), "Klasse");
    EXPECT_EQ(scenario.in_language(found->name, 0x804), "Class");
    EXPECT_EQ(scenario.in_language(found->events.at(2).text, 1031), "Confirm me");
}

TEST(Scenario, ErrorsSayWhereAndWhat) {
    const struct {
        const char* pointer;  // this value is replaced
        const char* value;    // by this one, or removed if null
        const char* expected; // part of the text
    } cases[] = {
        {"/classes", nullptr, "the scenario: 'classes' is missing"},
        {"/default_language", R"("fr-FR")", "default_language: is not among the languages"},
        {"/max_log", "0", "max_log: must be an integer from 1 to 1000000"},
        {"/classes/d", R"({"guid": "0A0B0C0D-0102-0304-0506-0708090A0B0C", "name": "", "events": {}})",
         "has the GUID of 'c'"},
        {"/classes/c/events/01", R"({"kind": "message", "text": ""})", "comes twice"},
        {"/classes/c/events/1/source", R"("tank")", "unknown source"},
        {"/classes/c/events/1/text/de-DE", R"("{sped}")", "no argument 'sped'"},
        {"/classes/c/events/1/arguments/1/name", R"("speed")", "arguments[1].name: comes twice"},
        {"/classes/c/events/1/arguments/1/name", R"("json")", "is reserved"},
        {"/classes/c/events/3/arguments/0/value", "2147483648", "arguments[0].value: must be an integer"},
        {"/classes/c/events/4/raw/args", "[1,2,3,4]", "raw.args: must be five"},
        {"/classes/c/events/4/raw/block", R"("0g")", "raw.block: must be hexadecimal"},
        {"/history", R"([{"ago": 1, "verb": "x"}, {"ago": 2, "verb": "x"}])", "history[1].ago: is earlier"},
        {"/schedule", R"([{"at": 1, "every": 0, "verb": "x"}])", "schedule[0].every: must be"},
    };
    for (const auto& c : cases) {
        nlohmann::json document = nlohmann::json::parse(zo_sim_test::small_scenario);
        const nlohmann::json::json_pointer pointer(c.pointer);
        if (c.value != nullptr)
            document[pointer] = nlohmann::json::parse(c.value);
        else
            document[pointer.parent_pointer()].erase(pointer.back());
        try {
            (void)parse_scenario(document.dump());
            ADD_FAILURE() << c.pointer << " was accepted";
        } catch (const ScenarioError& error) {
            EXPECT_NE(std::string(error.what()).find(c.expected), std::string::npos) << error.what();
        }
    }
    EXPECT_THROW((void)parse_scenario("{"), ScenarioError);
    EXPECT_THROW((void)load_scenario("/no/such/file"), ScenarioError);
    EXPECT_THROW((void)load_scenario("/"), ScenarioError);
    EXPECT_THROW((void)load_scenario("/dev/zero"), ScenarioError);
    std::string deep = zo_sim_test::small_scenario;
    deep.replace(deep.find(R"({"k": 1})"), 8, std::string(200000, '[') + std::string(200000, ']'));
    EXPECT_THROW((void)parse_scenario(deep), ScenarioError);
}

using Bytes = std::vector<std::uint8_t>;
using Descriptor = std::array<std::uint32_t, 5>;

const std::vector<Argument> one_of_each = {std::int32_t{-2}, 0.5, std::string("a\0b", 3), true};

TEST(ArgumentBlock, HostileBlocksAreRefused) {
    const Bytes block = {1, 3, 9, 9, 9, 9, 2, 0, 0, 0, 'o', 'k'};
    ASSERT_TRUE(unpack_arguments({2, 0, 2, 2, 10}, block));
    const std::pair<const char*, Descriptor> cases[] = {
        {"more arguments than types", {3, 0, 2, 2, 10}},  {"types behind the end", {1, 11, 2, 0, 4}},
        {"types offset wraps", {1, 0xffffffff, 2, 0, 4}}, {"data behind the end", {2, 0, 2, 2, 11}},
        {"data offset wraps", {2, 0, 2, 0xfffffffe, 10}}, {"value cut off", {1, 0, 1, 2, 3}},
        {"text longer than the data", {2, 0, 2, 2, 9}},   {"unknown type", {1, 2, 1, 2, 8}},
    };
    for (const auto& [what, descriptor] : cases)
        EXPECT_FALSE(unpack_arguments(descriptor, block)) << what;
    EXPECT_TRUE(unpack_arguments({0, 77, 77, 77, 77}, block)) << "no arguments, nothing to read";
}

TEST(TextTemplate, FillsInArguments) {
    const std::vector<std::string> names = {"n", "d", "t", "b"};
    const std::pair<const char*, const char*> cases[] = {
        {"{n}|{d}|{b}", "-2|0.5|true"},
        {"{d:3}{n:1}", "0.500-2.0"},
        {"{{n} and {{", "{n} and {"},
    };
    for (const auto& [text, filled] : cases) {
        EXPECT_EQ(check_template(text, names), std::nullopt) << text;
        EXPECT_EQ(fill_template(text, names, one_of_each), filled);
    }
    EXPECT_EQ(fill_template("{t}", names, one_of_each), std::string("a\0b", 3));
    EXPECT_EQ(fill_template("{n} {d}", names, std::span(one_of_each).first(1)), "-2 ?");
    EXPECT_EQ(fill_template("{d:9}", names, std::vector<Argument>{1, 1.7976931348623157e308}).size(), 309u + 10u);
    for (const char* wrong : {"{n", "{x}", "{n:12}"})
        EXPECT_NE(check_template(wrong, names), std::nullopt) << wrong;
}

class VerbsTest : public testing::Test {
protected:
    Verb parse(std::string_view line) const { return parse_verb(line, scenario_); }
    std::vector<Argument> arguments(std::string_view line) const {
        const zo_link::EventRecord event = parse(line).event;
        return unpack_arguments(event.args, event.block).value_or(std::vector<Argument>());
    }

    const Scenario scenario_ = parse_scenario(zo_sim_test::small_scenario);
};

TEST_F(VerbsTest, EventsCombineDefinitionAndVerb) {
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

TEST_F(VerbsTest, ErrorsNameTheWord) {
    const std::pair<const char*, const char*> cases[] = {
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
    for (const auto& [line, expected] : cases) {
        try {
            (void)parse(line);
            ADD_FAILURE() << line << " was accepted";
        } catch (const VerbError& error) {
            EXPECT_NE(std::string(error.what()).find(expected), std::string::npos) << line << ": " << error.what();
        }
    }
}

TEST(Plans, CodesAreUsedUpInOrder) {
    const Scenario scenario = parse_scenario(zo_sim_test::small_scenario);
    Plans plans;
    const auto code = [&](const char* operation, std::optional<std::int32_t> language = {}) {
        return plans.take({operation, language, {}}).code;
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

// One round of the demo's schedule: every verb succeeds.
TEST(Demo, HistoryAndScheduleFitTogether) {
    for (const char* name : {"/bottling.json", "/packaging.json"}) {
        const Scenario scenario = load_scenario(std::string(ZO_DEMO_FOLDER) + name);
        EventLog log(scenario.max_log);
        DeviceSystem devices(Node(*scenario.devices, ""));
        const auto apply = [&](const std::string& line) {
            const Verb verb = parse_verb(line, scenario);
            if (is_device_verb(verb.kind)) return execute_device_verb(devices, verb, {});
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
