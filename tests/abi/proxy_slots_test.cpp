#include "binding/atl_com.h"
#include "binding/event_logger_proxy.h"
#include "tests/fakes/call_log.h"
#include "tests/fakes/fake_proxy.h"
#include "tests/fakes/vtable.h"

#include <gtest/gtest.h>
#include <set>
#include <string>
#include <type_traits>

// Every operation of the proxy's interfaces is called by its index, as a proxy that was built elsewhere would have it.

using namespace ZoAtlCom;
using namespace ZoEventLoggerFdxProxyLib;
using fakes::call_slot;

namespace {

template <class... Interfaces>
constexpr bool none_has_virtual_destructor = (... && !std::has_virtual_destructor_v<Interfaces>);
static_assert(none_has_virtual_destructor<
              IUnknown, IDispatch, IZoEventLogger, IZoEventLogger4, IZoEventLogger5, IZoEventLoggerTimeout,
              IZoEventLoggerClassName, IZoEventLoggerSourceName, IZoConnectionSettings, IZoLoggedEvent, IZoLoggedEvent2,
              IZoLoggedEventJson, IZoAlarm, IZoAlarmJson, IZoMessage, IZoMessageJson, IZoEventIdentity,
              IZoLoggedEventCollection, IZoAlarmCollection, IZoCauseRemedyCollection, IZoDetailCollection,
              IZoCauseRemedy, IZoDetail, IConnectionPoint, IConnectionPointContainer, _IZoEventLoggerEvents>);
static_assert(sizeof(IZoEventLogger) == sizeof(void*) && sizeof(IZoAlarm) == sizeof(void*));

constexpr GUID some_guid{0x11111111, 0x2222, 0x3333, {4, 5, 6, 7, 8, 9, 10, 11}};

class ProxySlots : public testing::Test {
protected:
    ProxySlots() { logger->plan->log_reads(true); }
    ~ProxySlots() override {
        logger = nullptr;
        EXPECT_EQ(fakes::FakeProxyLibrary::instance().reset(), 0);
    }

    // Calls the slot and expects the fake to have seen exactly this operation, and its success.
    template <class... Arguments>
    void expect(void* object, std::size_t slot, const char* operation, Arguments... arguments) {
        fakes::call_log().clear();
        EXPECT_EQ(call_slot<HRESULT>(object, slot, arguments...), S_OK) << operation;
        EXPECT_EQ(fakes::call_log().texts(), std::vector<std::string>{operation}) << "slot " << slot;
    }

    // The same for an operation that hands out one value.
    template <class T>
    void expect_value(void* object, std::size_t slot, const char* operation, T value) {
        T out{};
        expect(object, slot, operation, &out);
        EXPECT_EQ(out, value) << operation;
    }

    void expect_text(void* object, std::size_t slot, const char* operation, const char* text) {
        CountedString out;
        expect(object, slot, operation, out.put());
        EXPECT_EQ(out.view(), text) << operation;
    }

    // Slots 7 to 16, which all events share.
    void expect_event(void* object, const std::string& kind) {
        const auto name = [&](const char* operation) { return kind + "." + operation; };
        expect_value(object, 7, name("GetEventClass").c_str(), some_guid);
        expect_value(object, 8, name("GetEventId").c_str(), std::uint32_t{0xFFFFFFF0});
        expect_value(object, 9, name("GetSeverity").c_str(), std::uint32_t{3});
        expect_value(object, 10, name("GetEventType").c_str(), std::int32_t{1});
        VARIANT_BOOL flag = 0;
        expect(object, 11, name("HasSourceField").c_str(), std::uint32_t{4}, &flag);
        EXPECT_EQ(flag, VARIANT_TRUE);
        expect_value(object, 12, name("GetSourceId").c_str(), std::uint32_t{21});
        expect_value(object, 13, name("GetSourceGuid").c_str(), GUID{7, 0, 0, {}});
        expect_text(object, 14, name("GetSourceName").c_str(), "pump");
        expect_value(object, 16, name("GetTimeRaised").c_str(), fakes::file_time(100));
    }

