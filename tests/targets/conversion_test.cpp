#include "targets/conversion.h"

#include "extension/host/event.h"
#include "extension/host/value.h"
#include "tests/fakes/fake_events.h"
#include "tests/fakes/fake_listener.h"
#include "tests/test_headers.h"

namespace {

using namespace ZoHmiSrv;
using namespace ZoHmiEventLogger;
using fakes::describe;
using fakes::EventFields;
using fakes::FakeAlarm;
using fakes::FakeLoggedEvent;
using fakes::FakeMessage;
using fakes::file_time;

constexpr GUID some_class{0x01234567, 0x89AB, 0xCDEF, {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF}};
constexpr char class_text[] = "\"{01234567-89AB-CDEF-0123-456789ABCDEF}\"";

const EventFields full{.event_class = some_class,
                       .event_id = 4294967295,
                       .severity = 3,
                       .raised = file_time(10, 100),
                       .cleared = file_time(20),
                       .confirmed = file_time(15),
                       .with_confirmation = VARIANT_TRUE,
                       .confirmation_state = 2,
                       .source_id = 4294967295,
                       .source_guid = some_class,
                       .source_name = "Press",
                       .arguments = {2, 0, 2, 2, 3},
                       .block = {1, 2, 0xAA, 0, 0x0C},
                       .json = R"({"a":1})"};

const std::string full_parameters =
    std::string("{data=<aa000c> eventClass=") + class_text +
    " eventId=4294967295.0 jsonAttribute=\"{\"a\":1}\" numArguments=2.0 sourceGuid=" + class_text +
    " sourceId=4294967295.0 sourceName=\"Press\" targetName=\"T\" types=<0102>}";

template <class Fake>
ZoAtlCom::CComPtr<Fake> make(const EventFields& fields) {
    return new Fake(fields);
}

Event converted(const fakes::LoggedEventPtr& item) {
    Event event;
    convert_logged_event(event, item.get(), "dom", "T", 7);
    return event;
}
Event converted(const fakes::AlarmPtr& alarm, Event event = {}, bool keep_id = false) {
    convert_alarm(event, alarm.get(), "dom", "T", 7, keep_id);
    return event;
}
Message converted(const fakes::MessagePtr& proxy) {
    Message message;
    convert_message(message, proxy.get(), "dom", "T");
    return message;
}
const Value& parameters_of(const Message& message) {
    return message.parameters();
}
const Value& parameters_of(const Event& event) {
    const Value& payload = event.payload();
    return payload.type() == ValueType::Alarm ? payload.get_alarm().parameters() : payload.get_message().parameters();
}
std::string parameters(const Event& event) {
    return describe(parameters_of(event));
}

TEST(Conversion, AllKindsHaveTheSameParameters) {
    const Event alarm = converted(make<FakeAlarm>(full));
    EXPECT_EQ(describe(alarm.payload()), "ZOEVENTLOGGER_ALARM@dom id=7 severity=3 state=0 confirmation=2 "
                                         "raised=@10000000100ns cleared=@20s confirmed=@15s");
    EXPECT_EQ(parameters(alarm), full_parameters);
    const Event logged_alarm = converted(make<FakeLoggedEvent>(full));
    EXPECT_EQ(describe(logged_alarm.payload()), "ZOEVENTLOGGER_ALARM@dom id=7 severity=3 state=0 confirmation=3 "
                                                "raised=@10000000100ns cleared=@20s confirmed=@15s");
    EXPECT_EQ(parameters(logged_alarm), full_parameters);
    EventFields message_fields = full;
    message_fields.type = ZoEventLoggerFdxProxyLib::EventTypeMessage;
    const Event logged_message = converted(make<FakeLoggedEvent>(message_fields));
    EXPECT_EQ(describe(logged_message.payload()), "ZOEVENTLOGGER_MESSAGE@dom severity=3 raised=@10000000100ns");
    EXPECT_EQ(parameters(logged_message), full_parameters);
    const Message message = converted(make<FakeMessage>(full));
    EXPECT_EQ(describe(message), "ZOEVENTLOGGER_MESSAGE@dom severity=3 raised=@10000000100ns");
    EXPECT_EQ(describe(message.parameters()), full_parameters);
    for (const Event* event : {&alarm, &logged_alarm, &logged_message}) {
        EXPECT_STREQ(event->domain(), "dom");
        EXPECT_STREQ(event->name(), event == &logged_message ? "ZOEVENTLOGGER_MESSAGE" : "ZOEVENTLOGGER_ALARM");
        EXPECT_EQ(event->time_received().nanoseconds(), 10'000'000'100); // when it was raised, not now
    }
    const Event other = converted(make<FakeLoggedEvent>({.type = 2}));
    EXPECT_STREQ(other.domain(), "dom"); // and nothing else
    EXPECT_EQ(std::string(other.name()) + describe(other.payload()), describe(Value()));
}

TEST(Conversion, MissingFieldsAreLeftOut) {
    const std::string bare =
        std::string("{eventClass=") + class_text + " eventId=5.0 numArguments=0.0 targetName=\"T\"}";
    const EventFields fields{.event_class = some_class, .event_id = 5};
    EXPECT_EQ(parameters(converted(make<FakeAlarm>(fields))), bare);
    EXPECT_EQ(describe(converted(make<FakeMessage>(fields)).parameters()), bare);
    EXPECT_EQ(parameters(converted(make<FakeLoggedEvent>(fields))), bare);
    EventFields old = fields;
    old.extended = false; // an Int
    EXPECT_EQ(parameters(converted(make<FakeLoggedEvent>(old))),
              std::string("{eventClass=") + class_text + " eventId=5.0 numArguments=0 targetName=\"T\"}");
    EventFields other_flag = fields;
    other_flag.source_id = 3;
    other_flag.source_flag = 1; // any flag but 0
    other_flag.source_name = "x";
    other_flag.json = "y";
    other_flag.null_strings = true;
    EXPECT_EQ(parameters(converted(make<FakeAlarm>(other_flag))),
              std::string("{eventClass=") + class_text +
                  " eventId=5.0 jsonAttribute=\"\" numArguments=0.0 sourceId=3.0 sourceName=\"\" targetName=\"T\"}");
}

TEST(Conversion, LoggedAlarmsHaveTheirStates) {
    const struct {
        VARIANT_BOOL with_confirmation;
        std::int64_t confirmed, cleared;
        int confirmation, state;
    } cases[] = {
        {VARIANT_TRUE, file_time(5), file_time(6), 3, 0},
        {VARIANT_TRUE, 0, file_time(6), 4, 0},
        {VARIANT_FALSE, file_time(5), file_time(6), 0, 0},
        {1, file_time(5), file_time(6), 0, 0}, // only -1 is true
        {VARIANT_FALSE, 0, 0, 0, 4},
        {VARIANT_TRUE, file_time(5), 0, 3, 4},
    };
    for (const auto& row : cases) {
        const Event event = converted(make<FakeLoggedEvent>(
            {.cleared = row.cleared, .confirmed = row.confirmed, .with_confirmation = row.with_confirmation}));
        const Alarm& alarm = event.payload().get_alarm();
        EXPECT_EQ(static_cast<int>(alarm.confirmation_state()), row.confirmation);
        EXPECT_EQ(static_cast<int>(alarm.alarm_state()), row.state);
    }
}

TEST(Conversion, LiveAlarmIsClearedAfterItsRaise) {
    for (const auto& [cleared, expected] : {std::pair{10, "@0"}, {9, "@0"}, {11, "@11s"}, {0, "@0"}}) {
        const Event event = converted(make<FakeAlarm>({.raised = file_time(10), .cleared = file_time(cleared)}));
        EXPECT_EQ(describe(Value(event.payload().get_alarm().time_cleared())), expected);
    }
}

TEST(Conversion, AlarmRaisedAgainIsUpdatedInPlace) {
    Event event;
    Alarm old;
    old.set_id(3);
    old.set_alarm_state(AlarmState(2));
    old.parameters().insert("causeRemedy", 1);
    event.payload().set(old);
    const Event kept = converted(make<FakeAlarm>({.raised = file_time(4)}), event, true);
    EXPECT_EQ(describe(kept.payload()),
              "ZOEVENTLOGGER_ALARM@dom id=3 severity=0 state=2 confirmation=0 raised=@4s cleared=@0 confirmed=@0");
    EXPECT_FALSE(kept.payload().get_alarm().parameters()["causeRemedy"].isset());
    EXPECT_EQ(converted(make<FakeAlarm>({}), event, false).payload().get_alarm().id(), 7);
    Event message;
    message.payload().set(Message());
    EXPECT_EQ(converted(make<FakeAlarm>({}), message, true).payload().get_alarm().id(), 0); // a new one
}

TEST(Conversion, SeverityAndConfirmationAreClamped) {
    for (const auto& [severity, expected] : {std::pair{0U, 0}, {4U, 4}, {5U, 1}, {0xFFFFFFFFU, 1}})
        EXPECT_EQ(static_cast<int>(clamp_severity(severity)), expected) << severity;
    for (const auto& [state, expected] :
         {std::pair{0, 0}, {1, 1}, {4, 4}, {5, 0}, {-1, 0}, {std::numeric_limits<int>::min(), 0}})
        EXPECT_EQ(static_cast<int>(clamp_confirmation_state(state)), expected) << state;
    const EventFields wild{.severity = 5, .confirmation_state = 5};
    EXPECT_EQ(describe(converted(make<FakeAlarm>(wild)).payload()),
              "ZOEVENTLOGGER_ALARM@dom id=7 severity=1 state=0 confirmation=0 raised=@1s cleared=@0 confirmed=@0");
    EXPECT_EQ(static_cast<int>(converted(make<FakeMessage>(wild)).severity()), 1);
    EXPECT_EQ(static_cast<int>(converted(make<FakeLoggedEvent>(wild)).payload().get_alarm().severity()), 1);
}

TEST(Conversion, ArgumentRangesStayInTheBlock) {
    constexpr std::uint32_t most = std::numeric_limits<std::uint32_t>::max();
    const struct {
        const char* about;
        ZoEventLoggerFdxProxyLib::ArgumentDescriptor arguments; // count, types at, size, data at, size
        const char* expected;
        std::vector<std::uint32_t> asked; // block sizes
    } cases[] = {
        {"in order", {1, 0, 2, 2, 3}, "data=<020304> numArguments=1.0 types=<0001>", {5}},
        {"data first", {1, 3, 2, 0, 3}, "data=<000102> numArguments=1.0 types=<0304>", {5}},
        {"overlapping, with a gap", {1, 1, 2, 2, 3}, "data=<020304> numArguments=1.0 types=<0102>", {5}},
        {"types alone", {1, 0, 2, 2, 0}, "data=<> numArguments=1.0 types=<0001>", {2}},
        {"an end right behind", {1, 0, 0, 3, 3}, "numArguments=1.0", {3}},
        {"no sizes", {3, 0, 0, 0, 0}, "numArguments=3.0", {}},
        {"no count", {0, 0, 2, 2, 3}, "numArguments=0.0", {}},
        {"types past the end by one", {1, 4, 2, 0, 3}, "numArguments=1.0", {5}},
        {"data past the end by one", {1, 0, 2, 3, 3}, "numArguments=1.0", {5}},
        {"offset that wraps round in 32 bits", {1, most, 2, 0, 3}, "numArguments=1.0", {5}},
        {"sizes that wrap round in 32 bits", {1, 0, most, 0, 6}, "numArguments=1.0", {}},
        {"a sum of 2^31", {1, 0, 1U << 31, 0, 0}, "numArguments=1.0", {}},
        {"a count beyond all", {most, 0, 1, 0, 0}, "data=<> numArguments=4294967295.0 types=<00>", {1}},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.about);
        const EventFields fields{.arguments = row.arguments, .block = {0, 1, 2, 3, 4}, .moves_block = true};
        const auto check = [&](const auto& proxy) {
            const auto made = converted(proxy);
            Value relevant;
            for (const char* key : {"numArguments", "types", "data"})
                if (parameters_of(made)[key].isset()) relevant[key] = parameters_of(made)[key];
            EXPECT_EQ(describe(relevant), std::string("{") + row.expected + "}");
            EXPECT_EQ(proxy->asked_block_sizes(), row.asked);
        };
        check(make<FakeAlarm>(fields));
        check(make<FakeMessage>(fields));
        for (const std::int32_t type : {0, 1}) {
            EventFields of_log = fields;
            of_log.type = type;
            check(make<FakeLoggedEvent>(of_log));
        }
    }
}

} // namespace
