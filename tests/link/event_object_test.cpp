#include "tests/link/proxy_fixture.h"

#include <thread>

using namespace zo_test;
namespace code = zo_link::code;
using nlohmann::json;

namespace {

class EventObjectTest : public ProxyTest {
protected:
    void SetUp() override {
        ProxyTest::SetUp();
        ASSERT_EQ(connect(), S_OK);
    }
    void answer_list(const char* operation, const std::vector<zo_link::EventRecord>& records) {
        std::vector<json> items;
        for (const auto& record : records)
            items.push_back(zo_link::event_to_json(record));
        peer.on(operation,
                [items](const auto& session, std::uint32_t id, const json&) { session->reply_list(id, items); });
    }
    CComPtr<IZoAlarm> only_alarm() {
        std::vector<CComPtr<IZoAlarm>> alarms;
        EXPECT_EQ(active_alarms(alarms), S_OK);
        return alarms.size() == 1 ? alarms[0] : CComPtr<IZoAlarm>();
    }
};

std::int64_t time_cleared(const CComPtr<IZoAlarm>& alarm) {
    return read(alarm, &IZoAlarm::GetTimeCleared);
}

} // namespace

TEST_F(EventObjectTest, LoggedEventHasTheSentFields) {
    auto record = make_record(7);
    record.severity = 3;
    record.type = 1;
    record.source_id = 12;
    record.source_guid = GUID{1, 2, 3, {4}};
    record.source_name = "Door";
    record.cleared = 5;
    record.confirmed = 6;
    record.with_confirmation = 1; // a foreign number passes unchanged
    record.active = -1;
    record.uid = 99;
    record.args = {2, 0xfffffff0, 0x20, 1, 2}; // offsets that point nowhere
    record.block = {1, 2, 3, 4};
    record.json = R"({"a":1})";
    answer_list("get_logged_events", {record, make_record(8)});
    std::vector<CComPtr<IZoLoggedEvent>> events;
    ASSERT_EQ(logged_events(2, events), S_OK);
    EXPECT_EQ(peer.last("get_logged_events")["count"], 2);
    ASSERT_EQ(events.size(), 2u);
    logger.release(); // events outlive the logger and the link

    IZoLoggedEvent* event = events[0].get();
    EXPECT_EQ(read(event, &IZoLoggedEvent::GetEventClass), record.event_class);
    EXPECT_EQ(read(event, &IZoLoggedEvent::GetEventId), 7u);
    EXPECT_EQ(read(event, &IZoLoggedEvent::GetSeverity), 3u);
    EXPECT_EQ(read(event, &IZoLoggedEvent::GetEventType), 1);
    EXPECT_EQ(read(event, &IZoLoggedEvent::GetSourceId), 12u);
    EXPECT_EQ(read(event, &IZoLoggedEvent::GetSourceGuid), record.source_guid);
    EXPECT_EQ(read_text(event, &IZoLoggedEvent::GetSourceName), "Door");
    for (const std::uint32_t mask : {1u, 2u, 4u}) {
        VARIANT_BOOL has[2] = {3, 3};
        for (std::size_t i = 0; i < 2; ++i)
            EXPECT_EQ(events[i]->HasSourceField(mask, &has[i]), S_OK);
        EXPECT_EQ(std::pair(has[0], has[1]), std::pair(VARIANT_TRUE, VARIANT_FALSE)) << mask;
    }
    EXPECT_EQ(read(event, &IZoLoggedEvent::GetTimeRaised), record.raised);
    EXPECT_EQ(read(event, &IZoLoggedEvent::GetTimeCleared), 5);
    EXPECT_EQ(read(event, &IZoLoggedEvent::GetTimeConfirmed), 6);
    EXPECT_EQ(read(event, &IZoLoggedEvent::GetWithConfirmation), 1);
    EXPECT_EQ(read_text(CComQIPtr<IZoLoggedEventJson>(events[0]), &IZoLoggedEventJson::GetJsonAttribute), R"({"a":1})");
    EXPECT_EQ(read(CComQIPtr<IZoEventIdentity>(events[0]), &IZoEventIdentity::GetUniqueId), 99u);

    CComQIPtr<IZoLoggedEvent2> extended(events[0]);
    EXPECT_EQ(read(extended, &IZoLoggedEvent2::GetIsActive), VARIANT_TRUE);
    const ArgumentDescriptor arguments = read(extended, &IZoLoggedEvent2::GetArguments);
    EXPECT_EQ(std::pair(arguments.count, arguments.types_offset), std::pair(2u, 0xfffffff0u));
    EXPECT_EQ(std::pair(arguments.data_offset, arguments.data_size), std::pair(1u, 2u));
    // At most the caller's size, and at most the block.
    for (const std::uint32_t size : {0u, 3u, 4u, 6u}) {
        std::vector<std::uint8_t> block(8, 0xee);
        std::uint8_t* address = block.data();
        EXPECT_EQ(extended->GetArgumentData(&address, size), S_OK);
        std::vector<std::uint8_t> expected(8, 0xee);
        std::copy_n(record.block.begin(), std::min<std::size_t>(size, 4), expected.begin());
        EXPECT_EQ(block, expected) << size;
    }
}