    void expect_arguments(void* object, std::size_t slot, const std::string& kind) {
        ArgumentDescriptor descriptor{};
        expect(object, slot, (kind + ".GetArguments").c_str(), &descriptor);
        EXPECT_EQ(descriptor.count, 1u);
        EXPECT_EQ(descriptor.types_offset, 2u);
        EXPECT_EQ(descriptor.types_size, 3u);
        EXPECT_EQ(descriptor.data_offset, 4u);
        EXPECT_EQ(descriptor.data_size, 5u);
        std::uint8_t bytes[2] = {};
        std::uint8_t* block = bytes;
        expect(object, slot + 1, (kind + ".GetArgumentData").c_str(), &block, std::uint32_t{2});
        EXPECT_EQ(bytes[0], 8);
        EXPECT_EQ(bytes[1], 9);
    }

    static fakes::EventFields fields() {
        return {.event_class = some_guid,
                .event_id = 0xFFFFFFF0,
                .severity = 3,
                .raised = fakes::file_time(100),
                .cleared = fakes::file_time(200),
                .confirmed = fakes::file_time(300),
                .with_confirmation = -1,
                .confirmation_state = 4,
                .is_active = -1,
                .is_raised = 1,
                .source_id = 21,
                .source_guid = GUID{7, 0, 0, {}},
                .source_name = "pump",
                .arguments = {1, 2, 3, 4, 5},
                .block = {8, 9, 10},
                .unique_id = 0x80000001,
                .json = "{}"};
    }

    fakes::LoggerPtr logger{new fakes::FakeLogger()};
};

} // namespace

TEST_F(ProxySlots, Logger) {
    const CComQIPtr<IZoEventLogger> queried(static_cast<IZoEventLogger*>(logger.get()));
    void* const object = queried.get();
    void* out = nullptr;
    EXPECT_EQ(call_slot<HRESULT>(object, 0, &IID_IZoEventLogger, &out), S_OK);
    EXPECT_EQ(out, object);
    EXPECT_EQ(call_slot<std::uint32_t>(object, 1), 4u);
    EXPECT_EQ(call_slot<std::uint32_t>(object, 2), 3u);
    EXPECT_EQ(call_slot<std::uint32_t>(object, 2), 2u);

    logger->active.push_back(logger->make_alarm());
    logger->history.push_back(logger->make_logged_event());
    logger->text = [](const fakes::TextRequest& request) { return "text " + std::to_string(request.language); };

    expect(object, 7, "Connect", "1.2.3.4.5.6");
    expect_value(object, 9, "IsConnected", VARIANT_TRUE);
    expect(object, 8, "Disconnect");
    CComPtr<IZoAlarmCollection> alarms;
    expect(object, 10, "GetActiveAlarms", alarms.put());
    CComPtr<IZoLoggedEventCollection> events;
    expect(object, 13, "GetLoggedEvents", std::uint32_t{0xFFFFFFFF}, events.put());
    const ArgumentDescriptor descriptor{1, 0, 1, 1, 2};
    const std::uint8_t block[] = {1, 2, 3};
    CountedString text;
    expect(object, 15, "GetText", &some_guid, std::uint32_t{5}, std::int32_t{1031}, &descriptor, block, text.put());
    EXPECT_EQ(text.view(), "text 1031");
    const fakes::TextRequest request = logger->record().text_requests.at(0);
    EXPECT_EQ(request.event_id, 5u);
    EXPECT_EQ(request.block.size(), 3u);
    expect(object, 14, "ClearLoggedEvents");
    CComPtr<IZoConnectionSettings> settings;
    ASSERT_EQ(CreateInstance(CLSID_ZoConnectionSettings, IID_IZoConnectionSettings, settings.put_void()), S_OK);
    expect(settings.get(), 8, "SetPreloadTranslations", VARIANT_TRUE);
    expect(object, 30, "ConnectWithSettings", settings.get(), "6.5.4.3.2.1");
    EXPECT_EQ(logger->record().addresses, (std::vector<std::string>{"1.2.3.4.5.6", "6.5.4.3.2.1"}));
    EXPECT_EQ(logger->record().preloads, std::vector{VARIANT_TRUE});
    EXPECT_EQ(logger->record().history_counts, std::vector{0xFFFFFFFFu});

    void* const alarm_list = alarms.get();
    void* const event_list = events.get();
    expect_value(alarm_list, 9, "Alarms.GetCount", std::int32_t{1});
    expect_value(event_list, 9, "LoggedEvents.GetCount", std::int32_t{1});
    CComPtr<IZoAlarm> alarm;
    expect(alarm_list, 8, "Alarms.GetItem", std::int32_t{0}, alarm.put());
    EXPECT_EQ(alarm.get(), logger->active[0].get());
    CComPtr<IZoLoggedEvent> event;
    expect(event_list, 8, "LoggedEvents.GetItem", std::int32_t{0}, event.put());
    EXPECT_TRUE(event);
}

