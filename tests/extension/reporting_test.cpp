#include "tests/extension/extension_fixture.h"

#include <gmock/gmock.h>

#include <exception>

using namespace ZoHmiSrv;
using testing::ElementsAre;

namespace {

class Reporting : public ExtensionTest {
protected:
    Reporting() { start_without_ticks(); }
};

class TextError : public std::exception {
public:
    explicit TextError(const char* text) : text_(text) {}
    const char* what() const noexcept override { return text_; }

private:
    const char* text_;
};

TEST_F(Reporting, ExceptionsBecomeOneMessageWithATextInAllCases) {
    const char* const fallback = "An error occurred in the communication with the Zorvane EventLogger.";
    const std::pair<const char*, const char*> cases[] = {
        {"boom", "boom"}, {"caf\xc3\xa9", "caf\xc3\xa9"}, {"", fallback}, {nullptr, fallback}};
    std::size_t sent = 0;
    const auto check = [&](const char* text) {
        const auto all = host.messages();
        ASSERT_EQ(all.size(), ++sent);
        EXPECT_FALSE(all.back().is_event);
        EXPECT_STREQ(all.back().context.domain(), "HMI");
        Message message = all.back().message;
        EXPECT_STREQ(message.name(), "ZORVANE_EVENTLOGGER_ERROR");
        EXPECT_STREQ(message.domain(), "HMI");
        EXPECT_EQ(message.severity(), Severity{-1});
        EXPECT_EQ(message.parameters().size(), 3u);
        EXPECT_EQ(message.parameters()["0"], Value("target"));
        EXPECT_EQ(message.parameters()["1"], Value(-1.0));
        EXPECT_EQ(message.parameters()["2"], Value(text));
        const auto age = Timestamp::now().nanoseconds() - message.time_raised().nanoseconds();
        EXPECT_GE(age, 0);
        EXPECT_LT(age, 60'000'000'000);
    };
    for (const auto& [what, text] : cases) {
        extension->log_exception("target", TextError(what));
        check(text);
    }
    extension->log_unknown_exception("target");
    check(fallback);
}

TEST_F(Reporting, MessagesOfTheExtensionGetItsDomainAndThoseOfTargetsKeepTheirs) {
    Message message;
    message.set_name("M");
    message.set_domain("target's");
    extension->log_message(message);
    extension->on_message(message);
    const auto sent = host.messages();
    ASSERT_EQ(sent.size(), 2u);
    EXPECT_FALSE(sent[0].is_event);
    EXPECT_STREQ(sent[0].message.domain(), "HMI");
    EXPECT_TRUE(sent[1].is_event);
    EXPECT_STREQ(sent[1].message.domain(), "target's");
    EXPECT_STREQ(sent[1].context.domain(), "HMI");
}

TEST_F(Reporting, AlarmsAndForgottenEventsReachTheServerInTheirModes) {
    Alarm alarm;
    alarm.set_id(7);
    extension->on_alarm_raised(alarm);
    extension->on_alarm_changed(alarm, false);
    extension->on_alarm_changed(alarm, true);
    Event event;
    event.set_name("E");
    extension->forget_event(event);
    EXPECT_THAT(take_calls("host."), ElementsAre("host.notify_alarm 0 7", "host.notify_alarm 1 7",
                                                 "host.notify_alarm 2 7", "host.forget_event E"));
    EXPECT_STREQ(host.context_of("notify_alarm").domain(), "HMI");
    EXPECT_STREQ(host.context_of("forget_event").domain(), "HMI");
}

TEST_F(Reporting, AServerThatRefusesWhatComesBeforeAnAlarmHearsOfTheAlarm) {
    for (const char* call : {"send_message NEW_ALARM_RAISED", "send_message FORGET_EVENT", "forget_event"}) {
        SCOPED_TRACE(call);
        set_config("LIMIT_EVENT_COUNT", 1.0);
        shut_down();
        host.clear();
        const auto logger = add_target("a");
        start_without_ticks();
        logger->fire_message(logger->make_message());
        host.plan().throw_error(call, "busy", 1);
        EXPECT_EQ(logger->fire_raised(logger->make_alarm({.raised = fakes::file_time(2)})), S_OK);
        EXPECT_EQ(host.alarms().size(), 1u);
    }
}

class Listing : public ExtensionTest {};

TEST_F(Listing, WithoutTargetsTheValueIsLeftAlone) {
    start_without_ticks();
    Value events(7);
    EXPECT_EQ(extension->on_get_events(Context(), events), 0);
    EXPECT_EQ(events, Value(7));
}

TEST_F(Listing, TargetsAreListedInTheOrderOfTheirNames) {
    // Configured last, but first in byte-wise order, whatever its events' times are.
    const auto lower = add_target("a");
    const auto upper = add_target("B");
    std::swap(fakes::FakeProxyLibrary::instance().next_loggers[0], fakes::FakeProxyLibrary::instance().next_loggers[1]);
    lower->history.push_back(lower->make_logged_event({.raised = fakes::file_time(1)}));
    lower->history.push_back(lower->make_logged_event({.raised = fakes::file_time(3)}));
    upper->history.push_back(upper->make_logged_event({.raised = fakes::file_time(2)}));
    start_without_ticks();
    Value events = listed();
    ASSERT_EQ(events.size(), 3u);
    Texts names;
    for (unsigned long index = 0; index < events.size(); ++index) {
        Event& event = events[index].get_event();
        names.push_back(event.payload().get_alarm().parameters()["targetName"].get_string());
        EXPECT_STREQ(event.domain(), "HMI");
        // Ids count up from 1 over all targets, in the order of their imports.
        EXPECT_EQ(event.payload().get_alarm().id(), static_cast<int>(index) + 1);
    }
    EXPECT_THAT(names, ElementsAre("B", "a", "a"));
}

} // namespace
