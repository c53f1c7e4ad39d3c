#include "simulator/controller/controller.h"
#include "simulator/controller/groups.h"
#include "simulator/controller/system.h"
#include "tests/support/files.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

using namespace zo_sim;

namespace {

constexpr std::uint32_t ok = 0;

/// The plant of the demo. Test cases know where its symbols lie.
const json& demo() {
    static const json scenario = json::parse(zo_test::read_file(ZO_DEMO_FOLDER "/bottling.json"));
    return scenario;
}

json plant_with(const json& changes) {
    json description = demo()["controllers"]["851"];
    description.merge_patch(changes);
    return description;
}

Bytes bytes(std::initializer_list<std::uint32_t> numbers, std::string_view text = {}) {
    Bytes result;
    for (const std::uint32_t number : numbers)
        for (int shift = 0; shift < 32; shift += 8)
            result.push_back(static_cast<std::uint8_t>(number >> shift));
    result.insert(result.end(), text.begin(), text.end());
    return result;
}

Bytes name(std::string_view text) {
    return bytes({}, text);
}

std::uint32_t number_at(const Bytes& data, std::size_t at) {
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < 4; ++i)
        number |= std::uint32_t{data.at(at + i)} << 8 * i;
    return number;
}

class ControllerTest : public testing::Test {
protected:
    std::uint32_t handle_of(std::string_view path) {
        const DeviceReply reply = controller.read_write(0xF003, 0, 4, name(path));
        return reply.code == 0 ? number_at(reply.data, 0) : 0;
    }
    json value_of(const char* path) {
        Place place;
        return controller.plant().resolve(path, place) == 0 ? controller.plant().value_of(place) : json();
    }

    const json description = demo()["controllers"]["851"];
    Controller controller{Node(description, "851")};
};

TEST_F(ControllerTest, PathLeadsToItsPlace) {
    struct Case {
        const char* path;
        std::uint32_t code;
        std::uint32_t offset = 0;
        std::uint32_t size = 0;
        int bit = -1;
    };
    const Case cases[] = {
        {"main.FILLER.speed", ok, 0, 8},
        {"MAIN.filler.next^.speed", ok, 136, 8},
        {"MAIN.inlet", ok, 64, 24},
        {"MAIN.inlet.fault", ok, 65, 1},
        {"MAIN.filler.valves[3].name", ok, 96, 16},
        {"MAIN.filler.level[1][2]", ok, 128, 4},
        {"MAIN.filler.level[1,2]", ok, 128, 4},
        {"MAIN.mode.step", ok, 162, 1, 2},
        {"MAIN.flags.any", ok, 166, 1},
        {"MAIN.doors[12]", ok, 169, 1, 4},
        {"Recipes.current.steps[5].wait", ok, 472, 4},
        {".total", ok, 640, 8},
        {"MAIN.capper.next^", 0x704},
        {"MAIN.filler.next^.next^.speed", 0x704},
        {"MAIN.doors[13]", 0x710},
        {"MAIN.filler.level[1,0]", 0x710},
        {"MAIN.filler.level[1]", 0x710},
        {"MAIN.filler.level[1,2", 0x710},
        {"MAIN.filler.level[1,2,0]", 0x710},
        {"MAIN.filler.level[99999999999999999999,1]", 0x710},
        {"MAIN.filler.level[]", 0x710},
        {"MAIN.filler.valves.name", 0x710},
        {"MAIN.filler^", 0x710},
        {"MAIN.capper.Load", 0x710},
        {"MAIN.capper#Start", 0x710},
        {"MAIN.filler.", 0x710},
        {"MAIN", 0x710},
        {".", 0x710},
        {"", 0x710},
    };
    for (const Case& expected : cases) {
        Place place;
        EXPECT_EQ(controller.plant().resolve(expected.path, place), expected.code) << expected.path;
        if (expected.code != 0) continue;
        EXPECT_EQ(place.offset, expected.offset) << expected.path;
        EXPECT_EQ(place.size(), expected.size) << expected.path;
        EXPECT_EQ(place.bit, expected.bit) << expected.path;
    }
}

