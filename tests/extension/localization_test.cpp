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
    /// Returns the number of reads since the last look.
    std::size_t preload_reads() {
        const std::size_t count = host.plan().count("get_config_value PRELOAD_TRANSLATIONS");
        return count - std::exchange(counted_reads, count);
    }

    static constexpr const char* requests[] = {"GetText", "GetEventClassName", "GetSourceNameText",
                                               "GetCausesAndRemedies", "GetDetails"};
    fakes::LoggerPtr logger;
    Counts counted{};
    std::size_t counted_reads = 0;
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
    const auto expect_failure = [&](ErrorValue code) {
        EXPECT_EQ(localize(event), code);
        EXPECT_EQ(event, before);
        EXPECT_EQ(event.parameters().size(), Alarm(before).parameters().size());
        EXPECT_STREQ(text.name(), "untouched");
    };
    struct Failure {
        const char* call;
        HRESULT code;
    };
    for (const Failure& row :
         {Failure{"GetText", E_FAIL}, Failure{"GetEventClassName", E_FAIL}, Failure{"GetSourceNameText", E_FAIL},
          Failure{"GetCausesAndRemedies", E_FAIL}, Failure{"GetCausesAndRemedies", S_OK}, // without a list
          Failure{"GetDetails", E_FAIL}}) {
        SCOPED_TRACE(row.call);
        logger->plan->answer(row.call, row.code, 1);
        host.clear();
        expect_failure(HMI_E_UNEXPECTED);
        EXPECT_EQ(host.messages("ZORVANE_EVENTLOGGER_ERROR").size(), 1u);
    }
    logger->plan->throw_foreign("GetDetails", 1);
    host.clear();
    expect_failure(HMI_E_UNEXPECTED);
    EXPECT_EQ(host.messages("ZORVANE_EVENTLOGGER_ERROR").size(), 1u);
    logger->plan->answer("IsConnected", E_FAIL, 1); // the query of the connection fails
    expect_failure(HMI_E_UNEXPECTED);
    logger->connected = VARIANT_FALSE;
    expect_failure(HMI_E_CONNECT);
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
    preload_reads();
    logger->plan->answer("GetText", E_FAIL, 1);
    EXPECT_EQ(localize(event), HMI_E_UNEXPECTED);
    EXPECT_EQ(preload_reads(), 0u);
    set_config("PRELOAD_TRANSLATIONS", true);
    for (int i = 0; i < 2; ++i) { // only the text is not cached
        EXPECT_EQ(localize(event), HMI_SUCCESS);
        EXPECT_EQ(preload_reads(), 1u);
    }
    EXPECT_EQ(requested(), (Counts{3, 1, 1, 1, 1}));
    set_config("PRELOAD_TRANSLATIONS", false);
    EXPECT_EQ(localize(event), HMI_SUCCESS);
    set_config("PRELOAD_TRANSLATIONS", true);
    EXPECT_EQ(localize(event), HMI_SUCCESS); // from the cache
    EXPECT_EQ(requested(), (Counts{1, 0, 0, 0, 0}));
    EXPECT_EQ(preload_reads(), 1u);
}

TEST_F(Localization, RequestsNeedTheirKeys) {
    start(0.0); // texts are never cached
    const Alarm whole = event;
    const struct {
        const char* name;
        Value value; ///< Null counts as missing
        Counts requests;
        const char* class_name = "class";
        const char* source_name = "pump localized 171";
    } cases[] = {
        {"eventClass", Value(), {0, 0, 1, 0, 0}, ""},
        {"eventClass", "no class", {0, 0, 1, 0, 0}, ""},
        {"eventClass", "{00000000-0000-0000-0000-000000000000}", {1, 1, 1, 1, 1}},
        {"eventId", Value(), {0, 1, 1, 0, 0}},
        {"eventId", "8", {1, 1, 1, 1, 1}},
        {"numArguments", Value(), {0, 1, 1, 1, 1}},
        {"sourceName", Value(), {1, 1, 0, 1, 1}, "class", ""},
        {"sourceName", 12, {1, 1, 1, 1, 1}, "class", "12 localized 171"},
        {"sourceGuid", Value(), {1, 1, 1, 1, 1}, "class", "pump localized 0"}, // the event class replaces it
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(std::string(row.name) + " " + row.value.get_string());
        event = whole;
        event.parameters().insert_or_update(row.name, row.value);
        requested();
        ASSERT_EQ(localize(event), HMI_SUCCESS);
        EXPECT_EQ(requested(), row.requests);
        EXPECT_STREQ(text.name(), row.requests[0] ? "text 1031" : "");
        EXPECT_STREQ(parameter("eventClassName").get_string(), row.class_name);
        EXPECT_STREQ(parameter("localizedSourceName").get_string(), row.source_name);
        EXPECT_EQ(parameter("causeRemedy").isset(), row.requests[3] != 0);
        logger->connected = VARIANT_FALSE;
        tick(); // empties the other caches
    }
}

