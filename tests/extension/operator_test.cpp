// What an operator asks of the extension: confirm, read in one's own language, run commands.
#include "tests/extension/extension_fixture.h"

#include "extension/host/command.h"
#include "extension/host/event_payload.h"
#include "targets/locale_id.h"
#include "targets/locale_table.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <iterator>

using namespace ZoHmiSrv;

namespace {

class Operator : public ExtensionTest {
protected:
    Operator() {
        logger = add_target("a");
        logger->has_class_name = logger->has_source_name = logger->has_logger4 = logger->has_logger5 = true;
        logger->text = [](const fakes::TextRequest& request) { return "text " + std::to_string(request.language); };
        logger->class_name = [](const GUID&, std::int32_t) { return std::string("class"); };
        logger->source_name = [](std::int32_t, const GUID&, const std::string& name) { return name + " localized"; };
        logger->causes_and_remedies = {{"1", "cause", "remedy"}};
        logger->details = {{"d", "first", "one"}, {"d", "last", "two"}};
        alarm = logger->make_alarm({.event_id = 7, .raised = fakes::file_time(5), .source_name = "pump"});
        logger->active = {alarm};
        start_without_ticks();
        const Value list = listed();
        event = list[0].get_event().payload().get_alarm();
    }
    ErrorValue localize(EventPayload& payload, const char* locale = "de-DE") {
        return extension->on_localize_event(Context(), locale, payload, text);
    }
    Command run(const char* mapping, const Value& input = Value()) {
        CommandGroup group;
        group.add(Command(mapping)).write_value() = input;
        extension->on_request(Context(), group);
        return group[0];
    }
    std::size_t questions() {
        std::size_t sum = 0;
        for (const char* call : fetches)
            sum += logger->plan->count(call);
        return sum;
    }

