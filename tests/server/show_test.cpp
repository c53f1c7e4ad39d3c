#include "console/text.h"
#include "server/describe.h"
#include "server/table.h"
#include "tests/server/events.h"

#include <gtest/gtest.h>

using namespace server;
using events::alarm;
using events::message;

namespace {

TEST(Text, PrintableHasNoControlCharacters) {
    const std::string bad = "\xEF\xBF\xBD";
    const std::pair<std::string, std::string> cases[]{
        {"Füllstand 高", "Füllstand 高"},
        {"a\x1b[2Jb\r\n\tc", "a" + bad + "[2Jb" + bad + bad + bad + "c"},
        {"\xC2\x9B", bad},                                     // a control character of the upper half
        {"\xE2\x80\xAE", bad},                                 // turns the direction
        {"a\xE9\xAB", "a" + bad + bad},                        // cut off
        {"\xF4\x90\x80\x80", bad + bad + bad + bad},           // above U+10FFFF
        {"\xF8\x88\x80\x80\x80", bad + bad + bad + bad + bad}, // five bytes
    };
    for (const auto& [text, shown] : cases)
        EXPECT_EQ(console::printable(text), shown);
}

TEST(Text, ColumnsFollowTheTerminal) {
    const std::pair<const char*, std::size_t> cases[]{
        {"⚡✅🚨", 6}, {"高a", 3}, {"e\u0301", 1}, {"\u0951\u05B0\u200B", 0}, {"\u303F\uFFFD\uE000", 3}, {"\u0378", 1}};
    for (const auto& [text, width] : cases)
        EXPECT_EQ(console::columns(text), width) << text;
    EXPECT_EQ(console::fit("⚡⚡⚡", 4), "⚡… ") << "a wide character never hangs over the edge";
}

TEST(Text, JsonHasNoControlCharacters) {
    const std::string json = "{\"a\":\"高 \\u001b \xC2\x9B \x7F \xE2\x80\xAE\"}";
    EXPECT_EQ(console::json_escaped(json), R"({"a":"高 \u001b \u009b \u007f \u202e"})");
}

TEST(Describe, StateFollowsTimesOfAlarm) {
    const std::tuple<long, long, int, bool, const char*> cases[]{
        // cleared, confirmed, state, removed
        {0, 0, 0, false, "active"},           {0, 5, 0, false, "active confirmed"}, {9, 0, 0, false, "cleared"},
        {9, 5, 0, true, "cleared confirmed"}, {0, 0, 4, false, "invalid"},          {0, 0, 0, true, "removed"},
    };
    for (const auto& [cleared, confirmed, state, removed, text] : cases) {
        auto changed = alarm(1, 1, cleared);
        changed.set_time_confirmed(ZoHmiSrv::Timestamp(confirmed));
        changed.set_alarm_state(static_cast<ZoHmiSrv::AlarmState>(state));
        EXPECT_EQ(state_text({1, event_of(changed), removed}), text);
    }
}

TEST(Describe, ValuesAreListedAtAnyDepth) {
    using ZoHmiSrv::Value;
    Value list;
    list.set_type(ZoHmiSrv::ValueType::Vector) << Value("x\x1b[2J") << Value(2);
    Value all;
    all.set_type(ZoHmiSrv::ValueType::Struct);
    all.insert("a\nb", list);
    all.insert("when", ZoHmiSrv::Timestamp(1'709'208'000'000'000'000));
    EXPECT_EQ(value_lines(all, "  "), "  a\uFFFDb:\n    1: x\uFFFD[2J\n    2: 2\n  when: 2024-02-29 12:00:00.000");
    Value deep = list;
    for (int i = 0; i < 10000; ++i) {
        Value outer;
        outer.set_type(ZoHmiSrv::ValueType::Vector) << std::move(deep);
        deep = std::move(outer);
    }
    EXPECT_LT(value_lines(deep, "").size(), 20000u) << "deep values are left out";
}

TEST(Table, EveryLineFillsTheWidth) {
    TableContent content;
    content.note = "the note\nin one line";
    content.rows.push_back(
        {{1, event_of(alarm(1, 1'709'208'000'000'000'000, 0, "Abfüllanlage 高"))},
         {ZoHmiSrv::HMI_SUCCESS, "Füllstand von Tank 高 ist viel zu hoch\x1b[2J", "Prozess", "Abfüllanlage\n"}});
    for (std::size_t width = 0; width <= 200; ++width) {
        for (const std::string& line : table_lines(content, width, 10))
            ASSERT_EQ(console::columns(line), width) << line;
    }
    content.incomplete = {"Abfüllanlage 高"};
    const auto marked = table_lines(content, 300, 10);
    EXPECT_TRUE(marked.at(0).starts_with("Abfüllanlage 高: import failed, list incomplete | 0 active")) << marked[0];
    EXPECT_TRUE(marked.at(3).starts_with(" 1 ! Abfüllanlage 高 ")) << marked[3];
}

} // namespace
