#include "extension/host/command.h"
#include "extension/host/event.h"
#include "extension/host/event_payload.h"

#include <gtest/gtest.h>
#include <stdexcept>
#include <string>

using namespace ZoHmiSrv;

template <class L, class R>
concept Comparable = requires(L& left, R& right) {
    left == right;
};
static_assert(Comparable<Message, Message> && !Comparable<Value, Message> && !Comparable<Message, Value> &&
              !Comparable<Value, Alarm>);

TEST(Message, AssignmentAndSwapTakeEverything) {
    Message message;
    message.set_name("NAME");
    message.set_domain("domain");
    message.set_severity(Severity{-1});
    message.set_time_raised(Timestamp(5));
    message.parameters().insert("0", "target");
    Message other;
    other = message;
    EXPECT_TRUE(other == message);
    other.parameters()["0"] = "other";
    EXPECT_FALSE(other == message);
    Message empty;
    empty.swap(other);
    EXPECT_TRUE(other == Message());
}

TEST(Alarm, EveryFieldIsCopiedAndCompared) {
    void (*const changes[])(Alarm&) = {
        [](Alarm& a) { a.set_name("n"); },
        [](Alarm& a) { a.set_domain("d"); },
        [](Alarm& a) { a.set_id(-3); },
        [](Alarm& a) { a.set_severity(Severity{4}); },
        [](Alarm& a) { a.set_alarm_state(AlarmState::Invalid); },
        [](Alarm& a) { a.set_confirmation_state(AlarmConfirmationState{2}); },
        [](Alarm& a) { a.set_time_raised(Timestamp(1)); },
        [](Alarm& a) { a.set_time_cleared(Timestamp(2)); },
        [](Alarm& a) { a.set_time_confirmed(Timestamp(3)); },
        [](Alarm& a) { a.parameters()["p"] = 1; },
    };
    Alarm alarm;
    for (const auto change : changes) {
        const Alarm before = alarm;
        change(alarm);
        EXPECT_FALSE(before == alarm);
        EXPECT_TRUE(Alarm(alarm) == alarm);
        Alarm assigned;
        assigned = alarm;
        EXPECT_TRUE(assigned == alarm);
        Value one;
        one.set(alarm);
        const Value copy = one; // the way through a tree of values is another
        EXPECT_TRUE(copy.get_alarm() == alarm);
        Value other;
        other.set(before);
        EXPECT_TRUE(one != other);
    }
}

TEST(Alarm, IsActiveWhileRaisedAndNotCleared) {
    Alarm alarm;
    alarm.set_time_raised(Timestamp(1));
    EXPECT_TRUE(alarm.is_active());
    Alarm invalid = alarm;
    invalid.set_alarm_state(AlarmState::Invalid);
    EXPECT_FALSE(invalid.is_active());
    alarm.set_time_cleared(Timestamp(2));
    EXPECT_FALSE(alarm.is_active());
}

TEST(Event, CarriesEverythingIntoValuesAndBack) {
    Event event;
    EXPECT_FALSE(event.payload().isset());
    event.set_name("name");
    event.set_domain("domain");
    event.set_session(Session("session"));
    event.set_time_received(Timestamp(8));
    event.payload().get_alarm().set_id(5);

    Value value;
    value = event;
    const Value copy = value;
    const Event& inside = copy.get_event();
    EXPECT_TRUE(inside == event);
    EXPECT_STREQ(inside.session().id(), "session");
    EXPECT_EQ(inside.payload().get_alarm().id(), 5);

    Event moved(std::move(event));
    EXPECT_TRUE(moved == inside);
    Event other;
    other.swap(moved);
    EXPECT_TRUE(other == inside);
    other.set_time_received(Timestamp(9));
    EXPECT_FALSE(other == inside);
}

TEST(Command, AnExtensionReadsWhatWasWrittenAndWritesWhatIsRead) {
    CommandGroup group;
    for (const char* name : {"first", "second", "third"}) {
        group.add(Command(name)).write_value() = name;
    }
    group[1].set_mapping("Diagnostics");
    for (auto it = group.begin_vector(); it != group.end_vector(); ++it) {
        it->read_value() = it->write_value();
        it->set_extension_result(HMI_E_FAIL);
    }
    ASSERT_EQ(group.size(), 3U);
    EXPECT_STREQ(group[0].mapping(), "first");
    EXPECT_STREQ(group[1].mapping(), "Diagnostics");
    EXPECT_STREQ(group[2].read_value().get_string(), "third");
    EXPECT_EQ(group[2].extension_result(), 0x101U);
    EXPECT_EQ(group[2].result(), HMI_SUCCESS);
    EXPECT_THROW(group[3], std::out_of_range);
}
