#include "simulator/device_verbs.h"

#include "simulator/controller/system.h"
#include "simulator/device_requests.h"
#include "tests/support/files.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

using namespace zo_sim;

namespace {

class DeviceVerbsTest : public testing::Test {
protected:
    /// Runs a verb and returns its output.
    std::string run(const std::string& line) {
        std::string output;
        execute_device_verb(devices, parse_verb(line, scenario), [&](const std::string& text) { output += text; });
        return output;
    }
    json value(const char* path) { return json::parse(run(std::string("peek 851 ") + path))["value"]; }
    /// The answer to a read of the memory, after the verbs.
    json read(std::initializer_list<const char*> verbs) {
        Plans plans;
        for (const char* verb : verbs)
            plans.add(parse_verb(verb, scenario));
        const json fields = {{"port", 851u}, {"group", 0x4020u}, {"offset", 164u}, {"length", 2u}};
        const auto answer = answer_device(devices, "read", fields, plans.take({"read", {}, 0x4020u}));
        return answer.value_or(json());
    }

    const json demo = json::parse(zo_test::read_file(ZO_DEMO_FOLDER "/bottling.json"));
    const Scenario scenario = parse_scenario(demo.dump());
    DeviceSystem devices{Node(demo, "")};
};

TEST_F(DeviceVerbsTest, EachVerbChangesItsController) {
    EXPECT_EQ(run("peek 851 MAIN.mode.speed"), R"({"bytes":"3c00","value":60})");
    run("poke 851 MAIN.filler.valves[0] {\"open\": false, \"name\": \"V 7\"}");
    EXPECT_EQ(value("MAIN.filler.valves[0].name"), "V 7");
    run("poke 851 Recipes.note \"hex:ff8000\"");
    EXPECT_EQ(json::parse(run("peek 851 Recipes.note"))["value"], "\uFFFD\uFFFD")
        << "bytes that are no UTF-8 are shown";

    std::string way;
    for (int i = 0; i < 8; ++i) {
        run("step 851 MAIN.mode.speed 20 50 100");
        way += std::to_string(value("MAIN.mode.speed").get<int>()) + " ";
    }
    EXPECT_EQ(way, "80 100 80 60 80 100 80 60 ");
    run("step 851 MAIN.filler.speed -0.5 0 1500");
    EXPECT_EQ(value("MAIN.filler.speed"), 1450.0);

    run("device-state 851 6");
    EXPECT_EQ(devices.states(851).fdx_state, 6);
    run("group 851 0x4020 off");
    EXPECT_EQ(read({})["result"], 0x701);
    run("group 851 0x4020 on");
    run("limits 851 bytes=1");
    EXPECT_EQ(read({})["result"], 0x70A);
    run("limits 851 bytes=0x10 items=1 handles=1");
    EXPECT_EQ(read({})["result"], 0);
    run("item 851 MAIN.state 0x719");
    const Bytes path{'m', 'a', 'i', 'n', '.', 's', 't', 'a', 't', 'e'};
    EXPECT_EQ(devices.read_write(851, 0xF004, 0, 2, path).code, 0x719u);
    EXPECT_EQ(devices.read_write(851, 0xF004, 0, 2, path).code, 0x719u) << "always";
    run("item 851 MAIN.state 0");
    EXPECT_EQ(devices.read_write(851, 0xF004, 0, 2, path).code, 0u);
}

TEST_F(DeviceVerbsTest, PlanSpoilsTheAnswer) {
    const auto data = [](std::initializer_list<std::uint8_t> bytes) {
        return json{{"result", 0}, {"data", json::binary(bytes)}};
    };
    EXPECT_EQ(read({}), data({60, 0}));
    EXPECT_EQ(read({"short read 1"}), data({60}));
    EXPECT_EQ(read({"short read@0x4020 9"}), data({}));
    EXPECT_EQ(read({"long read 2"}), data({60, 0, 0, 0}));
    EXPECT_EQ(read({"replace read 0102FF"}), data({1, 2, 255}));
    EXPECT_EQ(read({"fail read@16416 0x70A"}), (json{{"result", 0x70A}}));
    EXPECT_EQ(read({"fail read@0xF005 1", "fail write 1", "short read_write 1"}), data({60, 0}));
    // A missing field breaks the protocol.
    const json request = {
        {"port", 851u}, {"group", 0x4020u}, {"offset", 0u}, {"length", 1u}, {"data", json::binary({1})}};
    for (const auto& [operation, field] : {std::pair{"read", "length"},
                                           {"read", "port"},
                                           {"write", "data"},
                                           {"read_write", "group"},
                                           {"read_write", "offset"},
                                           {"device_state", "port"}}) {
        EXPECT_TRUE(answer_device(devices, operation, request, {}).has_value()) << operation;
        json broken = request;
        broken[field] = "text";
        EXPECT_FALSE(answer_device(devices, operation, broken, {}).has_value()) << operation << " " << field;
    }
}

TEST_F(DeviceVerbsTest, ErrorNamesTheWord) {
    const std::pair<const char*, const char*> cases[] = {
        {"peek 852 MAIN.state", "no controller at port 852"},
        {"peek 0 MAIN.state", "'0' is no port"},
        {"peek 851 MAIN.nothing", "no symbol 'MAIN.nothing'"},
        {"poke 851 MAIN.state", "missing value"},
        {"poke 851 MAIN.state {", "is not JSON"},
        {"poke 851 MAIN.state 99999", "does not fit"},
        {"step 851 Recipes.note 1 0 9", "is no number"},
        {"step 851 MAIN.state 1 9 0", "above the upper end"},
        {"step 851 MAIN.state nan 0 9", "'nan' is no step"},
        {"limits 851 speed=1", "unknown limit 'speed'"},
        {"group 851 0x4020 up", "neither on nor off"},
        {"item 851 MAIN.state error", "'error' is no result code"},
        {"online-change 851 now", "unexpected 'now'"},
        {"fail read@nothing 1", "no number of a group in 'read@nothing'"},
        {"short write 1", "only answers of read and read_write"},
        {"replace read 012", "two a byte"},
    };
    for (const auto& [line, expected] : cases) {
        try {
            run(line);
            ADD_FAILURE() << line << " was accepted";
        } catch (const VerbError& error) {
            EXPECT_NE(std::string(error.what()).find(expected), std::string::npos) << line << ": " << error.what();
        }
    }
}

} // namespace
