#include "server/describe.h"
#include "server/table.h"
#include "server/text.h"
#include "tests/server/events.h"

#include <gtest/gtest.h>

using namespace server;
using events::alarm;
using events::message;

namespace {

TEST(Text, PrintableLetsNothingMoveTheCursor) {
    struct Case {
        std::string text;
        std::string shown;
    };
    const std::string bad = "\xEF\xBF\xBD";
    const Case cases[]{
        {"Füllstand 高", "Füllstand 高"},
        {"a\x1b[2Jb\r\n\tc", "a" + bad + "[2Jb" + bad + bad + bad + "c"},
        {std::string("a\0b", 3), "a" + bad + "b"},
        {"\xC2\x9B", bad},                 // a control character of the upper half
        {"\xE2\x80\xAE", bad},             // turns the direction
        {"\xD8\x9C", bad},                 // marks it
        {"\xC0\xAF", bad + bad},           // overlong
        {"\xED\xA0\x80", bad + bad + bad}, // a surrogate
        {"a\xE9\xAB", "a" + bad + bad},    // cut off
        {"\xF4\x90\x80\x80", bad + bad + bad + bad},
    };
    for (const Case& c : cases)
        EXPECT_EQ(printable(c.text), c.shown);
}

TEST(Text, JsonHoldsNothingThatATerminalActsOn) {
    const std::string json = "{\"a\":\"高 \\u001b \xC2\x9B \x7F \xE2\x80\xAE\"}";
    EXPECT_EQ(json_escaped(json), R"({"a":"高 \u001b \u009b \u007f \u202e"})");
}

TEST(Text, FitCutsBetweenCharactersToExactlyTheWidth) {
    struct Case {
        std::string text;
        std::size_t width;
        std::string shown;
    };
    const Case cases[]{
        {"abc", 5, "abc  "},
        {"abc", 3, "abc"},
        {"abcd", 3, "ab…"},
        {"abc", 1, "…"},
        {"abc", 0, ""},
        {"", 2, "  "},
        {"üöäß", 3, "üö…"},
        {"高高高", 6, "高高高"},
        {"高高高", 5, "高高…"},
        {"高高高", 4, "高… "},
        {"e\u0301e\u0301e\u0301", 2, "e\u0301…"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(fit(c.text, c.width), c.shown) << c.text << " in " << c.width;
        EXPECT_EQ(columns(fit(c.text, c.width)), c.width) << c.text;
    }
}

TEST(Text, TimesAreInUtcWithMilliseconds) {
    EXPECT_EQ(time_text(0), "");
    EXPECT_EQ(time_text(1'709'208'000'987'654'321), "2024-02-29 12:00:00.987");
    EXPECT_EQ(time_text(-1), "1969-12-31 23:59:59.999");
}

TEST(Describe, StatesFollowTheTimesOfTheAlarm) {
    struct Case {
        long cleared;
        long confirmed;
        int state;
        bool removed;
        const char* text;
    };
    const Case cases[]{
        {0, 0, 0, false, "active"},           {0, 5, 0, false, "active confirmed"}, {9, 0, 0, false, "cleared"},
        {9, 5, 0, true, "cleared confirmed"}, {0, 0, 4, false, "invalid"},          {0, 0, 0, true, "removed"},
    };
    for (const Case& c : cases) {
        auto held = alarm(1, 1, c.cleared);
        held.set_time_confirmed(ZoHmiSrv::Timestamp(c.confirmed));
        held.set_alarm_state(static_cast<ZoHmiSrv::AlarmState>(c.state));
        EXPECT_EQ(state_text({1, event_of(held), c.removed}), c.text);
    }
    EXPECT_EQ(state_text({1, event_of(message(1))}), "message");
    EXPECT_EQ(state_text({1, ZoHmiSrv::Event()}), "");
}

TEST(Describe, LinesNameTargetClassAndId) {
    auto sent = message(1'709'208'000'000'000'000, 4711, "Bottling");
    sent.set_severity(ZoHmiSrv::Severity{2});
    sent.parameters().insert("eventClass", "{1}");
    EXPECT_EQ(row_line({3, event_of(sent)}),
              "#3 Bottling 2024-02-29 12:00:00.000 severity 2 message ZOEVENTLOGGER_MESSAGE {1} 4711");

    ZoHmiSrv::Message logged;
    logged.set_name("KNOWN_ALARM_CLEARED");
    logged.parameters().insert("0", "a\nb");
    logged.parameters().insert("1", true);
    logged.parameters().insert("2", 7);
    logged.parameters().insert("3", ZoHmiSrv::Timestamp(1'709'208'000'000'000'000));
    EXPECT_EQ(message_line(logged), "KNOWN_ALARM_CLEARED a\xEF\xBF\xBD"
                                    "b true 7 2024-02-29 12:00:00.000");
}

TEST(Describe, ValuesAreListedMemberByMemberAtAnyDepth) {
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
    EXPECT_LT(value_lines(deep, "").size(), 20000u) << "what lies too deep is left out";
}

TableContent content_of(std::size_t rows) {
    TableContent content;
    content.note = "the note\nin one line";
    content.counts = {rows, rows, rows, 0};
    for (std::size_t i = 0; i < rows; ++i) {
        auto held = alarm(1, 1'709'208'000'000'000'000, 0, "Abfüllanlage 高");
        content.rows.push_back(
            {{i + 1, event_of(held)},
             {ZoHmiSrv::HMI_SUCCESS, "Füllstand von Tank 高 ist viel zu hoch\x1b[2J", "Prozess", "Abfüllanlage\n"}});
    }
    return content;
}

TEST(Table, EveryLineHasExactlyTheWidthWhateverTheWindow) {
    const TableContent content = content_of(3);
    for (std::size_t width = 0; width <= 200; ++width) {
        for (const std::string& line : table_lines(content, width, 10))
            ASSERT_EQ(columns(line), width) << line;
    }
    for (std::size_t height = 0; height <= 10; ++height) {
        EXPECT_EQ(table_lines(content, 80, height).size(), std::min<std::size_t>(height, 6));
    }
}

TEST(Table, GivesWayWhereItHurtsLeast) {
    struct Case {
        std::size_t width;
        const char* row;
    };
    const Case cases[]{
        {140, "#1 Abfüllanlage 高 2024-02-29 12:00:00.000   0 active Füllstand von Tank 高 ist viel zu hoch\uFFFD[2J "
              "Prozess Abfüllanlage\uFFFD"},
        {100, "#1 Abfüllanlage 高 12:00:00.000   0 active Füllstand von Tank 高 ist viel zu hoch\uFFFD[2J "
              "Prozess Abfül…"},
        {80, "#1 Abfülla… 12:00:00.000   0 active Füllstand von Tank 高 ist viel… Proz… Abfül…"},
        {60, "#1 Abfülla… 12:00:00.000   0 active Füllstand von Tank … Pr…"},
    };
    for (const Case& c : cases) {
        std::string line = table_lines(content_of(1), c.width, 10).back();
        line.erase(line.find_last_not_of(' ') + 1);
        EXPECT_EQ(line, c.row) << c.width;
    }
}

} // namespace