TEST_F(ProxySlots, LoggerServices) {
    logger->has_logger4 = logger->has_logger5 = logger->has_class_name = logger->has_source_name = true;
    logger->class_name = [](const GUID&, std::int32_t language) { return "class " + std::to_string(language); };
    logger->source_name = [](std::int32_t, const GUID&, const std::string& name) { return name + "!"; };
    logger->causes_and_remedies = {{"id", "cause", "remedy"}};
    logger->details = {{"id", "text", "comment"}};
    IUnknown* const source = static_cast<IZoEventLogger*>(logger.get());

    const CComQIPtr<IZoEventLoggerTimeout> timeout(source);
    expect(timeout.get(), 4, "SetTimeout", std::uint32_t{1234});
    EXPECT_EQ(logger->record().timeouts, std::vector{1234u});

    const CComQIPtr<IConnectionPointContainer> container(source);
    CComPtr<IConnectionPoint> point;
    expect(container.get(), 4, "FindConnectionPoint", &IID__IZoEventLoggerEvents, point.put());
    logger->plan->answer("Advise", S_OK, 1);
    std::uint32_t cookie = 1;
    expect(point.get(), 5, "Advise", static_cast<IUnknown*>(nullptr), &cookie);
    EXPECT_EQ(cookie, 0u);
    logger->plan->answer("Unadvise", S_OK, 1);
    expect(point.get(), 6, "Unadvise", std::uint32_t{41});
    EXPECT_EQ(logger->record().unadvised, std::vector{41u});

    CountedString text;
    const CComQIPtr<IZoEventLoggerClassName> class_name(source);
    expect(class_name.get(), 7, "GetEventClassName", &some_guid, std::int32_t{9}, text.put());
    EXPECT_EQ(text.view(), "class 9");
    const CComQIPtr<IZoEventLoggerSourceName> source_name(source);
    expect(source_name.get(), 7, "GetSourceNameText", std::int32_t{9}, &some_guid, "pump", text.put());
    EXPECT_EQ(text.view(), "pump!");

    const CComQIPtr<IZoEventLogger4> logger4(source);
    const CComQIPtr<IZoEventLogger5> logger5(source);
    CComPtr<IZoCauseRemedyCollection> causes;
    expect(logger4.get(), 31, "GetCausesAndRemedies", &some_guid, std::uint32_t{1}, std::int32_t{9}, causes.put());
    CComPtr<IZoDetailCollection> details;
    expect(logger5.get(), 32, "GetDetails", &some_guid, std::uint32_t{1}, std::int32_t{9}, details.put());
    CComPtr<IZoCauseRemedy> cause;
    expect(causes.get(), 8, "CauseRemedies.GetItem", std::int32_t{0}, cause.put());
    expect_value(causes.get(), 9, "CauseRemedies.GetCount", std::int32_t{1});
    CComPtr<IZoDetail> detail;
    expect(details.get(), 8, "Details.GetItem", std::int32_t{0}, detail.put());
    expect_value(details.get(), 9, "Details.GetCount", std::int32_t{1});
    const char* expected[][3] = {{"id", "cause", "remedy"}, {"id", "text", "comment"}};
    void* items[] = {cause.get(), detail.get()};
    for (std::size_t i = 0; i < 2; ++i)
        for (std::size_t field = 0; field < 3; ++field) {
            EXPECT_EQ(call_slot<HRESULT>(items[i], 7 + field, text.put()), S_OK);
            EXPECT_EQ(text.view(), expected[i][field]);
        }
}