// Clients write pointers as any number. A motor of 16 bytes must lie inside of the 652 bytes of memory.
TEST_F(ControllerTest, PointerLeadsIntoMemoryOnly) {
    const std::pair<std::uint64_t, std::uint32_t> cases[] = {
        {0x10000000, ok},    {0x10000000 + 636, ok},           {0x10000000 + 637, 0x704},
        {0x0FFFFFFF, 0x704}, {1ull << 32 | 0x10000000, 0x704}, {UINT64_MAX, 0x704}};
    for (const auto& [address, code] : cases) {
        const auto low = static_cast<std::uint32_t>(address);
        EXPECT_EQ(controller.write(0x4020, 8, bytes({low, static_cast<std::uint32_t>(address >> 32)})).code, ok);
        EXPECT_EQ(controller.read_write(0xF004, 0, 8, name("MAIN.filler.next^.speed")).code, code) << address;
    }
}

TEST_F(ControllerTest, ArraysOfArraysTakeAllIndicesInOneBracket) {
    const json nested =
        plant_with({{"symbols", json::array({{{"name", "n"}, {"type", "ARRAY [0..1] OF ARRAY [1..3] OF INT"}}})},
                    {"changes", nullptr}});
    Controller other(Node(nested, ""));
    for (const char* path : {"n[1,3]", "n[1][3]"}) {
        Place place;
        EXPECT_EQ(other.plant().resolve(path, place), ok) << path;
        EXPECT_EQ(place.offset, 10u) << path;
    }
    Place place;
    EXPECT_EQ(other.plant().resolve("n[1,3,1]", place), 0x710u);
    EXPECT_EQ(other.plant().resolve("n[1,4]", place), 0x710u);
}

TEST_F(ControllerTest, ValuesKeepTheirTypes) {
    struct Case {
        const char* path;
        const char* value;
        const char* read; // as JSON; null for a refusal
    };
    const Case cases[] = {
        {"MAIN.state", R"("Fault")", "-1"},
        {"MAIN.state", "-32768", "-32768"},
        {"MAIN.state", "32768", nullptr},
        {"MAIN.state", R"("Nowhere")", nullptr},
        {"MAIN.state", R"("65536")", nullptr},
        {"MAIN.state", "1.5", nullptr},
        {"MAIN.filler.speed", "-0.25", "-0.25"},
        {".total", "18446744073709551615", "18446744073709551615"},
        {".total", "-1", nullptr},
        {"MAIN.mode.step", "true", "true"},
        {"MAIN.doors", "[1]", nullptr},
        {"MAIN.doors[3]", R"("hex:ff")", nullptr},
        {"Recipes.note", R"("Größe")", R"("Größe")"},
        {"Recipes.current.title", R"("Süß 水")", R"("Süß 水")"},
        {"Recipes.current.title", R"("12345678901234567890123456789012")", nullptr},
        {"MAIN.filler.valves[0].name", R"("Süß")", R"("Süß")"},
        {"MAIN.filler.valves[0].name", R"("1234567890123456")", nullptr},
        {"MAIN.filler.level", "[[1,2,3],[4,5,6],[7]]", nullptr},
        {"MAIN.filler.level", "[6,5,4,3,2,1]", "[6.0,5.0,4.0,3.0,2.0,1.0]"},
        {"MAIN.filler.next", R"("&MAIN.filler")", "268435456"},
        {"MAIN.filler.next", R"("&MAIN.doors[1]")", nullptr},
        {"MAIN.filler.next", R"("MAIN.filler")", nullptr},
        {"MAIN.mode", R"({"nothing": 1})", nullptr},
        {"Recipes.image", R"("hex:0")", nullptr},
    };
    for (const Case& row : cases) {
        Place place;
        ASSERT_EQ(controller.plant().resolve(row.path, place), ok) << row.path;
        const json value = json::parse(row.value);
        if (row.read) {
            controller.plant().set_value(place, Node(value, ""));
            EXPECT_EQ(controller.plant().value_of(place), json::parse(row.read)) << row.path;
        } else {
            EXPECT_THROW(controller.plant().set_value(place, Node(value, "")), ScenarioError)
                << row.path << " " << row.value;
        }
    }
    EXPECT_EQ(value_of("MAIN.filler.valves[2].position"), 50) << "the default of the type's member";
    EXPECT_EQ(controller.read(0x4020, 24, 4).data, bytes({}, std::string_view("S\xfc\xdf\0", 4))) << "in the code page";
}

