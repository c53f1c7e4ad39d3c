#pragma once

#include "tests/link/recording_sink.h"
#include "tests/link/scripted_peer.h"

#include <cstdlib>
#include <memory>
#include <string>

#include <gtest/gtest.h>

namespace zo_test {

using namespace ZoEventLoggerFdxProxyLib;
using ZoAtlCom::CComPtr;
using ZoAtlCom::CComQIPtr;

constexpr HRESULT not_connected = hresult(zo_link::code::not_connected);

// The text of an out string, which is freed.
inline std::string take_text(char* text) {
    if (text == nullptr) return "(null)";
    std::uint32_t length = 0;
    std::memcpy(&length, text - sizeof length, sizeof length);
    std::string result(text, length);
    std::free(text - sizeof length);
    return result;
}

// What an operation that gives one value out gives.
template <class Object, class Interface, class T>
T read(const Object& object, HRESULT (Interface::*operation)(T*)) {
    T out{};
    EXPECT_EQ((std::to_address(object)->*operation)(&out), S_OK);
    return out;
}

// The same for a text.
template <class Object, class Interface>
std::string read_text(const Object& object, HRESULT (Interface::*operation)(char**)) {
    return take_text(read(object, operation));
}

// A logger object of the real library against a scripted target.
class ProxyTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(CreateInstance(CLSID_ZoEventLogger, IID_IZoEventLogger, logger.put_void()), S_OK);
    }
    void TearDown() override {
        if (logger && cookie != 0) unadvise();
        logger.release();
    }

    HRESULT connect() { return logger->Connect(net_id); }
    void set_timeout(std::uint32_t milliseconds) {
        CComQIPtr<IZoEventLoggerTimeout> timeout(logger);
        ASSERT_EQ(timeout->SetTimeout(milliseconds), S_OK);
    }
    bool connected() {
        VARIANT_BOOL answer = 5;
        EXPECT_EQ(logger->IsConnected(&answer), S_OK);
        EXPECT_TRUE(answer == VARIANT_TRUE || answer == VARIANT_FALSE);
        return answer == VARIANT_TRUE;
    }

    CComPtr<IConnectionPoint> point() {
        CComQIPtr<IConnectionPointContainer> container(logger);
        CComPtr<IConnectionPoint> found;
        EXPECT_EQ(container->FindConnectionPoint(IID__IZoEventLoggerEvents, found.put()), S_OK);
        return found;
    }
    void advise() { ASSERT_EQ(point()->Advise(&sink, &cookie), S_OK); }
    HRESULT unadvise() { return point()->Unadvise(std::exchange(cookie, 0)); }

    HRESULT logged_events(std::uint32_t count, std::vector<CComPtr<IZoLoggedEvent>>& events) {
        CComPtr<IZoLoggedEventCollection> list;
        return take_list(logger->GetLoggedEvents(count, list.put()), list, events);
    }
    HRESULT active_alarms(std::vector<CComPtr<IZoAlarm>>& alarms) {
        CComPtr<IZoAlarmCollection> list;
        return take_list(logger->GetActiveAlarms(list.put()), list, alarms);
    }
    // The class name of anything in that language.
    HRESULT class_name(std::int32_t language, std::string& text) {
        char* out = nullptr;
        const HRESULT result = CComQIPtr<IZoEventLoggerClassName>(logger)->GetEventClassName(GUID{}, language, &out);
        text = take_text(out);
        return result;
    }
    // Comes back when the target has answered and all callbacks before that have returned.
    HRESULT settle() {
        peer.answer(zo_link::op::get_logged_events, {{"items", nlohmann::json::array()}});
        std::vector<CComPtr<IZoLoggedEvent>> events;
        return logged_events(10, events);
    }

    ScriptedPeer peer;
    RecordingSink sink;
    CComPtr<IZoEventLogger> logger;
    std::uint32_t cookie = 0;

private:
    template <class List, class Item>
    HRESULT take_list(HRESULT result, const List& list, std::vector<CComPtr<Item>>& items) {
        EXPECT_EQ(result < 0, !list);
        if (result < 0) return result;
        std::int32_t count = -1;
        EXPECT_EQ(list->GetCount(&count), S_OK);
        for (std::int32_t i = 0; i < count; ++i)
            EXPECT_EQ(list->GetItem(i, items.emplace_back().put()), S_OK);
        Item* beyond = nullptr;
        EXPECT_EQ(list->GetItem(count, &beyond), E_INVALIDARG);
        EXPECT_EQ(list->GetItem(-1, &beyond), E_INVALIDARG);
        return result;
    }
};

} // namespace zo_test
