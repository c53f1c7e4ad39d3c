#include "binding/com_ptr.h"
#include "tests/fakes/fake_events.h"

#include <gtest/gtest.h>
#include <utility>

using namespace ZoAtlCom;
using namespace ZoEventLoggerFdxProxyLib;

TEST(ComPtr, HoldsOneReferenceForEachPointer) {
    const int live = fakes::live_objects();
    {
        fakes::AlarmPtr alarm(new fakes::FakeAlarm());
        EXPECT_EQ(alarm->references(), 1u);
        CComPtr<IZoAlarm> copy(alarm.get());
        CComPtr<IZoAlarm> second = copy;
        EXPECT_EQ(alarm->references(), 3u);
        CComPtr<IZoAlarm> moved = std::move(second);
        EXPECT_EQ(alarm->references(), 3u);
        copy = *&copy; // itself
        EXPECT_EQ(alarm->references(), 3u);
        moved = nullptr;
        EXPECT_EQ(alarm->references(), 2u);
        IZoAlarm* raw = copy.detach();
        EXPECT_EQ(alarm->references(), 2u);
        moved.attach(raw);
        EXPECT_EQ(alarm->references(), 2u);
        *moved.put() = nullptr; // an out argument lets go first
        EXPECT_EQ(alarm->references(), 1u);
    }
    EXPECT_EQ(fakes::live_objects(), live);
}

TEST(ComPtr, QueriesForItsInterfaceOnAssignment) {
    const int live = fakes::live_objects();
    {
        const fakes::AlarmPtr alarm(new fakes::FakeAlarm({.unique_id = 5}));
        const fakes::MessagePtr message(new fakes::FakeMessage());
        const CComPtr<IZoAlarm> object(alarm.get());

        CComQIPtr<IZoEventIdentity> identity(object);
        ASSERT_TRUE(identity);
        std::uint32_t id = 0;
        EXPECT_EQ(identity->GetUniqueId(&id), S_OK);
        EXPECT_EQ(id, 5u);
        EXPECT_EQ(alarm->references(), 3u);

        // The object lacks it: null, and the old reference is gone.
        identity = CComPtr<IZoMessage>(message.get());
        EXPECT_FALSE(identity);
        EXPECT_EQ(alarm->references(), 2u);
        EXPECT_EQ(identity.query(nullptr), E_POINTER);
        EXPECT_EQ(identity.query(static_cast<IZoMessage*>(message.get())), E_NOINTERFACE);

        CComQIPtr<IZoAlarmJson> json(object);
        EXPECT_FALSE(json);
        alarm->update([](fakes::EventFields& fields) { fields.json = "{}"; });
        json = object;
        EXPECT_TRUE(json);
        // The same interface is taken over without a query.
        CComQIPtr<IZoAlarm> same(object);
        EXPECT_EQ(same, object);
    }
    EXPECT_EQ(fakes::live_objects(), live);
}
