// What the walk of container_property_test.cpp does not come to: failures, and which alarms are asked.
#include "targets/limited_event_container.h"

#include "extension/host/event_payload.h"
#include "extension/host/value.h"
#include "tests/fakes/fake_events.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

namespace {

using namespace ZoHmiSrv;
using fakes::file_time;
using ZoHmiEventLogger::AlarmKey;
using ZoHmiEventLogger::EventStore;

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
    plan->answer("Alarm.GetTimeRaised", E_FAIL);
    EXPECT_THROW(store.find_alarm(fourth), ZoAtlCom::CAtlException);
}

TEST(Container, KeepsCountWhenAnAddFailsOrTheCallbackThrows) {
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

} // namespace
