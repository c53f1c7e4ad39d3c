#include "tests/link/proxy_fixture.h"

#include "platform/link/frame.h"

#include <filesystem>
#include <future>
#include <thread>

using namespace zo_test;
namespace code = zo_link::code;
using nlohmann::json;

namespace {

class RequestTest : public ProxyTest {};

constexpr GUID some_class{0x01234567, 0x89ab, 0xcdef, {1, 2, 3, 4, 5, 6, 7, 8}};
constexpr char some_class_text[] = "01234567-89AB-CDEF-0102-030405060708";

} // namespace

TEST_F(RequestTest, HelloCarriesTheWayAndThePreloadFlag) {
    CComPtr<IZoConnectionSettings> settings;
    ASSERT_EQ(CreateInstance(CLSID_ZoConnectionSettings, IID_IZoConnectionSettings, settings.put_void()), S_OK);
    for (const VARIANT_BOOL preload : {VARIANT_TRUE, VARIANT_FALSE}) {
        ASSERT_EQ(settings->SetPreloadTranslations(preload), S_OK);
        ASSERT_EQ(logger->ConnectWithSettings(settings.get(), net_id), S_OK);
        const json hello = peer.last("hello");
        EXPECT_EQ(hello["settings"], true);
        EXPECT_EQ(hello["preload"], preload == VARIANT_TRUE);
        EXPECT_EQ(hello["address"], net_id);
    }
    ASSERT_EQ(logger->Connect("5.12.82.40"), S_OK); // four numbers get two more
    EXPECT_EQ(peer.last("hello")["settings"], false);
}

TEST_F(RequestTest, FailuresHaveTheirCodes) {
    EXPECT_EQ(logger->Connect("9.9.9.9.1.1"), hresult(code::no_route));

    // A code of the target comes through, the one that asks for the other way too.
    for (const std::uint32_t refusal : {0x98110701u, 0x80004005u}) {
        peer.on("hello", [&](const auto& session, std::uint32_t id, const json&) { session->reply(id, refusal); });
        EXPECT_EQ(connect(), hresult(refusal));
    }
    const json bad_hellos[] = {{{"version", 1}}, {{"version", 2}, {"instance", 1}}};
    for (const json& answer : bad_hellos) {
        peer.answer("hello", answer);
        EXPECT_EQ(connect(), hresult(code::bad_answer)) << answer;
        EXPECT_FALSE(connected());
    }
    peer.on("hello", [](const auto& session, std::uint32_t, const json&) { session->drop(); });
    EXPECT_EQ(connect(), not_connected);

    peer.on("hello", [](const auto&, std::uint32_t, const json&) {});
    set_timeout(100);
    EXPECT_EQ(connect(), hresult(code::timeout));

    peer.on("hello", nullptr);
    set_timeout(0); // the default again
    EXPECT_EQ(connect(), S_OK);
    EXPECT_TRUE(connected());

    const TemporaryFile closed(R"({"routes":{"9.9.9.9.1.1":"127.0.0.1:1"}})"); // nobody listens there
    setenv("ZO_ROUTES", closed.path().c_str(), 1);
    EXPECT_EQ(logger->Connect("9.9.9.9.1.1"), hresult(code::refused));
}

TEST_F(RequestTest, ConnectingAgainDropsTheOldLink) {
    ASSERT_EQ(connect(), S_OK);
    const auto first = peer.session()->number();
    ASSERT_EQ(connect(), S_OK);
    EXPECT_TRUE(connected());
    EXPECT_NE(peer.session()->number(), first);
    EXPECT_TRUE(eventually([&] { return peer.open_sessions() == 1; }));
    EXPECT_EQ(logger->Disconnect(), S_OK);
    EXPECT_FALSE(connected());
    EXPECT_TRUE(eventually([&] { return peer.open_sessions() == 0; }));
    EXPECT_EQ(logger->Disconnect(), S_OK);
}