// Every request that a client can send is answered, and reads or writes nothing outside.
TEST_F(ControllerTest, HostileRequestIsRefused) {
    struct Case {
        char kind; // read, write, both
        std::uint32_t group;
        std::uint32_t offset;
        std::uint32_t length;
        Bytes data;
        std::uint32_t code;
        std::size_t answered = 0;
    };
    const std::uint32_t most = 0xFFFFFFFF;
    const Case cases[] = {
        {'r', 0x4020, 0, 652, {}, ok, 652},
        {'r', 0x4020, 1, 652, {}, 0x703},
        {'r', 0x4020, 652, 0, {}, ok, 0},
        {'r', 0x4020, 653, 0, {}, 0x703},
        {'r', 0x4020, most, 1, {}, 0x703},
        {'w', 0x4020, 651, 0, bytes({}, "xy"), 0x703},
        {'b', 0x4020, 644, 8, bytes({1, 2, 3}), 0x703},
        {'b', 0x4020, 640, 4, bytes({7, 8}), ok, 4},
        {'r', 0x4020, 0, 65537, {}, 0x70A},
        {'b', 0xF003, 0, 3, name("MAIN.state"), 0x705},
        {'b', 0xF003, 0, 4, name("MAIN.nothing"), 0x710},
        {'b', 0xF003, 0, 4, Bytes(5000, 'x'), 0x710},
        {'b', 0xF003, 0, 4, Bytes(100000, '.'), 0x710},
        {'b', 0xF004, 0, 2, bytes({}, std::string_view("MAIN.state\0", 11)), ok, 2},
        {'b', 0xF004, 0, 3, name("MAIN.state"), 0x705},
        {'r', 0xF005, 77, 2, {}, 0x711},
        {'w', 0xF006, 0, 0, bytes({77}), 0x711},
        {'w', 0xF006, 0, 0, bytes({}, "abc"), 0x705},
        {'b', 0xF009, 0, 30, name("MAIN.doors[12]"), ok, 30},
        {'b', 0xF009, 0, 0, name("MAIN.state"), ok, 0},
        {'r', 0xF00F, 0, 8, {}, ok, 8},
        {'r', 0xF00B, most, 1, {}, 0x703},
        {'r', 0xF018, 1, 1, {}, 0x701},
        {'r', 0x1234, 0, 4, {}, 0x702},
        {'r', 0xF080, 0, 4, {}, 0x702},
        {'b', 0xF080, 501, 65536, Bytes(12 * 501), 0x70A},
        {'b', 0xF080, 2, 65536, Bytes(23), 0x705},
        {'b', 0xF080, 1, 3, bytes({0x4020, 0, 0}), 0x705},
        {'b', 0xF080, 1, 8, bytes({0x4020, 0, 5}), 0x705},
        {'b', 0xF080, 2, 8, bytes({0x4020, 0, most, 0x4020, 0, 2}), 0x705},
        {'b', 0xF081, 1, 4, bytes({0x4020, 0, 5}, "abcd"), 0x705},
        {'b', 0xF082, 1, 8, bytes({0x4020, 0, 0, most}), 0x705},
        {'b', 0xF080, 0, 0, {}, ok, 0},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        const Case& row = cases[i];
        const DeviceReply reply = row.kind == 'r' ? controller.read(row.group, row.offset, row.length)
                                  : row.kind == 'w'
                                      ? controller.write(row.group, row.offset, row.data)
                                      : controller.read_write(row.group, row.offset, row.length, row.data);
        EXPECT_EQ(reply.code, row.code) << i;
        EXPECT_EQ(reply.data.size(), row.answered) << i;
    }
    // A sum with a bad item at its end has done nothing.
    const Bytes before = controller.read(0x4020, 0, 8).data;
    EXPECT_EQ(controller.read_write(0xF081, 2, 8, bytes({0x4020, 0, 4, 0x4020, 0, 99}, "abcd")).code, 0x705u);
    EXPECT_EQ(controller.read(0x4020, 0, 8).data, before);
}