    static constexpr const char* fetches[] = {"GetText", "GetEventClassName", "GetSourceNameText",
                                              "GetCausesAndRemedies", "GetDetails"};
    fakes::LoggerPtr logger;
    fakes::AlarmPtr alarm;
    Alarm event;
    String text{"untouched"};
};

TEST_F(Operator, ReadsAnEventInTheirLanguage) {
    ASSERT_EQ(localize(event), HMI_SUCCESS);
    EXPECT_STREQ(text.name(), "text 1031");
    const Value& parameters = event.parameters();
    EXPECT_STREQ(parameters["eventClassName"].get_string(), "class");
    EXPECT_STREQ(parameters["localizedSourceName"].get_string(), "pump localized");
    EXPECT_EQ(parameters["causeRemedy"].type(), ValueType::Vector);
    EXPECT_STREQ(parameters["causeRemedy"][0]["remedy"].get_string(), "remedy");
    EXPECT_EQ(parameters["details"].type(), ValueType::Struct);
    EXPECT_EQ(parameters["details"].size(), 1u);
    EXPECT_STREQ(parameters["details"]["d"]["text"].get_string(), "last");
}

TEST_F(Operator, GetsAllOrNothing) {
    for (const char* fetch : fetches) {
        SCOPED_TRACE(fetch);
        logger->plan->answer(fetch, E_FAIL, 1);
        const Alarm before = event;
        EXPECT_EQ(localize(event), HMI_E_UNEXPECTED);
        EXPECT_EQ(event, before);
        EXPECT_STREQ(text.name(), "untouched");
        EXPECT_FALSE(take_calls("host.send_message ZORVANE_EVENTLOGGER_ERROR").empty());
    }
}

TEST_F(Operator, IsAnsweredFromTheCachesWhileTheTargetIsAway) {
    ASSERT_EQ(localize(event), HMI_SUCCESS);
    EXPECT_EQ(questions(), 5u);
    tick(); // the state is known as connected
    logger->connected = VARIANT_FALSE;
    EXPECT_EQ(localize(event), HMI_SUCCESS);
    EXPECT_EQ(questions(), 5u) << "no call leaves for the logger";
    logger->plan->answer("ConnectWithSettings", E_FAIL, 1);
    tick(); // finds the loss and clears
    EXPECT_EQ(localize(event), HMI_E_CONNECT);
    tick();
    EXPECT_EQ(localize(event), HMI_SUCCESS);
    EXPECT_EQ(logger->plan->count("GetText"), 1u) << "texts outlast the connection";
    EXPECT_EQ(logger->plan->count("GetEventClassName"), 2u);
}

TEST_F(Operator, PreloadedTextsAreAskedEachTime) {
    set_config("PRELOAD_TRANSLATIONS", true);
    ASSERT_EQ(localize(event), HMI_SUCCESS);
    ASSERT_EQ(localize(event), HMI_SUCCESS);
    EXPECT_EQ(logger->plan->count("GetText"), 2u);
    EXPECT_EQ(logger->plan->count("GetDetails"), 1u);
}

TEST_F(Operator, GivesArgumentsBackAsTwoRangesBehindEachOther) {
    Value& parameters = event.parameters();
    parameters.insert_or_update("numArguments", 2.0);
    parameters.insert_or_update("types", "AQI="); // 01 02
    parameters.insert_or_update("data", "AwQF");  // 03 04 05
    ASSERT_EQ(localize(event), HMI_SUCCESS);
    const auto request = logger->record().text_requests.back();
    EXPECT_EQ(request.arguments.count, 2u);
    EXPECT_EQ(request.arguments.types_offset, 0u);
    EXPECT_EQ(request.arguments.types_size, 2u);
    EXPECT_EQ(request.arguments.data_offset, 2u);
    EXPECT_EQ(request.arguments.data_size, 3u);
    EXPECT_EQ(request.block, (std::vector<std::uint8_t>{1, 2, 3, 4, 5}));
    EXPECT_EQ(parameters["types"].type(), ValueType::Binary);
    parameters.remove(parameters.find("data"));
    ASSERT_EQ(localize(event), HMI_SUCCESS);
    EXPECT_EQ(logger->record().text_requests.back().arguments.count, 0u);
}

TEST_F(Operator, ReadsWhatNoTargetCanTell) {
    Message message;
    message.set_name("own name");
    EXPECT_EQ(localize(message), HMI_SUCCESS);
    EXPECT_STREQ(text.name(), "own name");
    message.parameters().insert("targetName", "gone");
    EXPECT_EQ(localize(message, "xx"), HMI_SUCCESS);
    EXPECT_STREQ(text.name(), "TARGET_NOT_FOUND");
    EXPECT_STREQ(message.parameters()["eventClassName"].get_string(), "TARGET_NOT_FOUND");
}

TEST_F(Operator, ConfirmsAtTheLogger) {
    EXPECT_EQ(extension->on_confirm_alarm(Context(), event), HMI_SUCCESS);
    EXPECT_EQ(logger->plan->count("Alarm.Confirm"), 1u);
    Alarm unknown = event;
    unknown.set_id(event.id() + 1000);
    EXPECT_EQ(extension->on_confirm_alarm(Context(), unknown), HMI_E_FAIL);
    unknown.parameters().insert_or_update("targetName", "gone");
    EXPECT_EQ(extension->on_confirm_alarm(Context(), unknown), HMI_E_ENTRY_NOT_FOUND);
}

TEST_F(Operator, RunsTheFourCommands) {
    const Value good = run("Diagnostics").read_value();
    EXPECT_EQ(good["TARGET_SYSTEMS"].type(), ValueType::Map);
    EXPECT_STREQ(good["TARGET_SYSTEMS"]["a"]["connectionState"].get_string(), "Good");
    EXPECT_EQ(good["TARGET_SYSTEMS"]["a"]["activeAlarmsCount"], Value(1));
    EXPECT_EQ(good["TARGET_SYSTEMS"]["a"].size(), 9u);
    EXPECT_STREQ(run("ListEnabledTargetSystems").read_value()[0].get_string(), "a");

    EXPECT_EQ(run("ForceReconnect", "gone").extension_result(), static_cast<unsigned>(HMI_E_ENTRY_NOT_FOUND));
    EXPECT_EQ(run("ForceReconnect", "a").extension_result(), 0u);
    const Value lost = run("Diagnostics").read_value();
    EXPECT_STREQ(lost["TARGET_SYSTEMS"]["a"]["connectionState"].get_string(), "Not Connected");
    EXPECT_EQ(lost["TARGET_SYSTEMS"]["a"].size(), 1u) << "no counters and no error";
    logger->plan->answer("ConnectWithSettings", hresult(0x98110745), 1);
    tick();
    const Value failed = run("Diagnostics").read_value();
    EXPECT_STREQ(failed["TARGET_SYSTEMS"]["a"]["connectError"].get_string(), "FDXERR_CLIENT_SYNCTIMEOUT (0x98110745)");

    Value input;
    input.set_type(ValueType::Struct).insert("targetName", "a");
    EXPECT_EQ(run("ClearLoggedEvents", input).extension_result(), 0u);
    EXPECT_EQ(run("ClearLoggedEvents", "a").extension_result(), static_cast<unsigned>(HMI_E_ENTRY_NOT_FOUND));
    logger->plan->answer("ClearLoggedEvents", E_FAIL, 1);
    EXPECT_EQ(run("ClearLoggedEvents", input).extension_result(), static_cast<unsigned>(HMI_E_FAIL));
    const Command unknown = run("diagnostics");
    EXPECT_EQ(unknown.extension_result(), static_cast<unsigned>(HMI_E_INVALID_SYMBOL));
    EXPECT_STREQ(unknown.result_string(),
                 "Unkown command. Command handler missing. Please check the version of the extension.");
}

TEST(Locale, TagsHaveTheirPublishedNumbers) {
    EXPECT_EQ(std::size(ZoHmiEventLogger::locale_table), 829u);
    EXPECT_EQ(std::ranges::count(ZoHmiEventLogger::locale_table, 0x1000, &ZoHmiEventLogger::LocaleRow::id), 418);
    struct Row {
        const char* tag;
        std::int32_t id;
    };
    for (const Row& row : {Row{"de-DE", 0x407}, Row{"zh-CN", 0x804}, Row{"zh-Hans", 0x4}, Row{"nso-ZA", 0x46C},
                           Row{"en-CB", 0x2409}, Row{"ps-AR", 0x463}, Row{"DE-de", 0x9}, Row{"", 0x9},
                           Row{"aa", 0x1000}, Row{" de", 0x9}, Row{"zu-ZA", 0x435}, Row{"tl-PH", 0x9}})
        EXPECT_EQ(ZoHmiEventLogger::locale_to_lcid(row.tag), row.id) << row.tag;
}

} // namespace