TEST_F(RequestTest, DisconnectEndsAConnectThatIsUnderWay) {
    peer.on("hello", [](const auto&, std::uint32_t, const json&) {});
    auto pending = std::async(std::launch::async, [&] { return connect(); });
    ASSERT_TRUE(eventually([&] { return !peer.last("hello").is_null(); }));
    EXPECT_EQ(logger->Disconnect(), S_OK);
    EXPECT_EQ(pending.get(), hresult(code::aborted));
    EXPECT_FALSE(connected());
}

TEST_F(RequestTest, ARequestHasADeadlineAndItsLateAnswerIsNobodysElse) {
    set_timeout(150);
    ASSERT_EQ(connect(), S_OK);
    peer.on("class_name", [](const auto&, std::uint32_t, const json&) {});
    std::string text;
    EXPECT_EQ(class_name(1033, text), hresult(code::timeout));
    ASSERT_TRUE(eventually([&] { return !peer.last("class_name").is_null(); }));
    EXPECT_TRUE(connected());
    peer.session()->reply(peer.last("class_name")["id"], 0, {{"text", "late"}});
    set_timeout(5000);
    peer.answer("class_name", {{"text", "right"}});
    ASSERT_EQ(class_name(1033, text), S_OK);
    EXPECT_EQ(text, "right");
    EXPECT_TRUE(connected());
}

TEST_F(RequestTest, ManyLivesLeaveNoThreadAndNoDescriptor) {
    const auto entries = [](const char* folder) {
        return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
    };
    std::ptrdiff_t threads = 0;
    std::ptrdiff_t descriptors = 0;
    for (int round = 0; round < 20; ++round) {
        SetUp();
        advise();
        ASSERT_EQ(connect(), S_OK);
        peer.session()->notify("database_changed", {{"reason", 1}});
        ASSERT_TRUE(eventually([&] { return sink.count() == static_cast<std::size_t>(round + 1); }));
        if (round % 2 == 0) logger->Disconnect();
        TearDown();
        ASSERT_TRUE(eventually([&] { return peer.open_sessions() == 0; }));
        if (round == 5) {
            threads = entries("/proc/self/task");
            descriptors = entries("/proc/self/fd");
        }
    }
    EXPECT_TRUE(eventually([&] { return entries("/proc/self/task") <= threads; }, std::chrono::seconds(2)));
    EXPECT_LE(entries("/proc/self/fd"), descriptors);
}

TEST_F(RequestTest, TextsCarryTheirKeysAndComeBackAsTheyAre) {
    ASSERT_EQ(connect(), S_OK);
    const std::string odd("T\xc3\xbcr \0 \xff", 8); // an inner zero, and a byte that is no UTF-8
    for (const char* operation : {"get_text", "class_name", "source_name"})
        peer.answer(operation, {{"text", odd}});
    char* text = nullptr;

    const std::uint8_t block[] = {9, 9, 1, 2, 3};
    const ArgumentDescriptor arguments{2, 3, 2, 0, 2};
    ASSERT_EQ(logger->GetText(some_class, 0xffffffff, 1031, &arguments, block, &text), S_OK);
    EXPECT_EQ(take_text(text), odd);
    const json asked = peer.last("get_text");
    EXPECT_EQ(asked["class"], some_class_text);
    EXPECT_EQ(asked["event"], 0xffffffff);
    EXPECT_EQ(asked["language"], 1031);
    EXPECT_EQ(asked["args"], json({2, 3, 2, 0, 2}));
    EXPECT_EQ(asked["block"], json::binary({9, 9, 1, 2, 3}));

    EXPECT_EQ(logger->GetText(some_class, 1, 1, &arguments, nullptr, &text), E_POINTER);
    const ArgumentDescriptor huge{1, 0xffffffff, 0xffffffff, 0, 0};
    EXPECT_EQ(logger->GetText(some_class, 1, 1, &huge, block, &text), E_INVALIDARG);

    CComQIPtr<IZoEventLoggerClassName> names(logger);
    ASSERT_EQ(names->GetEventClassName(some_class, 1033, &text), S_OK);
    EXPECT_EQ(take_text(text), odd);

    CComQIPtr<IZoEventLoggerSourceName> sources(logger);
    ASSERT_EQ(sources->GetSourceNameText(1033, some_class, "Door", &text), S_OK);
    EXPECT_EQ(take_text(text), odd);
    EXPECT_EQ(peer.last("source_name")["name"], "Door");
}