// No request reads or writes outside, which the sanitizers see, or answers more than was asked for.
TEST_F(ControllerTest, RandomRequestsStayInside) {
    std::mt19937 random(20);
    const auto below = [&](std::size_t end) { return static_cast<std::uint32_t>(random() % end); };
    const auto number = [&]() -> std::uint32_t {
        const std::uint32_t sizes[] = {0, 1, 2, 4, 8, 24, 651, 652, 653, 2938, 0x7FFFFFFF, 0xFFFFFFFF, below(700)};
        return sizes[below(std::size(sizes))];
    };
    const char* const names[] = {"MAIN.filler.next^", "MAIN.inlet.name", "MAIN.doors[5]", "MAIN.filler.level[1",
                                 ".total"};
    const auto group = [&] { return group::all[below(std::size(group::all))]; };
    controller.switch_group(group::masked_value, true);
    for (int i = 0; i < 20000; ++i) {
        Bytes data(below(40));
        for (std::uint8_t& byte : data)
            byte = static_cast<std::uint8_t>(random());
        if (below(3) == 0) data = name(names[below(std::size(names))]);
        if (below(3) == 0) data = bytes({group(), number(), number(), number(), group(), number(), number(), number()});
        const std::uint32_t length = number();
        EXPECT_LE(controller.read(group(), number(), length).data.size(), length);
        controller.write(group(), number(), data);
        const std::uint32_t offset = below(2) == 0 ? below(4) : number();
        EXPECT_LE(controller.read_write(group(), offset, length, data).data.size(), length);
        if (i % 1000 == 999) controller.online_change();
    }
    for (const Item& symbol : controller.plant().symbols()) // of any bytes
        (void)controller.plant().value_of({symbol.type, symbol.offset, symbol.bit, &symbol});
}

TEST_F(ControllerTest, HandleServesItsValueUntilReleased) {
    const std::uint32_t state = handle_of("main.STATE");
    ASSERT_EQ(state, 1u);
    EXPECT_EQ(controller.write(0xF005, state, bytes({}, "\x07\x01")).code, ok);
    EXPECT_EQ(controller.read(0xF005, state, 2).data, bytes({}, "\x07\x01"));
    for (const std::uint32_t length : {0u, 1u, 3u})
        EXPECT_EQ(controller.read(0xF005, state, length).code, 0x705u) << length;
    EXPECT_EQ(controller.write(0xF005, state, {}).code, 0x705u);

    const std::uint32_t bit = handle_of("MAIN.mode.step");
    EXPECT_EQ(controller.write(0xF005, bit, bytes({}, "\x01")).code, ok);
    EXPECT_EQ(controller.read(0xF005, bit, 1).data, bytes({}, "\x01"));
    EXPECT_EQ(value_of("MAIN.mode"), json::parse(R"({"auto":false,"manual":true,"step":true,"speed":60})"));

    controller.switch_group(0xF018, true);
    EXPECT_EQ(controller.write(0xF018, state, bytes({}, "\xff\xff\x0f")).code, 0x705u);
    EXPECT_EQ(controller.write(0xF018, state, bytes({}, std::string_view("\xff\xff\xf0\x00", 4))).code, ok);
    EXPECT_EQ(controller.read(0xF005, state, 2).data, bytes({}, "\xf7\x01")) << "only the bits of the mask";

    controller.limits().handles = 2;
    EXPECT_EQ(controller.read_write(0xF003, 0, 4, name(".total")).code, 0x716u);
    EXPECT_EQ(controller.write(0xF006, 0, bytes({state})).code, ok);
    EXPECT_EQ(controller.read(0xF005, state, 2).code, 0x711u);
    EXPECT_EQ(handle_of(".total"), 3u) << "numbers are never used twice";
}

TEST_F(ControllerTest, SumAnswersEachItem) {
    const std::uint32_t state = handle_of("MAIN.state");
    const std::uint32_t total = handle_of(".total");
    // A failed item of a sum of reads keeps its place.
    DeviceReply reply =
        controller.read_write(0xF080, 3, 24, bytes({0xF005, state, 2, 0xF005, 999, 2, 0xF005, total, 8}));
    EXPECT_EQ(reply.code, ok);
    EXPECT_EQ(reply.data, bytes({0, 0x711, 0}, std::string_view("\x02\0\0\0\xff\xff\xff\xff\xff\xff\xff\xff", 12)));
    // A sum of read-writes packs what came, and a sum of writes has codes only.
    reply = controller.read_write(0xF082, 2, 24,
                                  bytes({0xF003, 0, 4, 7, 0xF003, 0, 4, 10}, "Nothing"
                                                                             "MAIN.state"));
    EXPECT_EQ(reply.data, bytes({0x710, 0, 0, 4, 3}));
    reply = controller.read_write(0xF081, 2, 8,
                                  bytes({0xF005, state, 2, 0xF005, state, 1}, "\x03\x02"
                                                                              "x"));
    EXPECT_EQ(reply.data, bytes({0, 0x705}));
    EXPECT_EQ(value_of("MAIN.state"), 0x203);

    controller.answer_item("main.State", 0x745, 1);
    EXPECT_EQ(controller.read_write(0xF080, 1, 6, bytes({0xF005, state, 2})).data,
              bytes({0x745}, std::string_view("\0\0", 2)));
    EXPECT_EQ(controller.read(0xF005, state, 2).code, ok) << "the fault was for one request";
    EXPECT_EQ(controller.sub_requests(), (std::map<std::uint32_t, std::uint64_t>{{0xF003, 2}, {0xF005, 6}}));
}

