#include "tests/link/proxy_fixture.h"

#include "platform/link/frame.h"

using namespace zo_test;
namespace code = zo_link::code;
using nlohmann::json;

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
    const struct {
        const char* operation;
        json fields;
    } rows[] = {
        {"get_logged_events", json::object()},
        {"get_logged_events", {{"items", {1}}}},
        {"get_logged_events", {{"items", {good, good, good, good}}}}, // more than was asked for
        {"get_logged_events", {{"items", {good}}, {"more", 1}}},
        {"get_active_alarms", {{"items", {zo_link::event_to_json(make_record(1))}}}},
        {"class_name", {{"text", 5}}},
        {"details", {{"items", {{"a", "b", 5}}}}},
    };
    for (const auto& row : rows) {
        ASSERT_EQ(connect(), S_OK);
        peer.answer(row.operation, row.fields);
        const std::string operation = row.operation;
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
        EXPECT_EQ(result, hresult(code::bad_answer)) << row.operation << row.fields;
        EXPECT_FALSE(connected()) << row.operation << row.fields;
    }
}