TEST_F(RequestTest, ALongHistoryComesInPartsAndInOrder) {
    set_timeout(60000); // 20 MiB take their time under a sanitizer
    ASSERT_EQ(connect(), S_OK);
    peer.on("get_logged_events", [](const auto& session, std::uint32_t id, const json&) {
        std::vector<json> items;
        for (std::uint32_t i = 0; i < 20; ++i) {
            auto record = make_record(i);
            record.json = std::string(std::size_t{1} << 20, 'j');
            items.push_back(zo_link::event_to_json(record));
        }
        session->reply_list(id, std::move(items)); // 20 MiB: more than a frame holds
    });
    std::vector<CComPtr<IZoLoggedEvent>> events;
    ASSERT_EQ(logged_events(0xffffffff, events), S_OK);
    ASSERT_EQ(events.size(), 20u);
    for (std::uint32_t i = 0; i < 20; ++i)
        EXPECT_EQ(read(events[i], &IZoLoggedEvent::GetEventId), i);
}

TEST_F(RequestTest, AnswersFindTheirCallersInAnyOrder) {
    ASSERT_EQ(connect(), S_OK);
    constexpr std::size_t callers = 8;
    std::vector<std::pair<std::uint32_t, json>> held; // of the server thread
    peer.on("class_name", [&](const auto& session, std::uint32_t id, const json& fields) {
        held.emplace_back(id, fields["language"]);
        if (held.size() < callers) return;
        for (auto it = held.rbegin(); it != held.rend(); ++it)
            session->reply(it->first, 0, {{"text", std::to_string(it->second.template get<int>())}});
    });
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < callers; ++i) {
        threads.emplace_back([&, i] {
            std::string text;
            EXPECT_EQ(class_name(static_cast<std::int32_t>(i), text), S_OK);
            EXPECT_EQ(text, std::to_string(i));
        });
    }
    for (auto& thread : threads)
        thread.join();
}

TEST(Library, MakesALoggerOfManyViews) {
    CComPtr<IUnknown> logger;
    ASSERT_EQ(CreateInstance(CLSID_ZoEventLogger, IID_IUnknown, logger.put_void()), S_OK);
    for (const GUID* iid : {&IID_IDispatch, &IID_IZoEventLogger, &IID_IZoEventLogger4, &IID_IZoEventLogger5,
                            &IID_IZoEventLoggerClassName, &IID_IZoEventLoggerSourceName, &IID_IZoEventLoggerTimeout,
                            &IID_IConnectionPointContainer, &IID_IConnectionPoint}) {
        CComPtr<IUnknown> view;
        ASSERT_EQ(logger->QueryInterface(*iid, view.put_void()), S_OK);
        // One object, whatever the view.
        CComPtr<IUnknown> self;
        ASSERT_EQ(view->QueryInterface(IID_IUnknown, self.put_void()), S_OK);
        EXPECT_TRUE(self == logger);
    }
}

TEST(Library, ExplainsItsOwnCodesOnly) {
    for (const auto& [result, own] : {std::pair(code::refused, true), std::pair(0x98110701u, false)}) {
        char* text = nullptr;
        EXPECT_EQ(failed(ZoEventLoggerFdxProxyLibErrorMessage(hresult(result), &text)), !own) << result;
        EXPECT_EQ(text != nullptr && !take_text(text).empty(), own) << result;
    }
}

namespace {

class HostileTest : public ProxyTest {
protected:
    // The link is dropped by what the peer did, and a new one works.
    void expect_dropped(const std::string& name) {
        EXPECT_TRUE(eventually([&] { return !connected(); })) << name;
        ASSERT_EQ(connect(), S_OK) << name;
        ASSERT_EQ(settle(), S_OK) << name;
    }
};

} // namespace