TEST_F(ProxySlots, LoggedEvent) {
    const fakes::LoggedEventPtr event = logger->make_logged_event(fields());
    const CComQIPtr<IZoLoggedEvent2> extended(static_cast<IZoLoggedEvent*>(event.get()));
    const CComQIPtr<IZoLoggedEventJson> json(static_cast<IZoLoggedEvent*>(event.get()));
    void* const object = static_cast<IZoLoggedEvent*>(event.get());
    expect_event(object, "LoggedEvent");
    expect_value(object, 18, "LoggedEvent.GetTimeCleared", fakes::file_time(200));
    expect_value(object, 19, "LoggedEvent.GetWithConfirmation", VARIANT_BOOL{-1});
    expect_value(object, 21, "LoggedEvent.GetTimeConfirmed", fakes::file_time(300));
    expect_text(json.get(), 24, "LoggedEvent.GetJsonAttribute", "{}");
    expect_value(extended.get(), 25, "LoggedEvent.GetIsActive", VARIANT_BOOL{-1});
    expect_arguments(extended.get(), 26, "LoggedEvent");
}

TEST_F(ProxySlots, Alarm) {
    const fakes::AlarmPtr alarm = logger->make_alarm(fields());
    const CComQIPtr<IZoAlarmJson> json(static_cast<IZoAlarm*>(alarm.get()));
    void* const object = static_cast<IZoAlarm*>(alarm.get());
    expect_event(object, "Alarm");
    expect_arguments(object, 19, "Alarm");
    expect_value(object, 21, "Alarm.GetIsRaised", VARIANT_BOOL{1});
    expect_value(object, 23, "Alarm.GetTimeCleared", fakes::file_time(200));
    expect_value(object, 24, "Alarm.GetConfirmationState", std::int32_t{4});
    expect(object, 25, "Alarm.Confirm");
    expect_value(object, 27, "Alarm.GetTimeConfirmed", fakes::file_time(300));
    expect_text(json.get(), 28, "Alarm.GetJsonAttribute", "{}");

    const CComQIPtr<IZoEventIdentity> identity(static_cast<IZoAlarm*>(alarm.get()));
    expect_value(identity.get(), 3, "Alarm.GetUniqueId", std::uint32_t{0x80000001});
}

TEST_F(ProxySlots, Message) {
    const fakes::MessagePtr message = logger->make_message(fields());
    const CComQIPtr<IZoMessageJson> json(static_cast<IZoMessage*>(message.get()));
    void* const object = static_cast<IZoMessage*>(message.get());
    expect_event(object, "Message");
    expect_arguments(object, 19, "Message");
    expect_text(json.get(), 21, "Message.GetJsonAttribute", "{}");
}

namespace {

// Notes which operation of the sink a slot reaches.
class RecordingSink : public IDispEventSimpleImpl<0, RecordingSink, &IID__IZoEventLoggerEvents> {
public:
    HRESULT QueryInterface(const GUID&, void**) override { return note("QueryInterface"); }
    std::uint32_t AddRef() override { return note("AddRef"), 1; }
    std::uint32_t Release() override { return note("Release"), 1; }
    HRESULT GetTypeInfoCount(std::uint32_t*) override { return note("GetTypeInfoCount"); }
    HRESULT GetTypeInfo(std::uint32_t, std::uint32_t, ITypeInfo**) override { return note("GetTypeInfo"); }
    HRESULT GetIDsOfNames(const GUID&, char**, std::uint32_t, std::uint32_t, std::int32_t*) override {
        return note("GetIDsOfNames");
    }
    HRESULT Invoke(std::int32_t, const GUID&, std::uint32_t, std::uint16_t, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                   std::uint32_t*) override {
        return note("Invoke");
    }
    HRESULT GetFuncInfoFromId(const GUID&, std::int32_t, std::uint32_t, FunctionInfo&) override {
        return note("GetFuncInfoFromId");
    }
    virtual ~RecordingSink() { note("destructor"); }

    HRESULT OnMessageSent(IZoMessage*) { return S_OK; }
    HRESULT OnAlarmRaised(IZoAlarm*) { return S_OK; }
    HRESULT OnAlarmCleared(IZoAlarm*, VARIANT_BOOL) { return S_OK; }
    HRESULT OnAlarmConfirmed(IZoAlarm*, VARIANT_BOOL) { return S_OK; }
    HRESULT OnDatabaseChanged(tagDatabaseChangeReasonEnum) { return S_OK; }

private:
    static HRESULT note(const char* operation) {
        fakes::call_log().add(operation);
        return S_OK;
    }
};

} // namespace

