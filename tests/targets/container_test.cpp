// Failures of the store, which the walk of container_property_test.cpp leaves out, and keys.
#include "targets/limited_event_container.h"

#include "binding/error.h"
#include "extension/host/event_payload.h"
#include "extension/host/timestamp.h"
#include "extension/host/value.h"
#include "targets/event_key.h"
#include "tests/fakes/fake_events.h"
#include "tests/test_headers.h"

namespace {

using namespace ZoHmiSrv;
using namespace ZoHmiEventLogger;
using fakes::file_time;

TEST(Container, FailuresLeaveTheCountersRight) {
    EventStore store;
    store.set_removal_callback([](long, const Event&) { throw std::runtime_error("callback"); });
    Event first, second, third, failing;
    store.add(first, nullptr, true, 2, 1, true);
    store.add(second, nullptr, true, 2, 2, true);
    store.erase_alarm({}); // no position
    store.release_alarm({}, 2);
    const auto plan = std::make_shared<fakes::CallPlan>();
    const fakes::AlarmPtr mute = new fakes::FakeAlarm({}, plan);
    plan->answer("Alarm.GetEventId", E_FAIL);
    EXPECT_THROW(store.add(failing, mute.get(), true, 2, 3, true), ZoAtlCom::CAtlException);
    EXPECT_EQ(store.counters().not_live, 2U);
    EXPECT_EQ(mute->references(), 1U);

    EXPECT_THROW(store.prune(0), std::runtime_error); // the first of two is gone
    store.set_notify(false);
    store.add(third, nullptr, true, 0, 3, true);
    Value list;
    store.list(list);
    EXPECT_EQ(list.size(), 0U);
    EXPECT_EQ(store.counters(), EventStore::Counters());
}

constexpr GUID some_class{0x01234567, 0x89AB, 0xCDEF, {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF}};

TEST(EventKey, IsMadeOfTimeClassAndEventId) {
    const fakes::AlarmPtr alarm = new fakes::FakeAlarm(
        {.event_class = some_class, .event_id = 4294967295, .raised = file_time(2, 300), .unique_id = 9});
    const EventKey key = EventKey::of<ZoEventLoggerFdxProxyLib::IZoAlarm>(*alarm);
    EXPECT_EQ(key.id(), 9U);
    EXPECT_EQ(key.text(), "2000000300{01234567-89AB-CDEF-0123-456789ABCDEF}4294967295");
    const fakes::MessagePtr message = new fakes::FakeMessage({.raised = 0});
    EXPECT_EQ(EventKey::of<ZoEventLoggerFdxProxyLib::IZoMessage>(*message),
              EventKey({}, 0, GUID{}, 0)); // a time that is not set is 0
    EXPECT_EQ(EventKey().text(), "");
}

TEST(EventKey, ComparesIdsOrElseTexts) {
    const EventKey a1(1, 10, some_class, 5), b1(1, 20, some_class, 5), a2(2, 10, some_class, 5),
        a({}, 10, some_class, 5), b({}, 20, some_class, 5);
    EXPECT_TRUE(a1 == b1);
    EXPECT_FALSE(a1 == a2); // not equal, although
    EXPECT_TRUE(a1 == a);   // both equal
    EXPECT_TRUE(a == a2);   // the same third key
    EXPECT_FALSE(a == b);
}

TEST(EventKey, SetsAnswerLikeALinearSearch) {
    std::mt19937 random(5);
    const auto any_key = [&] {
        std::optional<std::uint32_t> id;
        if (random() % 3) id = random() % 6;
        return EventKey(id, static_cast<std::int64_t>(random() % 4), GUID{}, random() % 2);
    };
    for (int round = 0; round < 3000; ++round) {
        EventKeySet set;
        std::vector<EventKey> list;
        for (auto keys = random() % 5; keys > 0; --keys) {
            list.push_back(any_key());
            set.add(list.back());
        }
        for (int i = 0; i < 8; ++i) {
            const EventKey key = any_key();
            ASSERT_EQ(set.contains(key), std::find(list.begin(), list.end(), key) != list.end())
                << "round " << round << ", text " << key.text();
        }
    }
}

TEST(AlarmKey, IsOrderedById) {
    const AlarmKey none1{{}, 1}, none2{{}, 2}, first{1, 9}, first_later{1, 10}, second{2, 1};
    EXPECT_TRUE(none1 < first && first < first_later && first_later < second);
    EXPECT_FALSE(first < none1 || second < first || first < first);
    EXPECT_THROW((void)(none1 < none2), std::bad_optional_access);
}

} // namespace
