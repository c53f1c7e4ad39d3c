// Reports to the server, and the requests of an operator: lists, confirmations, commands.
#include "tests/extension/extension_fixture.h"

#include "extension/host/command.h"
#include "extension/host/event_payload.h"
#include "tests/server_api/values.h"

#include <cstdlib>
#include <stdexcept>

using namespace ZoHmiSrv;
using values::show;

namespace {

class Operator : public ExtensionTest {
protected:
    Operator() : logger(add_target("a")) {
        logger->history = {logger->make_logged_event({.type = 0}), logger->make_logged_event()};
        logger->active = {logger->make_alarm({.raised = fakes::file_time(5), .unique_id = 1})};
    }
    void run(CommandGroup& group) { extension->on_request(Context(), group); }
    Command run(const char* mapping, const Value& input = Value()) {
        CommandGroup group;
        group.add(Command(mapping)).write_value() = input;
        run(group);
        return group[0];
    }
    unsigned result(const char* mapping, const Value& input) { return run(mapping, input).extension_result(); }
    std::string diagnose() { return show(run("Diagnostics").read_value()); }

    fakes::LoggerPtr logger;
};

TEST_F(Operator, ConfirmReachesTheLogger) {
    start_without_ticks();
    Alarm alarm = listed()[2].get_event().payload().get_alarm();
    EXPECT_EQ(extension->on_confirm_alarm(Context(), alarm), HMI_SUCCESS);
    EXPECT_EQ(logger->plan->count("Alarm.Confirm"), 1u);
    alarm.set_id(alarm.id() + 1000);
    EXPECT_EQ(extension->on_confirm_alarm(Context(), alarm), HMI_E_FAIL);
    alarm.parameters().insert_or_update("targetName", "gone");
    EXPECT_EQ(extension->on_confirm_alarm(Context(), alarm), HMI_E_ENTRY_NOT_FOUND);
    alarm.parameters().clear();
    EXPECT_EQ(extension->on_confirm_alarm(Context(), alarm), HMI_E_ENTRY_NOT_FOUND);
}

TEST_F(Operator, DiagnosticsReadEveryTarget) {
    set_entry("off", target_entry("5.2.2.2.1.1", false));
    start_without_ticks();
    const auto of_both = [](const std::string& state) {
        return "struct {TARGET_SYSTEMS: {a: struct {" + state + "}, off: struct {connectionState: 'Disabled'}}}";
    };
    const std::string good =
        of_both("activeAlarmsCount: Int(1), cachedAlarmsCount: Int(2), cachedInvalidAlarmsCount: Int(1), "
                "cachedMessagesCount: Int(1), connectionState: 'Good', importedAlarmsCount: Int(2), "
                "importedEventsCount: Int(3), importedInvalidAlarmsCount: Int(1), importedMessagesCount: Int(1)");
    EXPECT_EQ(diagnose(), good);
    tick();
    EXPECT_EQ(result("ForceReconnect", "a"), 0u);
    EXPECT_EQ(diagnose(), of_both("connectionState: 'Not Connected'")) << "no attempt has failed yet";
    tick();
    EXPECT_EQ(diagnose(), good);
    logger->plan->answer("IsConnected", E_FAIL, 1);
    EXPECT_ANY_THROW(run("Diagnostics"));
}

TEST_F(Operator, CommandActsOnNamedTarget) {
    set_entry("off", target_entry("5.2.2.2.1.1", false));
    start_without_ticks();
    // One input is the name itself, the other a Struct; each command finds no name in the input of the other.
    const auto named = [](const char* name) {
        Value input = Value().set_type(ValueType::Struct);
        input.insert("targetName", name);
        return input;
    };
    struct {
        const char* mapping;
        const char* call;
        Value input, unknown, wrong;
        Value off;
    } const cases[] = {
        {"ForceReconnect", "Disconnect", "a", "gone", named("a"), "off"},
        {"ClearLoggedEvents", "ClearLoggedEvents", named("a"), named("gone"), "a", named("off")},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.mapping);
        logger->plan->answer(row.call, E_FAIL, 1);
        host.clear();
        EXPECT_EQ(result(row.mapping, row.input), unsigned{HMI_E_FAIL});
        EXPECT_EQ(host.messages("ZORVANE_EVENTLOGGER_ERROR").size(), 1u);
        logger->plan->answer(row.call, S_FALSE, 1);
        EXPECT_EQ(result(row.mapping, row.input), 0u);
        EXPECT_EQ(logger->plan->count(row.call), 2u);
        for (const Value& wrong_name : {row.unknown, row.wrong, Value(), Value(5)}) {
            const Command command = run(row.mapping, wrong_name);
            EXPECT_EQ(command.extension_result(), unsigned{HMI_E_ENTRY_NOT_FOUND});
            EXPECT_STREQ(command.result_string(), "");
        }
        EXPECT_EQ(result(row.mapping, row.off), 0u) << "needs no connection";
    }
}