TEST_F(EventObjectTest, FieldsBringOptionalInterfaces) {
    std::vector<zo_link::EventRecord> records(4, make_record(1));
    for (auto& record : records)
        record.extended = false;
    records[1].uid = 0;
    records[2].json = "";
    records[3].extended = true;
    answer_list("get_logged_events", records);
    std::vector<CComPtr<IZoLoggedEvent>> events;
    ASSERT_EQ(logged_events(10, events), S_OK);
    ASSERT_EQ(events.size(), records.size());
    for (std::size_t i = 0; i < events.size(); ++i) {
        EXPECT_EQ(static_cast<bool>(CComQIPtr<IZoEventIdentity>(events[i])), i == 1) << i;
        EXPECT_EQ(static_cast<bool>(CComQIPtr<IZoLoggedEventJson>(events[i])), i == 2) << i;
        EXPECT_EQ(static_cast<bool>(CComQIPtr<IZoLoggedEvent2>(events[i])), i == 3) << i;
    }
}

TEST_F(EventObjectTest, OneAlarmIsOneObject) {
    std::vector<CComPtr<IZoAlarm>> seen;
    std::vector<CComPtr<IZoAlarm>> alarms;
    sink.inside = [&](std::int32_t, IDispatch* object) {
        seen.emplace_back(CComQIPtr<IZoAlarm>(object));
        EXPECT_EQ(time_cleared(alarms[1]), 555); // before the callback
    };
    advise();
    answer_list("get_active_alarms", {make_record(1, 41), make_record(1, 42)});
    ASSERT_EQ(active_alarms(alarms), S_OK);
    ASSERT_EQ(alarms.size(), 2u);
    EXPECT_FALSE(alarms[0] == alarms[1]); // only their handles differ

    auto cleared = make_record(1, 42);
    cleared.cleared = 555;
    peer.session()->notify("alarm_cleared", event_fields(cleared, false));
    answer_list("get_active_alarms", {cleared});
    EXPECT_TRUE(only_alarm() == alarms[1]);
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_TRUE(seen[0] == alarms[1]);
    EXPECT_EQ(time_cleared(alarms[0]), 0);

    peer.restart(); // the same instance: the target restored its state
    ASSERT_EQ(connect(), S_OK);
    EXPECT_TRUE(only_alarm() == alarms[1]);
    peer.on("hello", [](const auto& session, std::uint32_t id, const json&) { session->accept(id, 8); });
    ASSERT_EQ(connect(), S_OK);
    EXPECT_FALSE(only_alarm() == alarms[1]); // the handle 42 of another instance
    EXPECT_EQ(alarms[1]->Confirm(), hresult(code::not_found));
}

TEST_F(EventObjectTest, OldListNeverSetsAnAlarmBack) {
    advise();
    const auto before = make_record(1, 42);
    for (std::int64_t round = 1; round <= 200; ++round) {
        auto after = before;
        after.cleared = round;
        peer.on("get_active_alarms", [&](const auto& session, std::uint32_t id, const json&) {
            session->reply_list(id, {zo_link::event_to_json(before)});
            session->notify("alarm_cleared", event_fields(after, false));
        });
        const CComPtr<IZoAlarm> alarm = only_alarm();
        ASSERT_TRUE(alarm);
        ASSERT_TRUE(eventually([&] { return sink.count() == static_cast<std::size_t>(round); }));
        ASSERT_EQ(time_cleared(alarm), round);
    }
}

TEST_F(EventObjectTest, AlarmsChangeWhileRead) {
    auto record = make_record(1, 42);
    record.source_name = "0";
    answer_list("get_active_alarms", {record});
    std::atomic<bool> stop{false};
    std::vector<std::thread> readers;
    for (int i = 0; i < 3; ++i) {
        readers.emplace_back([&] {
            while (!stop) {
                CComPtr<IZoAlarmCollection> list; // the last reference goes each time
                CComPtr<IZoAlarm> alarm;
                EXPECT_EQ(logger->GetActiveAlarms(list.put()), S_OK);
                EXPECT_EQ(list->GetItem(0, alarm.put()), S_OK);
                EXPECT_FALSE(read_text(alarm, &IZoAlarm::GetSourceName).empty());
            }
        });
    }
    for (int i = 0; i < 300; ++i) {
        record.source_name = std::to_string(i);
        peer.session()->notify("alarm_raised", event_fields(record));
    }
    EXPECT_EQ(settle(), S_OK);
    stop = true;
    for (auto& reader : readers)
        reader.join();
    answer_list("get_active_alarms", {record});
    EXPECT_EQ(read_text(only_alarm(), &IZoAlarm::GetSourceName), "299");
}

TEST_F(EventObjectTest, ConfirmSendsTheHandle) {
    answer_list("get_active_alarms", {make_record(5, 0xffffffffffffffff)});
    const CComPtr<IZoAlarm> alarm = only_alarm();
    ASSERT_TRUE(alarm);
    for (const std::uint32_t result : {0u, 1u, 0x9811070cu}) {
        peer.on("confirm", ScriptedPeer::reply(result));
        EXPECT_EQ(alarm->Confirm(), hresult(result));
    }
    EXPECT_EQ(peer.last("confirm")["handle"], 0xffffffffffffffffu);
    logger->Disconnect();
    EXPECT_EQ(alarm->Confirm(), not_connected);
    logger.release();
    EXPECT_EQ(alarm->Confirm(), not_connected);
    EXPECT_EQ(read(alarm, &IZoAlarm::GetEventId), 5u);
}
