// Events in the language of their reader.
#include "tests/extension/extension_fixture.h"

#include "extension/host/event_payload.h"
#include "tests/server_api/values.h"

using namespace ZoHmiSrv;
using values::show;

namespace {

using Counts = std::array<std::size_t, 5>;

class Localization : public ExtensionTest {
protected:
    Localization() {
        logger = add_target("a");
        logger->has_class_name = logger->has_source_name = logger->has_logger4 = logger->has_logger5 = true;
        logger->text = [](const fakes::TextRequest& request) { return "text " + std::to_string(request.language); };
        logger->class_name = [](const GUID&, std::int32_t) { return std::string("class"); };
        logger->source_name = [](std::int32_t, const GUID& source, const std::string& name) {
            return name + " localized " + std::to_string(source.Data1);
        };
        logger->causes_and_remedies = {{"1", "cause", "remedy"}, {"1", "another", "one"}};
        logger->details = {{"d", "first", "one"}, {"d", "last", "two"}};
        logger->active = {logger->make_alarm({.event_id = 7,
                                              .raised = fakes::file_time(5),
                                              .source_guid = GUID{0xAB, 0, 0, {}},
                                              .source_name = "pump"})};
    }
    void start(double event_limit = 100.0) {
        set_config("LIMIT_EVENT_COUNT", event_limit);
        start_without_ticks();
        event = listed()[0].get_event().payload().get_alarm();
    }
    ErrorValue localize(EventPayload& payload, const char* locale = "de-DE") {
        return extension->on_localize_event(Context(), locale, payload, text);
    }
    /// Returns the number of calls of each of the five requests since the last look.
    Counts requested() {
        Counts counts;
        for (std::size_t i = 0; i < counts.size(); ++i) {
            const std::size_t count = logger->plan->count(requests[i]);
            counts[i] = count - std::exchange(counted[i], count);
        }
        return counts;
    }
    Value& parameter(const char* name) { return event.parameters()[name]; }

