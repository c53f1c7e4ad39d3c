#include "targets/limited_event_container.h"

#include "extension/host/event_payload.h"
#include "extension/host/value.h"
#include "tests/fakes/fake_events.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace ZoHmiSrv;
using fakes::file_time;
using ZoHmiEventLogger::AlarmKey;
using ZoHmiEventLogger::EventStore;

using Names = std::vector<std::string>;

// A store of events with names; "!" before a name makes it live.
struct Store {
    Store() {
        store.set_removal_callback([this](long key, const Event& event) {
            evicted.push_back(std::string(event.name()) + "@" + std::to_string(key));
        });
    }
    void add(const std::string& name, long key, unsigned limit, bool has_payload = true) {
        Event event;
        event.set_name(name.c_str());
        if (has_payload) event.payload().set(Alarm());
        const bool live = name[0] == '!';
        const fakes::AlarmPtr alarm = live ? new fakes::FakeAlarm({.raised = file_time(key)}) : nullptr;
        if (live) alarms.push_back(alarm);
        store.add(event, alarm.get(), true, limit, key, true);
    }
    Names names() {
        Value list;
        store.list(list);
        Names names;
        for (std::size_t i = 0; i < list.size(); ++i)
            names.emplace_back(list[i].get_event().name());
        return names;
    }

    std::vector<fakes::AlarmPtr> alarms; // the live ones, in the order of adding
    Names evicted;
    EventStore store;
};

TEST(Container, EvictsWhatRanksBehindTheLimitInOrder) {
    struct Case {
        const char* about;
        unsigned limit;
        std::vector<std::pair<const char*, long>> added;
        Names left;
        Names evicted; // by one pruning after all was added
    };
    const Case cases[] = {
        {"the two oldest, the younger of them first",
         3,
         {{"a", 1}, {"b", 2}, {"c", 3}, {"d", 4}, {"e", 5}},
         {"c", "d", "e"},
         {"b@2", "a@1"}},
        {"a live old alarm stays", 3, {{"!a", 1}, {"b", 2}, {"c", 3}, {"d", 4}}, {"!a", "b", "c", "d"}, {}},
        {"of one time the first stays", 1, {{"a", 7}, {"b", 7}, {"c", 7}}, {"a"}, {"b@7", "c@7"}},
        {"a bucket that fits exactly stays whole", 2, {{"a", 1}, {"b", 2}, {"c", 2}}, {"b", "c"}, {"a@1"}},
        {"limit 0 leaves what is live", 0, {{"a", 1}, {"!b", 2}, {"c", 2}, {"d", 3}}, {"!b"}, {"d@3", "c@2", "a@1"}},
        {"all fit", 4, {{"a", 1}, {"b", 1}, {"c", 2}}, {"a", "b", "c"}, {}},
        {"one bucket below the limit", 4, {{"a", 1}, {"b", 1}, {"c", 1}}, {"a", "b", "c"}, {}},
        {"a new live alarm takes a place", 2, {{"a", 1}, {"b", 2}, {"!c", 3}, {"!d", 4}}, {"!c", "!d"}, {"b@2", "a@1"}},
        {"no order of adding matters across times", 2, {{"d", 9}, {"a", -5}, {"c", 8}}, {"c", "d"}, {"a@-5"}},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.about);
        Store store;
        for (const auto& [name, key] : row.added)
            store.add(name, key, 1000);
        store.store.prune(row.limit);
        EXPECT_EQ(store.names(), row.left);
        EXPECT_EQ(store.evicted, row.evicted);
        EXPECT_EQ(store.store.counters().active_alarms + store.store.counters().not_live, row.left.size());
    }
}

