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
        CComPtr<IZoAlarm> copy(alarm.get());
        CComPtr<IZoAlarm> second = copy;
        CComPtr<IZoAlarm> moved = std::move(second);
        copy = *&copy; // itself
        EXPECT_EQ(alarm->references(), 3u);
        moved = nullptr;
        EXPECT_EQ(alarm->references(), 2u);
        moved.attach(copy.detach());
        EXPECT_EQ(alarm->references(), 2u);
        *moved.put() = nullptr; // an out argument lets go first
        EXPECT_EQ(alarm->references(), 1u);
    }
    EXPECT_EQ(fakes::live_objects(), live);
}

TEST(ComPtr, QueriesForItsInterfaceOnAssignment) {
    const fakes::AlarmPtr alarm(new fakes::FakeAlarm({.unique_id = 5}));
    const fakes::MessagePtr message(new fakes::FakeMessage());
    const CComPtr<IZoAlarm> object(alarm.get());
    CComQIPtr<IZoEventIdentity> identity(object);
    ASSERT_TRUE(identity);
    std::uint32_t id = 0;
    EXPECT_EQ(identity->GetUniqueId(&id), S_OK);
    EXPECT_EQ(id, 5u);
    EXPECT_EQ(alarm->references(), 3u);
    identity = CComPtr<IZoMessage>(message.get());
    EXPECT_FALSE(identity);               // the object lacks it,
    EXPECT_EQ(alarm->references(), 2u);   // and the old reference is gone
    EXPECT_EQ(message->references(), 1u); // as is the one to ask with
    EXPECT_EQ(identity.query(nullptr), E_POINTER);
    EXPECT_EQ(identity.query(static_cast<IZoMessage*>(message.get())), E_NOINTERFACE);
}