TEST_F(ProxySlots, Sink) {
    auto* sink = new RecordingSink();
    void* const object = static_cast<IDispatch*>(sink);
    const char* operations[] = {"QueryInterface", "AddRef",        "Release", "GetTypeInfoCount",
                                "GetTypeInfo",    "GetIDsOfNames", "Invoke",  "GetFuncInfoFromId"};
    for (std::size_t slot = 0; slot < std::size(operations); ++slot) {
        fakes::call_log().clear();
        call_slot<HRESULT>(object, slot, &some_guid, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
        EXPECT_EQ(fakes::call_log().texts(), std::vector<std::string>{operations[slot]});
    }
    // The deleting destructor; a leak if it were not.
    fakes::call_log().clear();
    call_slot<void>(object, 9);
    EXPECT_EQ(fakes::call_log().texts(), std::vector<std::string>{"destructor"});
}

TEST(ProxyIdentifiers, AreTheTold) {
    struct Row {
        const GUID* guid;
        const char* text;
    };
    const Row rows[] = {
        {&CLSID_ZoEventLogger, "472e20d6-e3f7-1e55-df0b-95726371b24d"},
        {iid_of<IZoEventLogger>, "9fe4e6f4-3478-cd14-2a78-8d1d6c69d3e5"},
        {iid_of<IZoEventLoggerTimeout>, "aaca6dda-84e6-450f-9061-aeeec3b45d76"},
        {&CLSID_ZoConnectionSettings, "396e52e4-be58-4900-81b0-b8fb551d191a"},
        {iid_of<IZoConnectionSettings>, "6b15349e-af08-4a56-be9e-2da598a32ed4"},
        {iid_of<IZoEventIdentity>, "5ae4eed8-1c2d-2231-5bfa-ef1a851dc910"},
        {iid_of<IZoLoggedEvent2>, "10444087-7f0a-cc7a-8584-d400e1500f09"},
        {iid_of<IZoLoggedEventJson>, "a60931bc-ff64-c536-1589-36445cb95bb1"},
        {iid_of<IZoAlarm>, "4f3e3ece-2f11-6dc4-056e-1df5c2c84450"},
        {iid_of<IZoAlarmJson>, "8ca549d2-5acc-d78a-9d32-c65cf149c31a"},
        {iid_of<IZoMessage>, "fd9aacf8-463e-16dc-75eb-8b0255bf5264"},
        {iid_of<IZoMessageJson>, "855560c0-b58e-49d8-2d5d-245a28f412ff"},
        {iid_of<IZoCauseRemedyCollection>, "e4814f90-35b2-e0c2-cdc8-4facf0b93482"},
        {iid_of<IZoDetailCollection>, "5542c560-61df-369d-6a6a-6e70ef14e4db"},
        {iid_of<_IZoEventLoggerEvents>, "e44f5af2-10aa-222f-52fe-638835541788"},
        {iid_of<IConnectionPointContainer>, "b196b284-bab4-101a-b69c-00aa00341d07"},
        {iid_of<IConnectionPoint>, "b196b286-bab4-101a-b69c-00aa00341d07"},
        {iid_of<IUnknown>, "00000000-0000-0000-c000-000000000046"},
        {iid_of<IDispatch>, "00020400-0000-0000-c000-000000000046"},
        {iid_of<ICreateErrorInfo>, "22f03340-547d-101b-8e65-08002b2bd119"},
        {iid_of<IErrorInfo>, "1cf2b120-547d-101b-8e65-08002b2bd119"},
    };
    std::set<GUID> all = {IID_IZoEventLogger4, IID_IZoEventLogger5, IID_IZoEventLoggerClassName,
                          IID_IZoEventLoggerSourceName};
    for (const Row& row : rows) {
        EXPECT_EQ(ZoHmiSrv::Algorithm::guid_from_string(row.text, false), *row.guid) << row.text;
        all.insert(*row.guid);
    }
    EXPECT_EQ(all.size(), std::size(rows) + 4);
    // The three groups in front are numbers: what crosses is their native byte order.
    EXPECT_EQ(*reinterpret_cast<const std::uint8_t*>(&CLSID_ZoEventLogger), 0xD6);
}
