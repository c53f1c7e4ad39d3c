#include "tests/link/proxy_fixture.h"

#include <algorithm>
#include <thread>

using namespace zo_test;
namespace code = zo_link::code;
using nlohmann::json;

namespace {

class RequestTest : public ProxyTest {};

constexpr GUID some_class{0x01234567, 0x89ab, 0xcdef, {1, 2, 3, 4, 5, 6, 7, 8}};
constexpr char some_class_text[] = "01234567-89ab-cdef-0102-030405060708";

} // namespace

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

TEST(Library, ExplainsItsOwnCodesOnly) {
    for (const auto& [result, own] : {std::pair(code::refused, true), std::pair(0x98110701u, false)}) {
        char* text = nullptr;
        EXPECT_EQ(failed(ZoEventLoggerFdxProxyLibErrorMessage(hresult(result), &text)), !own) << result;
        EXPECT_EQ(text != nullptr && !take_text(text).empty(), own) << result;
    }
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
