#include "server/event_list.h"

#include "tests/server/events.h"

#include <gtest/gtest.h>

#include <atomic>
#include <sstream>
#include <thread>
#include <vector>

using namespace server;
using events::alarm;
using events::list;
using events::message;
using ZoHmiSrv::Event;
using ZoHmiSrv::Timestamp;
using ZoHmiSrv::Value;

namespace {

/// Runs calls and returns their outcomes, such as "added 1" with the number of the row. Calls are "mode M ID RAISED
/// CLEARED", "message TIME EVENT", "forget TIME EVENT" and "forget-alarm ID RAISED"; zeroes at the end may be left out.
std::string play(EventList& events, const std::string& calls) {
    std::string outcomes;
    std::istringstream all(calls);
    for (std::string call; std::getline(all, call, ';');) {
        std::istringstream in(call);
        std::string verb;
        long numbers[4] = {};
        in >> verb;
        for (long& number : numbers)
            in >> number;
        const auto& [first, second, third, fourth] = numbers;
        EventList::Outcome outcome;
        if (verb == "mode")
            outcome = events.notify_alarm(static_cast<int>(first), alarm(static_cast<int>(second), third, fourth));
        if (verb == "message") outcome = events.add_message(message(first, static_cast<double>(second)));
        if (verb == "forget") outcome = events.forget(event_of(message(first, static_cast<double>(second))));
        if (verb == "forget-alarm") outcome = events.forget(event_of(alarm(static_cast<int>(first), second)));
        const char* const names[]{"nothing", "added", "changed", "removed"};
        outcomes += (outcomes.empty() ? "" : "; ") + std::string(names[static_cast<int>(outcome.done)]);
        if (outcome.row != 0) outcomes += " " + std::to_string(outcome.row);
    }
    return outcomes;
}

/// Returns rows such as "#1 a7" for an alarm with the id 7 and "#2 m100" for a message of the time 100.
std::string texts(const std::vector<EventRow>& rows) {
    std::string text;
    for (const EventRow& row : rows) {
        const auto* alarm = alarm_of(row.event);
        text += (text.empty() ? "#" : ", #") + std::to_string(row.number) +
                (alarm != nullptr ? " a" + std::to_string(alarm->id())
                                  : " m" + std::to_string(row.event.time_received().nanoseconds())) +
                (row.removed ? " history" : "");
    }
    return text;
}

TEST(EventList, CallsChangeTheListInOrder) {
    const std::tuple<const char*, const char*, const char*, const char*> cases[]{
        {"changes of an unknown alarm", "mode 1 7 10; mode 2 7 10; mode 9 7 10", "nothing; nothing; nothing", ""},
        {"raised again", "mode 0 7 10; mode 0 8 20; mode 0 7 30", "added 1; added 2; changed 1", "#1 a7, #2 a8"},
        {"a late change", "mode 0 8 20; mode 2 8 20 26; mode 1 8 20", "added 1; changed 1; changed 1", "#1 a8 history"},
        {"a change after the forget", "mode 0 7 10; forget-alarm 7 99; mode 2 7 10", "added 1; removed 1; nothing", ""},
        {"messages by time and content, one row for each call",
         "message 100 1; message 100 2; message 100 2; message 200 2; forget 100 3; forget 100 2; forget 100 2",
         "added 1; added 2; added 3; added 4; nothing; removed 2; removed 3", "#1 m100, #4 m200"},
        {"forgotten first", "forget 100 1; message 100 1; message 100 1", "nothing; nothing; added 1", "#1 m100"},
    };
    for (const auto& [what, calls, outcomes, rows] : cases) {
        EventList events;
        EXPECT_EQ(play(events, calls), outcomes) << what;
        EXPECT_EQ(texts(events.rows()), rows) << what;
    }
    EventList events;
    play(events, "message 100 2");
    Event other_time = event_of(message(100, 2));
    other_time.set_time_received(Timestamp(200));
    EXPECT_EQ(events.forget(other_time).row, 0u);
}

TEST(EventList, ResetKeepsNumbersOfEqualEvents) {
    EventList events;
    play(events, "mode 0 7 100; mode 0 8 200; message 300 1; message 400 1; mode 2 8 200 1");
    const std::size_t rows = events.reset([](Value& out) {
        list(out, {event_of(message(300)), event_of(message(300)), event_of(alarm(8, 200, 1)), event_of(alarm(9, 500)),
                   Event()});
        out << Value("no event");
    });
    EXPECT_EQ(rows, 5u);
    EXPECT_EQ(texts(events.rows()), "#3 m300, #5 m300, #2 a8 history, #6 a9, #7 m0");
    EXPECT_EQ(play(events, "forget 400 1"), "nothing") << "dropped by the reset";
    EXPECT_EQ(events.forget(Event()).row, 7u);
}

// A call during a listing may be part of it already or not.
TEST(EventList, CallDuringListingAppliesOnce) {
    for (const bool listed_before : {true, false}) {
        EventList events;
        play(events, "mode 0 1 10; message 20 1");
        events.reset([&](Value& out) {
            if (!listed_before) list(out, {event_of(alarm(1, 10)), event_of(message(20))});
            play(events, "mode 0 2 30; message 40 1; mode 1 1 10 15; forget 20 1; mode 0 3 50; forget-alarm 3 50");
            EXPECT_EQ(texts(events.rows()), "#1 a1, #3 a2, #4 m40") << "shown at once";
            if (listed_before) list(out, {event_of(alarm(1, 10, 15)), event_of(alarm(2, 30)), event_of(message(40))});
        });
        EXPECT_EQ(texts(events.rows()), "#1 a1, #3 a2, #4 m40") << listed_before;
        EXPECT_EQ(alarm_of(events.rows()[0].event)->time_cleared(), Timestamp(15)) << listed_before;
    }
}

TEST(EventList, LaterOfTwoListingsWins) {
    EventList events;
    events.reset([&](Value& earlier) {
        list(earlier, {event_of(message(1))});
        play(events, "mode 0 5 5");
        events.reset([&](Value& later) {
            list(later, {event_of(message(1)), event_of(message(2)), event_of(alarm(5, 5))});
        });
        EXPECT_EQ(events.rows().size(), 3u);
        play(events, "message 3 1");
    });
    EXPECT_EQ(texts(events.rows()), "#2 m1, #3 m2, #1 a5, #4 m3");
}

TEST(EventList, MessageDuringResetIsAddedOnce) {
    EventList events;
    events.reset([](Value& out) { list(out, {event_of(message(10)), event_of(message(20))}); });
    EXPECT_EQ(play(events, "message 20 1; message 20 1; message 10 1"), "changed 2; added 3; added 4")
        << "messages come in order: only the first can be listed";
    EXPECT_EQ(events.add_message(message(10, 1, "Other")).row, 5u);

    // Added between two resets, listed by both.
    events.reset([&](Value& out) { list(out, {event_of(message(90))}); });
    events.reset([&](Value& out) {
        events.add_message(message(90));
        list(out, {event_of(message(90))});
    });
    EXPECT_EQ(events.rows().size(), 1u);
}

TEST(EventList, TopHasActiveAlarmsThenNewest) {
    EventList events;
    play(events, "message 900 1; mode 0 1 100; mode 0 2 300; mode 0 3 800 850; mode 0 4 700; mode 2 4 700");
    EXPECT_EQ(texts(events.top(100)), "#3 a2, #2 a1, #1 m900, #4 a3, #5 a4 history");
    EXPECT_EQ(texts(events.top(2)), "#3 a2, #2 a1");
    const auto counts = events.counts();
    EXPECT_EQ(std::tuple(counts.rows, counts.alarms, counts.active_alarms, counts.messages), std::tuple(5, 4, 2, 1));
}

TEST(EventList, ManyThreadsUseItAtOnce) {
    EventList events;
    const auto listing = [](Value& out) { list(out, {event_of(alarm(1, 10)), event_of(message(20))}); };
    std::atomic<bool> stop{false};
    std::vector<std::jthread> threads;
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back([&] {
            while (!stop) {
                events.reset(listing);
                EXPECT_LE(events.top(10).size(), 10u);
            }
        });
    }
    for (int i = 0; i < 1000; ++i) {
        events.notify_alarm(i % 3, alarm(i % 7, i));
        events.add_message(message(1000 + i));
        events.forget(event_of(message(1000 + i)));
    }
    stop = true;
    threads.clear();
    EXPECT_EQ(events.reset(listing), 2u);
}

} // namespace
