#include "tests/link/proxy_fixture.h"

#include "platform/link/frame.h"

#include <filesystem>
#include <future>
#include <thread>

#include <sys/stat.h>

using namespace zo_test;
namespace code = zo_link::code;
using nlohmann::json;

namespace {

class RequestTest : public ProxyTest {};

constexpr GUID some_class{0x01234567, 0x89ab, 0xcdef, {1, 2, 3, 4, 5, 6, 7, 8}};

} // namespace

TEST_F(RequestTest, HelloHasSettingsAndAddress) {
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
    const auto reply = &ScriptedPeer::reply;
    const std::pair<ScriptedPeer::Handler, std::uint32_t> rows[] = {
        {reply(0x80004005, {}), 0x80004005},
        {reply(code::ok, {{"version", 1}}), code::bad_answer},
        {reply(code::ok, {{"version", 2}, {"instance", 1}}), code::bad_answer},
        {[](const auto& session, std::uint32_t, const json&) { session->drop(); }, code::not_connected},
        {[](const auto& session, std::uint32_t id, const json&) {
             session->send_raw(zo_link::encode_frame({{"note", "database_changed"}, {"reason", 1}}));
             session->accept(id, 1);
         },
         code::bad_answer},
    };
    advise();
    for (const auto& [handler, result] : rows) {
        peer.on("hello", handler);
        EXPECT_EQ(connect(), hresult(result));
        EXPECT_FALSE(connected());
    }
    EXPECT_EQ(sink.count(), 0u);
    set_timeout(100);
    peer.ignore("hello");
    EXPECT_EQ(connect(), hresult(code::timeout));
    peer.on("hello", nullptr);
    peer.ignore("class_name");
    ASSERT_EQ(connect(), S_OK);
    EXPECT_EQ(call("class_name"), hresult(code::timeout));
    set_timeout(0); // the default again
    ASSERT_EQ(connect(), S_OK);

    const TemporaryFile closed(R"({"routes":{"9.9.9.9.1.1":"127.0.0.1:1"}})"); // nothing listens there
    const std::string pipe = closed.path().string() + ".pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(logger->Connect("9.9.9.9.1.1"), hresult(code::no_route));
    setenv("ZO_ROUTES", closed.path().c_str(), 1);
    EXPECT_EQ(logger->Connect("9.9.9.9.1.1"), hresult(code::refused));
    setenv("ZO_ROUTES", pipe.c_str(), 1);
    EXPECT_EQ(logger->Connect("9.9.9.9.1.1"), hresult(code::no_route));
}

TEST_F(RequestTest, DisconnectEndsAWaitingConnect) {
    peer.ignore("hello");
    auto pending = std::async(std::launch::async, [&] { return connect(); });
    ASSERT_TRUE(eventually([&] { return !peer.last("hello").is_null(); }));
    EXPECT_EQ(logger->Disconnect(), S_OK);
    EXPECT_EQ(pending.get(), hresult(code::aborted));
    EXPECT_FALSE(connected());
}

TEST_F(RequestTest, ManyLivesLeakNoThreadOrDescriptor) {
    const auto entries = [](const char* folder) {
        return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
    };
    std::ptrdiff_t threads = 0;
    std::ptrdiff_t descriptors = 0;
    for (int round = 0; round < 20; ++round) {
        SetUp();
        advise();
        ASSERT_EQ(connect(), S_OK);
        ASSERT_EQ(connect(), S_OK); // drops the first link
        ASSERT_TRUE(eventually([&] { return peer.open_sessions() == 1; }));
        peer.session()->notify("database_changed", {{"reason", 1}});
        ASSERT_TRUE(eventually([&] { return sink.count() == static_cast<std::size_t>(round + 1); }));
        for (int i = 0; i < round % 3; ++i)
            EXPECT_EQ(logger->Disconnect(), S_OK);
        EXPECT_EQ(connected(), round % 3 == 0);
        TearDown();
        ASSERT_TRUE(eventually([&] { return peer.open_sessions() == 0; }));
        if (round != 5) continue;
        threads = entries("/proc/self/task");
        descriptors = entries("/proc/self/fd");
    }
    EXPECT_TRUE(eventually([&] { return entries("/proc/self/task") <= threads; }, std::chrono::seconds(2)));
    EXPECT_LE(entries("/proc/self/fd"), descriptors);
}

TEST_F(RequestTest, TextsHaveTheirKeysAndAllBytes) {
    ASSERT_EQ(connect(), S_OK);
    const std::string odd("T\xc3\xbcr \0 \xff", 8); // an inner zero, and a byte that is no UTF-8
    for (const char* operation : {"get_text", "class_name", "source_name"})
        peer.answer(operation, {{"text", odd}});
    char* text = nullptr;
    const std::uint8_t block[] = {9, 9, 1, 2, 3};
    const ArgumentDescriptor arguments{2, 3, 2, 0, 2};
    ASSERT_EQ(logger->GetText(some_class, 0xffffffff, 1031, &arguments, block, &text), S_OK);
    EXPECT_EQ(take_text(text), odd);
    json request = peer.last("get_text");
    request.erase("id");
    EXPECT_EQ(request, json({{"op", "get_text"},
                             {"class", "01234567-89AB-CDEF-0102-030405060708"},
                             {"event", 0xffffffff},
                             {"language", 1031},
                             {"args", {2, 3, 2, 0, 2}},
                             {"block", json::binary({9, 9, 1, 2, 3})}}));
    EXPECT_EQ(logger->GetText(some_class, 1, 1, &arguments, nullptr, &text), E_POINTER);
    const ArgumentDescriptor huge{1, 0xffffffff, 0xffffffff, 0, 0};
    EXPECT_EQ(logger->GetText(some_class, 1, 1, &huge, block, &text), E_INVALIDARG);

    ASSERT_EQ(CComQIPtr<IZoEventLoggerClassName>(logger)->GetEventClassName(some_class, 1033, &text), S_OK);
    EXPECT_EQ(take_text(text), odd);
    ASSERT_EQ(CComQIPtr<IZoEventLoggerSourceName>(logger)->GetSourceNameText(1033, some_class, "Door", &text), S_OK);
    EXPECT_EQ(take_text(text), odd);
    EXPECT_EQ(peer.last("source_name")["name"], "Door");
}

