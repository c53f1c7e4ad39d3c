#include "server/event_list.h"

#include "tests/server/events.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

using namespace server;
using events::alarm;
using events::list;
using events::message;
using ZoHmiSrv::Event;
using ZoHmiSrv::Timestamp;
using ZoHmiSrv::Value;
using Done = EventList::Outcome::Done;

namespace {

/// "a7" for an alarm with id 7, "m100" for a message of time 100, with "#N " before it.
std::string text_of(const EventRow& row) {
    const auto* alarm = alarm_of(row.event);
    return "#" + std::to_string(row.number) + " " +
           (alarm != nullptr ? "a" + std::to_string(alarm->id())
                             : "m" + std::to_string(row.event.time_received().nanoseconds())) +
           (row.removed ? " history" : "");
}

std::vector<std::string> texts(const std::vector<EventRow>& rows) {
    std::vector<std::string> texts;
    for (const EventRow& row : rows)
        texts.push_back(text_of(row));
    return texts;
}

using Texts = std::vector<std::string>;

TEST(EventList, ModesAddChangeAndKeepHistory) {
    EventList events;
    EXPECT_EQ(events.notify_alarm(1, alarm(7, 10)).done, Done::nothing) << "an unknown alarm";
    EXPECT_EQ(events.notify_alarm(2, alarm(7, 10)).done, Done::nothing);
    EXPECT_EQ(events.notify_alarm(0, alarm(7, 10)).row, 1u);
    EXPECT_EQ(events.notify_alarm(0, alarm(8, 20)).row, 2u);
    const auto again = events.notify_alarm(0, alarm(7, 30));
    EXPECT_EQ(again.done, Done::changed) << "raised again";
    EXPECT_EQ(again.row, 1u);
    events.notify_alarm(1, alarm(8, 20, 25));
    EXPECT_EQ(alarm_of(events.rows()[1].event)->time_cleared(), Timestamp(25));
    events.notify_alarm(2, alarm(8, 20, 26));
    EXPECT_EQ(texts(events.rows()), (Texts{"#1 a7", "#2 a8 history"}));
    EXPECT_EQ(alarm_of(events.rows()[1].event)->time_cleared(), Timestamp(26));
    events.notify_alarm(1, alarm(8, 20, 27));
    EXPECT_TRUE(events.rows()[1].removed) << "a late change keeps it removed";
    EXPECT_EQ(events.notify_alarm(9, alarm(9, 1)).done, Done::nothing) << "an unknown mode";
}

TEST(EventList, AlarmByIdMessageByTimeAndPayload) {
    EventList events;
    events.add_message(message(100, 1));
    events.add_message(message(100, 2));
    events.add_message(message(100, 2));
    events.add_message(message(200, 2));
    events.notify_alarm(0, alarm(7, 100));

    Event other_time = event_of(message(100, 2));
    other_time.set_time_received(Timestamp(200));
    EXPECT_EQ(events.forget(other_time).done, Done::nothing) << "another time received";
    EXPECT_EQ(events.forget(event_of(message(100, 3))).done, Done::nothing);
    EXPECT_EQ(events.forget(event_of(message(100, 2))).row, 2u);
    EXPECT_EQ(events.forget(event_of(message(100, 2))).row, 3u) << "one row for each";
    EXPECT_EQ(events.forget(event_of(alarm(7, 999, 5, "Other"))).row, 5u);
    EXPECT_EQ(texts(events.rows()), (Texts{"#1 m100", "#4 m200"}));
}

TEST(EventList, MessageForgottenFirstIsNotAdded) {
    EventList events;
    events.forget(event_of(message(100)));
    EXPECT_EQ(events.add_message(message(100)).done, Done::nothing);
    EXPECT_EQ(events.add_message(message(100)).done, Done::added) << "once only";
}

TEST(EventList, LastChangeAfterForgetAddsNoRow) {
    EventList events;
    events.notify_alarm(0, alarm(7, 100));
    events.forget(event_of(alarm(7, 100, 200)));
    events.notify_alarm(2, alarm(7, 100, 200));
    EXPECT_TRUE(events.rows().empty());
}

TEST(EventList, ResetKeepsNumbersOfEqualEvents) {
    EventList events;
    events.notify_alarm(0, alarm(7, 100));
    events.notify_alarm(0, alarm(8, 200));
    events.add_message(message(300));
    events.add_message(message(400));
    events.notify_alarm(2, alarm(8, 200, 1));
    const std::size_t rows = events.reset([](Value& out) {
        list(out, {event_of(message(300)), event_of(message(300)), event_of(alarm(8, 200, 1)), event_of(alarm(9, 500)),
                   Event()});
        out << Value("no event");
    });
    EXPECT_EQ(rows, 5u);
    EXPECT_EQ(texts(events.rows()), (Texts{"#3 m300", "#5 m300", "#2 a8 history", "#6 a9", "#7 m0"}));
    EXPECT_EQ(events.forget(event_of(message(400))).done, Done::nothing) << "dropped by the reset";
    EXPECT_EQ(events.forget(Event()).row, 7u);
}

// A call during a listing may be part of it already or not.
TEST(EventList, CallDuringListingAppliesOnce) {
    for (const bool listed_before : {true, false}) {
        EventList events;
        events.notify_alarm(0, alarm(1, 10));
        events.add_message(message(20));
        events.reset([&](Value& out) {
            if (!listed_before) list(out, {event_of(alarm(1, 10)), event_of(message(20))});
            EXPECT_EQ(events.notify_alarm(0, alarm(2, 30)).row, 3u);
            EXPECT_EQ(events.add_message(message(40)).row, 4u);
            events.notify_alarm(1, alarm(1, 10, 15));
            events.forget(event_of(message(20)));
            events.notify_alarm(0, alarm(3, 50));
            events.forget(event_of(alarm(3, 50)));
            EXPECT_EQ(texts(events.rows()), (Texts{"#1 a1", "#3 a2", "#4 m40"})) << "shown at once";
            if (listed_before) {
                list(out, {event_of(alarm(1, 10, 15)), event_of(alarm(2, 30)), event_of(message(40))});
            }
        });
        EXPECT_EQ(texts(events.rows()), (Texts{"#1 a1", "#3 a2", "#4 m40"})) << listed_before;
        EXPECT_EQ(alarm_of(events.rows()[0].event)->time_cleared(), Timestamp(15)) << listed_before;
    }
}

TEST(EventList, LaterOfTwoListingsWins) {
    EventList events;
    events.reset([&](Value& earlier) {
        list(earlier, {event_of(message(1))});
        events.notify_alarm(0, alarm(5, 5));
        events.reset([&](Value& later) {
            list(later, {event_of(message(1)), event_of(message(2)), event_of(alarm(5, 5))});
        });
        EXPECT_EQ(events.rows().size(), 3u);
        events.add_message(message(3));
    });
    EXPECT_EQ(texts(events.rows()), (Texts{"#2 m1", "#3 m2", "#1 a5", "#4 m3"}));
}

TEST(EventList, MessageDuringResetIsAddedOnce) {
    EventList events;
    events.reset([](Value& out) { list(out, {event_of(message(10)), event_of(message(20))}); });
    EXPECT_EQ(events.add_message(message(20)).done, Done::changed) << "listed first";
    EXPECT_EQ(events.add_message(message(20)).done, Done::added) << "a second one that is equal";
    EXPECT_EQ(events.add_message(message(10)).done, Done::added)
        << "messages come in order: only the first can be listed";
    EXPECT_EQ(events.add_message(message(10, 1, "Other")).done, Done::added);
    EXPECT_EQ(events.rows().size(), 5u);

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
    events.add_message(message(900));
    events.notify_alarm(0, alarm(1, 100));
    events.notify_alarm(0, alarm(2, 300));
    events.notify_alarm(0, alarm(3, 800, 850));
    events.notify_alarm(0, alarm(4, 700));
    events.notify_alarm(2, alarm(4, 700));
    EXPECT_EQ(texts(events.top(100)), (Texts{"#3 a2", "#2 a1", "#1 m900", "#4 a3", "#5 a4 history"}));
    EXPECT_EQ(texts(events.top(2)), (Texts{"#3 a2", "#2 a1"}));
    const auto counts = events.counts();
    EXPECT_EQ(counts.rows, 5u);
    EXPECT_EQ(counts.alarms, 4u);
    EXPECT_EQ(counts.active_alarms, 2u);
    EXPECT_EQ(counts.messages, 1u);
}

TEST(EventList, ManyThreadsUseItAtOnce) {
    EventList events;
    const auto listing = [](Value& out) { list(out, {event_of(alarm(1, 10)), event_of(message(20))}); };
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
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
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(events.reset(listing), 2u);
}

} // namespace