TEST_F(HostileTest, ABadNotificationDropsTheLink) {
    const json good = zo_link::event_to_json(make_record(1, 2));
    const json no_handle = zo_link::event_to_json(make_record(1));
    const struct {
        const char* name;
        const char* note;
        json fields;
    } rows[] = {
        {"unknown kind", "hello", {{"event", good}}},
        {"no event", "message", json::object()},
        {"event without id", "message", {{"event", {{"class", "01234567-89ab-cdef-0123-456789abcdef"}}}}},
        {"alarm without handle", "alarm_raised", {{"event", no_handle}}},
        {"cleared without flag", "alarm_cleared", {{"event", good}}},
        {"flag out of range", "alarm_confirmed", {{"event", good}, {"removed", 70000}}},
        {"reason out of range", "database_changed", {{"reason", 5000000000}}},
    };
    advise();
    ASSERT_EQ(connect(), S_OK);
    for (const auto& row : rows) {
        peer.session()->notify(row.note, row.fields);
        expect_dropped(row.name);
    }
    EXPECT_EQ(sink.count(), 0u);
}

TEST_F(HostileTest, BytesThatAreNoFramesDropTheLink) {
    const std::vector<std::uint8_t> rows[] = {
        {255, 255, 255, 255, 1},
        {1, 0, 0, 0, 0xa0},                                       // neither answer nor notification
        zo_link::encode_frame({{"id", 1}}),                       // an answer without code
        zo_link::encode_frame({{"id", 4000000000}, {"code", 0}}), // to what was never asked
        zo_link::encode_frame({{"id", 0}, {"code", 0}}),
        zo_link::encode_frame({{"note", 5}}),
    };
    ASSERT_EQ(connect(), S_OK);
    int number = 0;
    for (const auto& bytes : rows) {
        peer.session()->send_raw(bytes);
        expect_dropped("row " + std::to_string(number++));
    }
}

TEST_F(HostileTest, NotificationsBeforeTheHelloIsAnsweredDropTheLink) {
    advise();
    peer.on("hello", [](const auto& session, std::uint32_t id, const json&) {
        session->send_raw(zo_link::encode_frame({{"note", "database_changed"}, {"reason", 1}}));
        session->accept(id, 1);
    });
    EXPECT_EQ(connect(), hresult(code::bad_answer));
    EXPECT_FALSE(connected());
    EXPECT_EQ(sink.count(), 0u);
}

TEST_F(HostileTest, ABadAnswerFailsTheCallAndDropsTheLink) {
    const json good = zo_link::event_to_json(make_record(1, 2));
    const std::pair<std::string, json> rows[] = {
        {"get_logged_events", json::object()},
        {"get_logged_events", {{"items", {1}}}},
        {"get_logged_events", {{"items", {good, good, good, good}}}}, // more than was asked for
        {"get_logged_events", {{"items", {good}}, {"more", 1}}},
        {"get_active_alarms", {{"items", {zo_link::event_to_json(make_record(1))}}}},
        {"class_name", {{"text", 5}}},
        {"details", {{"items", {{"a", "b", 5}}}}},
    };
    for (const auto& [operation, fields] : rows) {
        ASSERT_EQ(connect(), S_OK);
        peer.answer(operation, fields);
        HRESULT result = S_OK;
        if (operation == "get_logged_events") {
            std::vector<CComPtr<IZoLoggedEvent>> events;
            result = logged_events(3, events);
        } else if (operation == "get_active_alarms") {
            std::vector<CComPtr<IZoAlarm>> alarms;
            result = active_alarms(alarms);
        } else if (operation == "class_name") {
            std::string text;
            result = class_name(0, text);
            EXPECT_EQ(text, "(null)");
        } else {
            CComQIPtr<IZoEventLogger5> texts(logger);
            CComPtr<IZoDetailCollection> list;
            result = texts->GetDetails(GUID{}, 0, 0, list.put());
        }
        EXPECT_EQ(result, hresult(code::bad_answer)) << operation << fields;
        EXPECT_FALSE(connected()) << operation << fields;
    }
}