TEST_F(RequestTest, PartsOfAListKeepTheirOrder) {
    set_timeout(60000); // 20 MiB are slow under a sanitizer
    ASSERT_EQ(connect(), S_OK);
    peer.on("get_logged_events", [](const auto& session, std::uint32_t id, const json&) {
        std::vector<json> items;
        for (std::uint32_t i = 0; i < 40; ++i) {
            items.push_back(zo_link::event_to_json(make_record(i)));
            if (i < 20)
                items.back()["json"] = std::string(std::size_t{1} << 20, 'j'); // the size of two frames
            else
                items.back()["more"] = std::vector<json>(20000, json::object()); // the memory of two frames
        }
        session->reply_list(id, std::move(items));
    });
    std::vector<CComPtr<IZoLoggedEvent>> events;
    ASSERT_EQ(logged_events(0xffffffff, events), S_OK);
    ASSERT_EQ(events.size(), 40u);
    for (std::uint32_t i = 0; i < 40; ++i)
        EXPECT_EQ(read(events[i], &IZoLoggedEvent::GetEventId), i);
}

TEST_F(RequestTest, AnswersMayComeInAnyOrder) {
    ASSERT_EQ(connect(), S_OK);
    std::vector<std::pair<std::uint32_t, json>> waiting; // of the server thread
    peer.on("class_name", [&](const auto& session, std::uint32_t id, const json& fields) {
        waiting.emplace_back(id, fields["language"]);
        if (waiting.size() < 8) return;
        for (auto it = waiting.rbegin(); it != waiting.rend(); ++it)
            session->reply(it->first, code::ok, {{"text", it->second.dump()}});
    });
    std::vector<std::future<std::string>> texts;
    for (int language = 0; language < 8; ++language)
        texts.push_back(std::async(std::launch::async, [&, language] {
            std::string text;
            EXPECT_EQ(class_name(language, text), S_OK);
            return text;
        }));
    for (std::size_t language = 0; language < 8; ++language)
        EXPECT_EQ(texts[language].get(), std::to_string(language));
}

TEST(Library, HasTextsForItsOwnCodesOnly) {
    for (const auto& [result, own] : {std::pair(code::refused, true), std::pair(code::not_supported, false)}) {
        char* text = nullptr;
        EXPECT_EQ(failed(ZoEventLoggerFdxProxyLibErrorMessage(hresult(result), &text)), !own) << result;
        EXPECT_EQ(text != nullptr && !take_text(text).empty(), own) << result;
    }
}

TEST_F(RequestTest, BadFrameDropsTheLink) {
    const json alarm = zo_link::event_to_json(make_record(1, 2));
    const json no_handle = zo_link::event_to_json(make_record(1));
    const json no_id = {{"class", "01234567-89ab-cdef-0123-456789abcdef"}};
    const json rows[] = {
        json::object(), // neither answer nor notification
        {{"id", 1}},
        {{"id", 4000000000}, {"code", 0}}, // there was no such request
        {{"id", 0}, {"code", 0}},
        {{"note", 5}},
        {{"note", "hello"}, {"event", alarm}},
        {{"note", "message"}},
        {{"note", "message"}, {"event", no_id}},
        {{"note", "alarm_raised"}, {"event", no_handle}},
        {{"note", "alarm_cleared"}, {"event", alarm}},
        {{"note", "alarm_confirmed"}, {"event", alarm}, {"removed", 70000}},
        {{"note", "database_changed"}, {"reason", 5000000000}},
        nullptr, // a length above the limit
    };
    advise();
    for (const json& row : rows) {
        ASSERT_EQ(connect(), S_OK);
        ASSERT_EQ(settle(), S_OK);
        peer.session()->send_raw(row.is_null() ? std::vector<std::uint8_t>(5, 255) : zo_link::encode_frame(row));
        EXPECT_TRUE(eventually([&] { return !connected(); })) << row;
    }
    EXPECT_EQ(sink.count(), 0u);
}

TEST_F(RequestTest, BadAnswerFailsTheCallAndTheLink) {
    const json good = zo_link::event_to_json(make_record(1, 2));
    const std::pair<const char*, json> rows[] = {
        {"get_logged_events", json::object()},
        {"get_logged_events", {{"items", {1}}}},
        {"get_logged_events", {{"items", {good, good, good, good}}}}, // the request was for three
        {"get_logged_events", {{"items", {good}}, {"more", 1}}},
        {"get_active_alarms", {{"items", {zo_link::event_to_json(make_record(1))}}}},
        {"class_name", {{"text", 5}}},
        {"details", {{"items", {{"a", "b", 5}}}}},
    };
    for (const auto& [operation, fields] : rows) {
        ASSERT_EQ(connect(), S_OK);
        peer.answer(operation, fields);
        EXPECT_EQ(call(operation), hresult(code::bad_answer)) << operation << fields;
        EXPECT_FALSE(connected()) << operation << fields;
    }
}