    static constexpr const char* requests[] = {"GetText", "GetEventClassName", "GetSourceNameText",
                                               "GetCausesAndRemedies", "GetDetails"};
    fakes::LoggerPtr logger;
    Counts counted{};
    Alarm event;
    String text{"untouched"};
};

TEST_F(Localization, WritesAnswersIntoEvent) {
    start();
    ASSERT_EQ(localize(event), HMI_SUCCESS);
    EXPECT_STREQ(text.name(), "text 1031");
    EXPECT_EQ(parameter("eventClassName"), Value("class"));
    EXPECT_EQ(parameter("localizedSourceName"), Value("pump localized 171"));
    // An id can stand twice in the list, but not in the Struct.
    EXPECT_EQ(show(parameter("causeRemedy")), "[struct {cause: 'cause', id: '1', remedy: 'remedy'}, "
                                              "struct {cause: 'another', id: '1', remedy: 'one'}]");
    const std::string details = "struct {d: struct {comment: 'two', text: 'last'}}";
    EXPECT_EQ(show(parameter("details")), details);
    // Another language is another request. Parameters of the first answer stay when the second has none.
    logger->details.clear();
    logger->text = [](const fakes::TextRequest&) { return std::string(); };
    ASSERT_EQ(localize(event, nullptr), HMI_SUCCESS);
    EXPECT_STREQ(text.name(), "");
    EXPECT_EQ(logger->record().text_requests.back().language, 9);
    EXPECT_EQ(show(parameter("details")), details);
}

TEST_F(Localization, FailureLeavesEventUnchanged) {
    start();
    event.parameters().insert_or_update("numArguments", 1.0);
    event.parameters().insert_or_update("types", "AQ==");
    event.parameters().insert_or_update("data", "AAAAAA==");
    const Alarm before = event;
    const auto expect_failure = [&](ErrorValue code, std::size_t reports) {
        host.clear();
        EXPECT_EQ(localize(event), code);
        EXPECT_EQ(host.messages("ZORVANE_EVENTLOGGER_ERROR").size(), reports);
        EXPECT_EQ(event, before);
        EXPECT_STREQ(text.name(), "untouched");
    };
    for (const auto& [call, code] : {std::pair{"GetText", E_FAIL},
                                     {"GetEventClassName", E_FAIL},
                                     {"GetSourceNameText", E_FAIL},
                                     {"GetCausesAndRemedies", E_FAIL},
                                     {"GetCausesAndRemedies", S_OK}, // without a list
                                     {"GetDetails", E_FAIL}}) {
        SCOPED_TRACE(call);
        logger->plan->answer(call, code, 1);
        expect_failure(HMI_E_UNEXPECTED, 1);
    }
    logger->plan->throw_foreign("GetDetails", 1);
    expect_failure(HMI_E_UNEXPECTED, 1);
    logger->plan->answer("IsConnected", E_FAIL, 1); // the query of the connection fails
    expect_failure(HMI_E_UNEXPECTED, 1);
    logger->connected = VARIANT_FALSE;
    expect_failure(HMI_E_CONNECT, 0);
    logger->connected = VARIANT_TRUE;
    EXPECT_EQ(localize(event), HMI_SUCCESS);
    EXPECT_EQ(parameter("types").type(), ValueType::Binary);
    EXPECT_EQ(parameter("data").type(), ValueType::Binary);
}

TEST_F(Localization, HitNeedsNoConnection) {
    start();
    ASSERT_EQ(localize(event), HMI_SUCCESS);
    EXPECT_EQ(requested(), (Counts{1, 1, 1, 1, 1}));
    tick(); // remembers the state as connected
    logger->connected = VARIANT_FALSE;
    take_calls();
    fakes::call_log().clear();
    EXPECT_EQ(localize(event), HMI_SUCCESS);
    EXPECT_TRUE(fakes::call_log().texts().empty()) << "not even a query of the connection";
    logger->plan->answer("ConnectWithSettings", E_FAIL, 1);
    tick(); // finds the loss and clears
    EXPECT_EQ(localize(event), HMI_E_CONNECT);
    tick();
    EXPECT_EQ(requested(), Counts{});
    EXPECT_EQ(localize(event), HMI_SUCCESS);
    EXPECT_EQ(requested(), (Counts{0, 1, 1, 1, 1}));
}

TEST_F(Localization, PreloadIsReadForEachFetchedText) {
    start();
    logger->plan->answer("GetText", E_FAIL, 1);
    EXPECT_EQ(localize(event), HMI_E_UNEXPECTED); // reads nothing
    const auto reads = host.plan().count("get_config_value PRELOAD_TRANSLATIONS");
    EXPECT_EQ(reads, 1u); // of the connect
    // Texts fetched with preloading are not cached; the fourth answer comes from the cache.
    for (const bool preload : {true, true, false, true}) {
        set_config("PRELOAD_TRANSLATIONS", preload);
        EXPECT_EQ(localize(event), HMI_SUCCESS);
    }
    EXPECT_EQ(requested(), (Counts{4, 1, 1, 1, 1}));
    EXPECT_EQ(host.plan().count("get_config_value PRELOAD_TRANSLATIONS") - reads, 3u);
}

TEST_F(Localization, RequestsAreCachedByTheirKeys) {
    start();
    const Alarm whole = event;
    ASSERT_EQ(localize(event, "en-US"), HMI_SUCCESS);
    const struct {
        const char* locale; ///< another one for each row, so that its answers are not cached yet
        const char* name;
        Value value; ///< Null counts as missing
        Counts requests;
        Counts behind_whole; ///< in the language in which the caches have the answers for the whole event
        const char* class_name = "class";
        const char* source_name = "pump localized 171";
    } cases[] = {
        {"de-DE", "eventClass", Value(), {0, 0, 1, 0, 0}, {}, ""},
        {"fr-FR", "eventClass", "no class", {0, 0, 1, 0, 0}, {}, ""},
        {"it-IT", "eventClass", "{00000005-0000-0000-0000-000000000000}", {1, 1, 1, 1, 1}, {1, 1, 0, 1, 1}},
        {"es-ES", "eventId", Value(), {0, 1, 1, 0, 0}, {}},
        {"pl-PL", "eventId", "8", {1, 1, 1, 1, 1}, {1, 0, 0, 1, 1}},
        {"nl-NL", "numArguments", Value(), {0, 1, 1, 1, 1}, {}},
        {"sv-SE", "sourceName", Value(), {1, 1, 0, 1, 1}, {}, "class", ""},
        {"fi-FI", "sourceName", 12, {1, 1, 1, 1, 1}, {0, 0, 1, 0, 0}, "class", "12 localized 171"},
        // The event class replaces it.
        {"cs-CZ", "sourceGuid", Value(), {1, 1, 1, 1, 1}, {0, 0, 1, 0, 0}, "class", "pump localized 0"},
    };
    for (const auto& row : cases) {
        for (const char* locale : {row.locale, "en-US"}) {
            SCOPED_TRACE(std::string(locale) + " " + row.name + " " + row.value.get_string());
            event = whole;
            event.parameters().insert_or_update(row.name, row.value);
            requested();
            ASSERT_EQ(localize(event, locale), HMI_SUCCESS);
            EXPECT_EQ(requested(), locale == row.locale ? row.requests : row.behind_whole);
            EXPECT_EQ(text.empty(), row.requests[0] == 0);
            EXPECT_STREQ(parameter("eventClassName").get_string(), row.class_name);
            EXPECT_STREQ(parameter("localizedSourceName").get_string(), row.source_name);
            EXPECT_EQ(parameter("causeRemedy").isset(), row.requests[3] != 0);
        }
    }
    event = whole;
    Message message;
    message.parameters() = event.parameters();
    ASSERT_EQ(localize(message, "en-US"), HMI_SUCCESS);
    EXPECT_EQ(requested(), (Counts{1, 0, 0, 0, 0})) << "messages and alarms have different texts";
}

TEST_F(Localization, MissingInterfaceGivesNoAnswer) {
    start();
    const Alarm whole = event;
    const auto all = {&logger->has_class_name, &logger->has_source_name, &logger->has_logger4, &logger->has_logger5};
    for (auto* interface : all)
        *interface = false;
    ASSERT_EQ(localize(event), HMI_SUCCESS);
    EXPECT_EQ(parameter("eventClassName"), Value(""));
    for (const char* name : {"localizedSourceName", "causeRemedy", "details"})
        EXPECT_FALSE(std::as_const(event.parameters())[name].isset()) << name;
    logger->has_logger4 = true; // both lists need version 5
    ASSERT_EQ(localize(event), HMI_SUCCESS);
    for (auto* interface : all)
        *interface = true;
    logger->source_name = {}; // an empty answer counts
    logger->causes_and_remedies.clear();
    ASSERT_EQ(localize(event), HMI_SUCCESS);
    EXPECT_EQ(requested(), (Counts{1, 1, 1, 1, 1}));
    EXPECT_EQ(parameter("localizedSourceName"), Value(""));
    EXPECT_FALSE(std::as_const(event.parameters())["causeRemedy"].isset());
    EXPECT_TRUE(parameter("details").isset());
    ASSERT_EQ(localize(event), HMI_SUCCESS);
    EXPECT_EQ(requested(), Counts{}) << "empty answers are cached too";
}

TEST_F(Localization, ArgumentsArePassedAsTwoRanges) {
    start();
    Value bytes; // 03 04 05
    bytes.set("AwQF");
    bytes.convert(ValueType::Binary);
    const struct {
        Value count, types, data;
        std::array<std::uint32_t, 5> descriptor; // count, offset and size of the types, of the data
        std::vector<std::uint8_t> block;
        std::size_t requests = 1;
    } cases[] = {
        {2.9, "AQI=", "AwQF", {2, 0, 2, 2, 3}, {1, 2, 3, 4, 5}},
        {2, "AQI=", bytes, {2, 0, 2, 2, 3}, {}, 0}, // the same text again
        {2, "AgE=", bytes, {2, 0, 2, 2, 3}, {}, 0}, // the types are not part of the key
        {-1.0, "AQI=", "", {0xFFFFFFFF, 0, 2, 2, 0}, {1, 2}},
        {2.0, "AQI=", Value(), {}, {}, 0}, // no arguments, and so the cached text without data
        {0.5, "AQI=", "Bg==", {}, {}, 0},
        {1.0, "AQ==", "Bg==", {1, 0, 1, 1, 1}, {1, 6}},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(&row - cases);
        event.parameters().insert_or_update("numArguments", row.count);
        event.parameters().insert_or_update("types", row.types);
        event.parameters().insert_or_update("data", row.data);
        ASSERT_EQ(localize(event), HMI_SUCCESS);
        EXPECT_EQ(requested()[0], row.requests);
        if (row.requests == 0) continue;
        const auto request = logger->record().text_requests.back();
        const auto& arguments = request.arguments;
        EXPECT_EQ((std::array{arguments.count, arguments.types_offset, arguments.types_size, arguments.data_offset,
                              arguments.data_size}),
                  row.descriptor);
        EXPECT_EQ(request.block, row.block);
    }
}

TEST_F(Localization, CachesEightTextsPerEvent) {
    start(1.0);
    const auto requested_texts = [this](double event_id) {
        event.parameters().insert_or_update("eventId", event_id);
        EXPECT_EQ(localize(event), HMI_SUCCESS);
        return requested()[0];
    };
    for (const int id : {0, 1, 2, 3, 4, 5, 6, 7, 8, 0})
        EXPECT_EQ(requested_texts(id), 1u) << id;
    EXPECT_EQ(requested_texts(2), 0u);
}

TEST_F(Localization, SlowAnswerBlocksNoOtherThread) {
    start();
    const auto block = logger->plan->block("GetText", 1);
    Alarm copy = event;
    String other_text;
    std::thread slow(
        [&] { EXPECT_EQ(extension->on_localize_event(Context(), "de-DE", copy, other_text), HMI_SUCCESS); });
    ASSERT_TRUE(block->wait_for_arrivals());
    EXPECT_EQ(localize(event), HMI_SUCCESS); // requests the same once more
    tick();
    block->open();
    slow.join();
    EXPECT_EQ(requested(), (Counts{2, 1, 1, 1, 1}));
    EXPECT_STREQ(other_text.name(), text.name());
}

TEST_F(Localization, AnswerOfLostConnectionIsNotCached) {
    start();
    logger->class_name = [&, lost = false](const GUID&, std::int32_t) mutable {
        if (std::exchange(lost, true)) return "new";
        logger->connected = VARIANT_FALSE;
        tick(); // lost and connected again before the answer arrives
        return "old";
    };
    ASSERT_EQ(localize(event), HMI_SUCCESS);
    ASSERT_EQ(localize(event), HMI_SUCCESS);
    EXPECT_EQ(parameter("eventClassName"), Value("new"));
}

TEST_F(Localization, EventWithoutTargetUsesItsName) {
    struct Odd final : EventPayload {
        void set_name(const char*) override {}
        const char* name() const noexcept override { return nullptr; }
        const char* domain() const noexcept override { return nullptr; }
        Value& parameters() override { return own_parameters; }
        ValueType type() const noexcept override { return kind; }

        ValueType kind = ValueType::Event;
        Value own_parameters;
    } odd;
    start();
    EXPECT_EQ(localize(odd), HMI_E_INVALID_TYPE);
    odd.kind = ValueType::Message;
    EXPECT_EQ(localize(odd), HMI_SUCCESS);
    EXPECT_STREQ(text.name(), "");
    Message message;
    message.set_name("own name");
    EXPECT_EQ(localize(message), HMI_SUCCESS);
    EXPECT_STREQ(text.name(), "own name");
    EXPECT_STREQ(message.parameters()["eventClassName"].get_string(), "own name");
    EXPECT_EQ(message.parameters().size(), 1u);
    event.parameters().insert_or_update("targetName", "gone");
    EXPECT_EQ(localize(event, "xx"), HMI_SUCCESS);
    EXPECT_STREQ(text.name(), "TARGET_NOT_FOUND");
    EXPECT_STREQ(parameter("eventClassName").get_string(), "TARGET_NOT_FOUND");
    EXPECT_EQ(requested(), Counts{});
}

} // namespace