TEST_F(Operator, FailedCommandChangesNoOther) {
    set_entry("Z", target_entry("5.3.3.3.1.1", true)); // before "a", byte by byte, and not connected
    set_entry("off", target_entry("5.2.2.2.1.1", false));
    logger->plan->answer("ConnectWithSettings", E_FAIL, 1);
    start_without_ticks();
    CommandGroup group;
    for (const char* mapping : {"ListEnabledTargetSystems", "listEnabledTargetSystems", "Diagnostics"})
        group.add(Command(mapping)).set_extension_result(77);
    run(group);
    EXPECT_EQ(group[0].extension_result(), 0u);
    EXPECT_EQ(group[0].read_value(), Value().set_type(ValueType::Vector) << "Z"
                                                                         << "a");
    EXPECT_EQ(group[1].extension_result(), unsigned{HMI_E_INVALID_SYMBOL});
    EXPECT_STREQ(group[1].result_string(),
                 "Unkown command. Command handler missing. Please check the version of the extension.");
    EXPECT_FALSE(group[1].read_value().isset());
    EXPECT_EQ(group[2].extension_result(), 0u);
    EXPECT_EQ(group[2].read_value()["TARGET_SYSTEMS"].size(), 3u);
}

TEST_F(Operator, EmptyTableGivesEmptyAnswers) {
    set_entry("a", Value());
    fakes::FakeProxyLibrary::instance().next_loggers.clear();
    start_without_ticks();
    EXPECT_EQ(diagnose(), "struct {TARGET_SYSTEMS: {}}");
    EXPECT_EQ(run("ListEnabledTargetSystems").read_value(), Value().set_type(ValueType::Vector));
}

struct Reporting : ExtensionTest {
    Reporting() { start_without_ticks(); }
};

struct NullText : std::exception {
    const char* what() const noexcept override { return nullptr; }
};

TEST_F(Reporting, ExceptionBecomesMessageWithText) {
    extension->log_exception("target", std::runtime_error("caf\xc3\xa9"));
    extension->log_exception("target", std::runtime_error(""));
    extension->log_exception("target", NullText());
    extension->log_unknown_exception("target");
    std::string text = "caf\xc3\xa9";
    EXPECT_EQ(take_calls(), Texts(4, "host.send_message ZORVANE_EVENTLOGGER_ERROR target"));
    for (Message message : host.messages("ZORVANE_EVENTLOGGER_ERROR")) {
        EXPECT_STREQ(message.domain(), "HMI");
        EXPECT_EQ(message.severity(), Severity{-1});
        EXPECT_EQ(show(message.parameters()), "{0: 'target', 1: Double(-1), 2: '" + text + "'}");
        EXPECT_LT(std::abs(Timestamp::now().seconds() - message.time_raised().seconds()), 60);
        text = "An error occurred in the communication with the Zorvane EventLogger.";
    }
}

TEST_F(Reporting, CallsReachTheServerInTheirModes) {
    Message message;
    message.set_name("M");
    message.set_domain("target's");
    extension->log_message(message);
    extension->on_message(message);
    const auto sent = host.messages("M");
    ASSERT_EQ(sent.size(), 2u);
    EXPECT_STREQ(sent[0].domain(), "HMI");
    EXPECT_STREQ(sent[1].domain(), "target's");
    Alarm alarm;
    alarm.set_id(7);
    extension->on_alarm_raised(alarm);
    extension->on_alarm_changed(alarm, false);
    extension->on_alarm_changed(alarm, true);
    EXPECT_EQ(take_calls("host."), (Texts{"host.send_message M", "host.send_message event M", "host.notify_alarm 0 7",
                                          "host.notify_alarm 1 7", "host.notify_alarm 2 7"}));
    EXPECT_STREQ(host.context_of("notify_alarm").domain(), "HMI");
}

TEST_F(Reporting, RefusedCallDoesNotStopTheAlarm) {
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
        EXPECT_EQ(host.alarms(), 1u);
    }
}

using Listing = ExtensionTest;

TEST_F(Listing, ListsTargetsInNameOrder) {
    // "B" is configured last, but first in byte-wise order, whatever the times of its events.
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
        // Ids count up from 1 over all targets, in the order of their imports.
        EXPECT_EQ(event.payload().get_alarm().id(), static_cast<int>(index) + 1);
    }
    EXPECT_EQ(names, (Texts{"B", "a", "a"}));
}

} // namespace