TEST(Container, CountsWithAndWithoutNotification) {
    Store store;
    Event invalid;
    Alarm alarm;
    alarm.set_alarm_state(AlarmState::Invalid);
    invalid.payload().set(alarm);
    store.store.add(invalid, nullptr, false, 10, 1, true);
    EXPECT_TRUE(invalid == Event()); // taken by swap
    Message message;
    message.set_name("m");
    message.set_domain("d");
    message.set_time_raised(Timestamp(2L));
    store.store.add_message(message, 10, 0, false);
    store.add("empty", 3, 10, false);
    store.add("!live", 4, 10);
    EXPECT_EQ(store.store.counters(), (EventStore::Counters{1, 2, 1, 3, 1, 4, 1, 1}));

    store.store.set_notify(false);
    store.store.prune(1);
    EXPECT_TRUE(store.evicted.empty());
    EXPECT_EQ(store.store.counters(), (EventStore::Counters{0, 1, 0, 0, 1, 4, 1, 1})); // what came in stays counted
    EXPECT_EQ(store.names(), (Names{"!live"}));
    EXPECT_EQ(store.store.counters(), (EventStore::Counters{0, 1, 0, 0, 1, 1, 0, 0})); // what the listing held
    store.store.clear();
    EXPECT_EQ(store.store.counters(), EventStore::Counters());
}

TEST(Container, FindsAlarmsByAskingEachLiveOneOfTheirTimeInTurn) {
    const auto plan = std::make_shared<fakes::CallPlan>();
    EventStore store;
    std::vector<fakes::AlarmPtr> alarms;
    for (std::uint32_t id = 1; id <= 5; ++id) {
        alarms.push_back(new fakes::FakeAlarm({.raised = file_time(id == 1 ? 1 : 2), .unique_id = id}, plan));
        Event event;
        event.payload().set(Alarm());
        event.set_time_received(Timestamp::from_file_time(file_time(id == 1 ? 1 : 2)));
        store.add(event, id == 3 ? nullptr : alarms.back().get(), true, 100, 0, false);
    }
    const AlarmKey fourth = AlarmKey::of(*alarms[3]);
    const auto asked = plan->count("Alarm.GetUniqueId");
    EXPECT_EQ(store.find_alarm(fourth).pointer(), alarms[3].get());
    EXPECT_EQ(plan->count("Alarm.GetUniqueId") - asked, 2U); // the second and the fourth
    alarms[3]->update([](auto& fields) { fields.raised = file_time(3); });
    EXPECT_FALSE(store.find_alarm(fourth)); // answers with another time now
    EXPECT_FALSE(store.find_alarm(AlarmKey::of(*alarms[3])));
    plan->answer("Alarm.GetTimeRaised", E_FAIL);
    EXPECT_THROW(store.find_alarm(fourth), ZoAtlCom::CAtlException);
}

TEST(Container, LetsGoOfWhatItReleasesAndIgnoresNoPosition) {
    Store store;
    for (const char* name : {"!a", "b", "c"})
        store.add(name, name[0] == '!' ? 1 : 2, 2);
    store.store.release_alarm(store.store.find_pointer(store.alarms[0].get()), 2);
    EXPECT_EQ(store.evicted, (Names{"!a@1"})); // itself, since it lies past the limit
    EXPECT_EQ(store.alarms[0]->references(), 1U);
    store.store.erase_alarm({});
    store.store.release_alarm({}, 2);
    EXPECT_EQ(store.names(), (Names{"b", "c"}));
}

TEST(Container, KeepsCountWhenAnAddFailsOrTheCallbackThrows) {
    Store store;
    store.add("a", 1, 2);
    store.add("b", 2, 2);
    const auto plan = std::make_shared<fakes::CallPlan>();
    const fakes::AlarmPtr mute = new fakes::FakeAlarm({}, plan);
    plan->answer("Alarm.GetEventId", E_FAIL);
    Event event;
    event.set_name("x");
    EXPECT_THROW(store.store.add(event, mute.get(), true, 2, 3, true), ZoAtlCom::CAtlException);
    EXPECT_EQ(store.names(), (Names{"a", "b"}));
    EXPECT_EQ(mute->references(), 1U);

    store.store.set_removal_callback([](long, const Event&) { throw std::runtime_error("callback"); });
    EXPECT_THROW(store.store.prune(0), std::runtime_error); // the first of two is gone
    store.store.set_notify(false);
    store.add("c", 3, 0);
    EXPECT_EQ(store.names(), Names{});
    EXPECT_EQ(store.store.counters().not_live, 0U);
}

} // namespace