TEST_F(ControllerTest, UploadHoldsWholeEntries) {
    const Bytes info = controller.read(0xF00F, 0, 24).data;
    for (const auto& [group, size_at, count_at] : {std::tuple{0xF00Bu, 0u, 8u}, std::tuple{0xF00Eu, 4u, 12u}}) {
        const std::uint32_t size = number_at(info, size_at);
        Bytes block;
        while (block.size() < size) { // in chunks that end inside of entries
            const DeviceReply chunk = controller.read(group, static_cast<std::uint32_t>(block.size()), 100);
            ASSERT_EQ(chunk.code, ok);
            block.insert(block.end(), chunk.data.begin(), chunk.data.end());
        }
        ASSERT_EQ(block.size(), size);
        EXPECT_EQ(controller.read(group, size, 1).code, 0x703u);
        std::uint32_t entries = 0;
        for (std::size_t at = 0; at < size; at += number_at(block, at))
            ++entries;
        EXPECT_EQ(entries, number_at(info, count_at));
    }
    EXPECT_EQ(number_at(info, 8), 12u);
    EXPECT_EQ(number_at(info, 12), 14u) << "13 declared types, and the subrange in use";
    EXPECT_EQ(number_at(info, 20), 1252u);
    // An element's own record: 24 bytes of numbers, three lengths, the texts in the code page.
    const Bytes entry = controller.read_write(0xF009, 0, 255, name("MAIN.capper")).data;
    ASSERT_EQ(number_at(entry, 0), entry.size());
    EXPECT_EQ(number_at(entry, 4), 0x4020u);
    EXPECT_EQ(number_at(entry, 8), 136u);
    EXPECT_EQ(number_at(entry, 12), 16u);
    EXPECT_EQ(std::string(entry.begin() + 30, entry.end()), std::string("MAIN.capper\0FB_Motor\0Verschlie\xdf"
                                                                        "er\0",
                                                                        34));
}

TEST_F(ControllerTest, OnlineChangeKeepsUnchangedSymbols) {
    const std::uint32_t old = handle_of(".total");
    const std::uint32_t revision = number_at(controller.read(0xF00F, 0, 24).data, 16);
    Place place;
    ASSERT_EQ(controller.plant().resolve("Recipes.note", place), ok);
    const json text = "kept";
    controller.plant().set_value(place, Node(text, ""));

    controller.online_change();
    EXPECT_NE(number_at(controller.read(0xF00F, 0, 24).data, 16), revision);
    EXPECT_EQ(controller.read(0xF005, old, 8).code, 0x711u);
    EXPECT_EQ(value_of("Recipes.note"), "kept");
    EXPECT_EQ(value_of("MAIN.shift"), 2);
    EXPECT_TRUE(value_of("MAIN.mode").is_null());
    EXPECT_EQ(value_of("MAIN.filler.valves[1]"),
              json::parse(R"({"fault":false,"name":"","open":false,"opened":0,"position":0})"));
    EXPECT_GT(handle_of(".total"), old);

    const std::uint32_t changed = number_at(controller.read(0xF00F, 0, 24).data, 16);
    controller.online_change(); // behind the last one
    EXPECT_NE(number_at(controller.read(0xF00F, 0, 24).data, 16), changed);
    EXPECT_EQ(value_of("MAIN.shift"), 2);
}

