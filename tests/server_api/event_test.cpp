#include "extension/host/command.h"
#include "extension/host/event.h"
#include "extension/host/event_payload.h"
#include "tests/test_headers.h"

#include <stdexcept>

using namespace ZoHmiSrv;

template <class L, class R>
concept Comparable = requires(L& left, R& right) {
    left == right;
};
static_assert(Comparable<Message, Message> && !Comparable<Value, Message> && !Comparable<Message, Value> &&
              !Comparable<Value, Alarm>);

template <class Payload>
void expect_copies(std::initializer_list<void (*)(Payload&)> changes, const Payload& (*inside)(const Value&)) {
    Payload payload;
    for (const auto change : changes) {
        const Payload before = payload;
        change(payload);
        EXPECT_FALSE(before == payload);
        EXPECT_TRUE(Payload(payload) == payload);
        Payload assigned, swapped;
        assigned = payload;
        swapped.swap(assigned);
        EXPECT_TRUE(swapped == payload && assigned == Payload());
        Value one, other;
        one.set(payload);
        other.set(before);
        EXPECT_TRUE(one != other);
        EXPECT_TRUE(inside(Value(one)) == payload); // the way through a tree of values is another
    }
}

TEST(EventPayload, CopiesAndComparesEveryField) {
    expect_copies<Alarm>(
        {[](Alarm& a) { a.set_name("n"); }, [](Alarm& a) { a.set_domain("d"); }, [](Alarm& a) { a.set_id(-3); },
         [](Alarm& a) { a.set_severity(Severity{4}); }, [](Alarm& a) { a.set_alarm_state(AlarmState::Invalid); },
         [](Alarm& a) { a.set_confirmation_state(AlarmConfirmationState{2}); },
         [](Alarm& a) { a.set_time_raised(Timestamp(1)); }, [](Alarm& a) { a.set_time_cleared(Timestamp(2)); },
         [](Alarm& a) { a.set_time_confirmed(Timestamp(3)); }, [](Alarm& a) { a.parameters()["p"] = 1; }},
        [](const Value& value) -> const Alarm& { return value.get_alarm(); });
    expect_copies<Message>({[](Message& m) { m.set_name("n"); }, [](Message& m) { m.set_domain("d"); },
                            [](Message& m) { m.set_severity(Severity{-1}); },
                            [](Message& m) { m.set_time_raised(Timestamp(5)); },
                            [](Message& m) { m.parameters()["p"] = 1; }},
                           [](const Value& value) -> const Message& { return value.get_message(); });
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

TEST(Event, RoundTripThroughValue) {
    Event event;
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
    EXPECT_EQ(inside.payload().get_alarm().id(), 5);

    Event moved(std::move(event));
    EXPECT_TRUE(moved == inside);
    Event other;
    other.swap(moved);
    EXPECT_TRUE(other == inside);
}

TEST(Command, GroupKeepsValuesAndResults) {
    CommandGroup group;
    for (const char* name : {"first", "second", "third"})
        group.add(Command(name)).write_value() = name;
    group[1].set_mapping("Diagnostics");
    for (auto it = group.begin_vector(); it != group.end_vector(); ++it) {
        it->read_value() = it->write_value();
        it->set_extension_result(HMI_E_FAIL);
    }
    ASSERT_EQ(group.size(), 3U);
    EXPECT_STREQ(group[1].mapping(), "Diagnostics");
    EXPECT_STREQ(group[2].read_value().get_string(), "third");
    EXPECT_EQ(group[2].extension_result(), 0x101U);
    EXPECT_EQ(group[2].result(), HMI_SUCCESS);
    EXPECT_THROW(group[3], std::out_of_range);
}
