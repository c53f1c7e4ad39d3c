// What an operator asks of the extension: confirm alarms, and run commands.
#include "tests/extension/extension_fixture.h"

#include "extension/host/command.h"
#include "extension/host/event_payload.h"

#include <initializer_list>
#include <utility>

using namespace ZoHmiSrv;

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
    // The diagnostics of one target.
    Value diagnose(const char* name) { return run("Diagnostics").read_value()["TARGET_SYSTEMS"][name]; }
    static Value structure(std::initializer_list<std::pair<const char*, Value>> members) {
        Value value;
        value.set_type(ValueType::Struct);
        for (const auto& [name, member] : members)
            value.insert(name, member);
        return value;
    }

    fakes::LoggerPtr logger;
};

TEST_F(Operator, ConfirmsAtTheLogger) {
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

TEST_F(Operator, ReadsTheStateOfEveryTarget) {
    set_entry("off", target_entry("5.2.2.2.1.1", false));
    start_without_ticks();
    const Value good = structure({{"connectionState", "Good"},
                                  {"importedEventsCount", 3},
                                  {"importedAlarmsCount", 2},
                                  {"importedInvalidAlarmsCount", 1},
                                  {"importedMessagesCount", 1},
                                  {"activeAlarmsCount", 1},
                                  {"cachedAlarmsCount", 2},
                                  {"cachedInvalidAlarmsCount", 1},
                                  {"cachedMessagesCount", 1}});
    const Value off = structure({{"connectionState", "Disabled"}});
    const Value lost = structure({{"connectionState", "Not Connected"}});
    Value targets;
    targets.set_type(ValueType::Map).insert("a", good);
    targets.insert("off", off);
    EXPECT_EQ(run("Diagnostics").read_value(), structure({{"TARGET_SYSTEMS", targets}}));
    tick();
    EXPECT_EQ(result("ForceReconnect", "a"), 0u);
    EXPECT_EQ(diagnose("a"), lost) << "no attempt has failed yet";
    logger->plan->answer("ConnectWithSettings", hresult(0x98110745), 1);
    tick();
    EXPECT_EQ(diagnose("a"), structure({{"connectionState", "Not Connected"},
                                        {"connectError", "FDXERR_CLIENT_SYNCTIMEOUT (0x98110745)"}}));
    tick();
    EXPECT_EQ(diagnose("a"), good);
    logger->plan->answer("IsConnected", E_FAIL, 1);
    EXPECT_ANY_THROW(run("Diagnostics"));
}

TEST_F(Operator, ActsOnTheTargetThatACommandNames) {
    set_entry("off", target_entry("5.2.2.2.1.1", false));
    start_without_ticks();
    // One takes the name itself, the other a Struct; each finds no name in what the other takes.
    const auto named = [](const Value& name) { return structure({{"targetName", name}}); };
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
        for (const Value& nobody : {row.unknown, row.wrong, Value(), Value(5)}) {
            const Command command = run(row.mapping, nobody);
            EXPECT_EQ(command.extension_result(), unsigned{HMI_E_ENTRY_NOT_FOUND});
            EXPECT_STREQ(command.result_string(), "");
        }
        EXPECT_EQ(result(row.mapping, row.off), 0u) << "whether it is connected is not asked";
    }
}

TEST_F(Operator, OneCommandsFailureLeavesTheOthersAlone) {
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

TEST_F(Operator, AnEmptyTableGivesEmptyAnswers) {
    set_entry("a", Value());
    fakes::FakeProxyLibrary::instance().next_loggers.clear();
    start_without_ticks();
    EXPECT_EQ(run("Diagnostics").read_value(), structure({{"TARGET_SYSTEMS", Value().set_type(ValueType::Map)}}));
    EXPECT_EQ(run("ListEnabledTargetSystems").read_value(), Value().set_type(ValueType::Vector));
}

} // namespace