TEST_F(Localization, CacheKeysHaveAllArguments) {
    start();
    logger->class_name = [](const GUID& id, std::int32_t language) {
        return std::to_string(id.Data1) + " in " + std::to_string(language);
    };
    const Alarm whole = event;
    ASSERT_EQ(localize(event), HMI_SUCCESS);
    requested();
    const std::tuple<const char*, Value, Counts> cases[] = {
        {"eventClass", "{00000005-0000-0000-0000-000000000000}", {1, 1, 0, 1, 1}},
        {"eventId", 8, {1, 0, 0, 1, 1}},
        {"sourceName", "valve", {0, 0, 1, 0, 0}},
        {"sourceGuid", "{00000006-0000-0000-0000-000000000000}", {0, 0, 1, 0, 0}},
    };
    for (const auto& [name, value, expected] : cases) {
        SCOPED_TRACE(name);
        event = whole;
        event.parameters().insert_or_update(name, value);
        ASSERT_EQ(localize(event), HMI_SUCCESS);
        EXPECT_EQ(requested(), expected);
        EXPECT_EQ(parameter("eventClassName"), Value(expected[1] ? "5 in 1031" : "0 in 1031"));
    }
    event = whole;
    ASSERT_EQ(localize(event, "en-US"), HMI_SUCCESS);
    EXPECT_EQ(requested(), (Counts{1, 1, 1, 1, 1}));
    EXPECT_EQ(parameter("eventClassName"), Value("0 in 1033"));
    Message message;
    message.parameters() = event.parameters();
    ASSERT_EQ(localize(message), HMI_SUCCESS);
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
    logger->connected = VARIANT_FALSE;
    EXPECT_EQ(localize(event), HMI_E_CONNECT) << "only the text is cached";
    logger->connected = VARIANT_TRUE;
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
    event.parameters().remove(event.parameters().find("data"));
    ASSERT_EQ(localize(event, "en-US"), HMI_SUCCESS);
    EXPECT_EQ(logger->record().text_requests.back().arguments.count, 0u);
}

TEST_F(Localization, CachesEightTextsPerEvent) {
    start(1.0);
    const auto requested_texts = [this](double event_id) {
        event.parameters().insert_or_update("eventId", event_id);
        EXPECT_EQ(localize(event), HMI_SUCCESS);
        return requested()[0];
    };
    for (int id = 0; id < 8; ++id)
        EXPECT_EQ(requested_texts(id), 1u);
    for (int id = 0; id < 8; ++id)
        EXPECT_EQ(requested_texts(id), 0u);
    EXPECT_EQ(requested_texts(8), 1u);
    EXPECT_EQ(requested_texts(1), 0u);
    EXPECT_EQ(requested_texts(0), 1u);
    EXPECT_EQ(requested_texts(1), 1u) << "the oldest text is evicted, however often it was read";
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
    class Odd final : public EventPayload {
    public:
        void set_name(const char*) override {}
        const char* name() const noexcept override { return nullptr; }
        const char* domain() const noexcept override { return nullptr; }
        Value& parameters() override { return parameters_; }
        ValueType type() const noexcept override { return kind; }

        ValueType kind = ValueType::Event;

    private:
        Value parameters_;
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
    set_entry("off", target_entry("5.1.1.1.1.1", false));
    fakes::FakeProxyLibrary::instance().expect_logger("off");
    ASSERT_EQ(change("off"), HMI_SUCCESS);
    event.parameters().insert_or_update("targetName", "off");
    EXPECT_EQ(localize(event), HMI_E_CONNECT);
}

} // namespace