TEST(ControllerScenario, FaultNamesItsPlace) {
    const auto types = [](const char* list) {
        return json{{"types", json::parse(list)}, {"symbols", json::array()}, {"changes", nullptr}};
    };
    const std::pair<json, const char*> cases[] = {
        {{{"nonsense", 1}}, "unknown key 'nonsense'"},
        {types(R"([{"name":"A","members":["b : B"]},{"name":"B","members":["a : A"]}])"), "contains itself"},
        {types(R"([{"name":"A","members":["b : NOTHING"]}])"), "unknown type 'NOTHING'"},
        {types(R"([{"name":"A","array":[[2,1]],"of":"INT"}])"), "a lower and an upper bound"},
        {types(R"([{"name":"A","array":[[0,65535],[0,65535]],"of":"INT"}])"), "too many elements"},
        {types(R"([{"name":"A","members":["x : INT AT 0.1"]}])"), "only a BIT"},
        {types(R"([{"name":"A"},{"name":"A"}])"), "comes twice"},
        {{{"symbols", json::array({"x : INT := 1e"})}}, "is not JSON"},
        {{{"symbols", json::array({"x : STRING(300000000)"})}}, "unknown type"},
        {{{"symbols", json::array({{{"name", "x"}, {"type", "INT"}, {"attributes", {{"k", std::string(256, 'x')}}}}})},
          {"changes", nullptr}},
         "too long"},
        {{{"changes", json::array({{{"without", json::array({"MAIN.nothing"})}}})}}, "is no symbol's name"},
        {{{"changes", json::array({{{"symbols", 5}}})}}, "must be an array"},
        {{{"changes", json::array({{{"symbols", json::array({{{"type", "INT"}}})}}})}}, "'name' is missing"},
    };
    for (const auto& [changes, fault] : cases) {
        try {
            const json description = plant_with(changes);
            const Controller controller(Node(description, "851"));
            ADD_FAILURE() << changes;
        } catch (const ScenarioError& error) {
            EXPECT_NE(std::string(error.what()).find(fault), std::string::npos) << error.what();
        }
    }
}

TEST(DeviceSystemTest, ServicesAnswerByPort) {
    json scenario = demo();
    scenario["system"]["routes"][1]["name"] = "Süd";
    DeviceSystem devices(Node(scenario, ""));
    const auto text_at = [](const Bytes& data, std::size_t at, std::string_view text) {
        return std::string_view(reinterpret_cast<const char*>(data.data()) + at, text.size()) == text;
    };
    EXPECT_EQ(devices.read(1, 3, 2, 4).data, bytes({2}));
    const Bytes routes = devices.read(1, 3, 1, 1000).data;
    ASSERT_EQ(routes.size(), 116u);
    EXPECT_TRUE(text_at(routes, 16, "Packaging"));
    EXPECT_TRUE(text_at(routes, 58 + 16,
                        "S\xfc"
                        "d"));
    EXPECT_TRUE(text_at(routes, 52, "\x05\x0c\x52\x29\x01\x01"));

    // {7c1d2f30-58a4-4f0e-...}: the first three groups are little-endian.
    EXPECT_TRUE(text_at(devices.read(30, 0x01010004, 1, 16).data, 0, "\x30\x2f\x1d\x7c\xa4\x58\x0e\x4f\x9d\x61"));
    EXPECT_EQ(devices.read(10000, 0xA0, 0, 8).data, bytes({3 | 1 << 16, 4024 | 53 << 16}));

    const Bytes route = devices.read(10000, 0x323, 0, 1000).data;
    ASSERT_GT(route.size(), 80u);
    EXPECT_EQ(number_at(route, 36), 10u);
    EXPECT_EQ(number_at(route, 40), 1u);
    EXPECT_TRUE(text_at(route, 44, "Packaging"));
    EXPECT_EQ(number_at(route, 54 + 20), 16u);
    EXPECT_TRUE(text_at(route, 54 + 24,
                        "Palettierer S\xfc"
                        "d"))
        << "names of further routes are Windows-1252";
    EXPECT_TRUE(text_at(devices.read(10000, 0x323, 1, 1000).data, 44, "Süd")) << "the main name is UTF-8";
    EXPECT_EQ(devices.read(10000, 0x323, 2, 1000).code, 0x716u);

    EXPECT_EQ(devices.info(10000).name, "Bottling");
    EXPECT_EQ(devices.info(851).version.build, 7);
    EXPECT_EQ(devices.states(851).fdx_state, 5);
    for (const std::uint32_t port : {852u, 0u, 65536u}) {
        EXPECT_EQ(devices.read(port, 3, 1, 4).code, 0x6u) << port;
        EXPECT_EQ(devices.states(port).code, 0x6u) << port;
    }
    EXPECT_EQ(devices.write(1, 3, 1, {}).code, 0x702u);
}

} // namespace
