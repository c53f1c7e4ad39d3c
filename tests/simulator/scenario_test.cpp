#include "simulator/scenario.h"
#include "tests/simulator/small_scenario.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace zo_sim {
namespace {

TEST(Scenario, ReadsEverything) {
    const Scenario scenario = parse_scenario(zo_sim_test::small_scenario);
    const EventClass* found = scenario.find_class("c");
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->events.at(4).raw->bytes, (std::vector<std::uint8_t>{1, 0xff}));

    // The language, a variant of it, any other, and a text that is the same in all.
    EXPECT_EQ(scenario.in_language(found->name, 1031), "Klasse");
    EXPECT_EQ(scenario.in_language(found->name, 0xc07), "Klasse");
    EXPECT_EQ(scenario.in_language(found->name, 0x804), "Class");
    EXPECT_EQ(scenario.in_language(found->events.at(2).text, 1031), "Confirm me");
}

TEST(Scenario, ErrorsSayWhereAndWhat) {
    const struct {
        const char* pointer;  // what is replaced,
        const char* value;    // by this, or removed when null
        const char* expected; // part of the text
    } cases[] = {
        {"/classes", nullptr, "the scenario: lacks 'classes'"},
        {"/default_language", R"("fr-FR")", "default_language: is not among the languages"},
        {"/max_log", "0", "max_log: must be an integer from 1 to 1000000"},
        {"/classes/d", R"({"guid": "0A0B0C0D-0102-0304-0506-0708090A0B0C", "name": "", "events": {}})",
         "has the GUID of 'c'"},
        {"/classes/c/events/01", R"({"kind": "message", "text": ""})", "comes twice"},
        {"/classes/c/events/1/source", R"("tank")", "there is no such source"},
        {"/classes/c/events/1/text/de-DE", R"("{sped}")", "no argument 'sped'"},
        {"/classes/c/events/1/arguments/1/name", R"("speed")", "arguments[1].name: comes twice"},
        {"/classes/c/events/1/arguments/1/name", R"("json")", "a meaning of its own"},
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
            ADD_FAILURE() << c.pointer << " was taken";
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

} // namespace
} // namespace zo_sim
