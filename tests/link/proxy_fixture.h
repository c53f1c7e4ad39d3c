#pragma once

#include "binding/com_ptr.h"
#include "binding/event_logger_proxy.h"
#include "tests/link/scripted_peer.h"
#include "tests/support/gate.h"

#include <cstdlib>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace zo_test {

using namespace ZoEventLoggerFdxProxyLib;
using ZoAtlCom::CComPtr;
using ZoAtlCom::CComQIPtr;

constexpr HRESULT not_connected = hresult(zo_link::code::not_connected);

/// Returns the text of an out string, and frees the string.
inline std::string take_text(char* text) {
    if (text == nullptr) return "(null)";
    std::uint32_t length = 0;
    std::memcpy(&length, text - sizeof length, sizeof length);
    std::string result(text, length);
    std::free(text - sizeof length);
    return result;
}

/// Returns the out value of an operation.
template <class Object, class Interface, class T>
T read(const Object& object, HRESULT (Interface::*operation)(T*)) {
    T out{};
    EXPECT_EQ((std::to_address(object)->*operation)(&out), S_OK);
    return out;
}

/// Returns the out text of an operation.
template <class Object, class Interface>
std::string read_text(const Object& object, HRESULT (Interface::*operation)(char**)) {
    return take_text(read(object, operation));
}

/// A sink that records its calls. It counts no references, like the sink of the product.
class RecordingSink : public _IZoEventLoggerEvents {
public:
    virtual ~RecordingSink() = default;

    /// Runs inside each call, before it is counted; gets the object argument.
    std::function<void(std::int32_t id, IDispatch* object)> inside;

    HRESULT QueryInterface(const GUID& iid, void** out) override {
        *out = iid == IID__IZoEventLoggerEvents ? this : nullptr;
        return *out != nullptr ? S_OK : E_NOINTERFACE;
    }
    std::uint32_t AddRef() override { return 1; }
    std::uint32_t Release() override { return 1; }
    HRESULT Invoke(std::int32_t id, const GUID&, std::uint32_t, std::uint16_t, DISPPARAMS* arguments, VARIANT*,
                   EXCEPINFO*, std::uint32_t*) override {
        std::string call = std::to_string(id);
        IDispatch* object = nullptr;
        for (std::uint32_t i = arguments->cArgs; i-- > 0;) {
            const VARIANT& value = arguments->rgvarg[i];
            if (value.vt == VT_DISPATCH) {
                object = value.pdispVal;
                std::uint32_t event_id = 0;
                static_cast<IZoEvent*>(object)->GetEventId(&event_id);
                call += " event " + std::to_string(event_id);
            }
            if (value.vt == VT_BOOL) call += " removed " + std::to_string(value.boolVal);
            if (value.vt == VT_I4) call += " reason " + std::to_string(value.lVal);
        }
        if (inside) inside(id, object);
        const std::lock_guard lock(mutex_);
        calls_.push_back(std::move(call));
        return S_OK;
    }

    /// "4 event 7 removed -1" or "10 reason 2": the number of the event and the arguments in their order.
    std::vector<std::string> calls() const {
        const std::lock_guard lock(mutex_);
        return calls_;
    }
    std::size_t count() const { return calls().size(); }

private:
    mutable std::mutex mutex_;
    std::vector<std::string> calls_;
};

/// A logger object of the real library against a scripted target.
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
    /// Returns the class name of any class in that language.
    HRESULT class_name(std::int32_t language, std::string& text) {
        char* out = nullptr;
        const HRESULT result = CComQIPtr<IZoEventLoggerClassName>(logger)->GetEventClassName(GUID{}, language, &out);
        EXPECT_EQ(result < 0, out == nullptr);
        text = take_text(out);
        return result;
    }
    /// Sends a request of this operation, of three events for a list.
    HRESULT call(std::string_view operation) {
        std::vector<CComPtr<IZoLoggedEvent>> events;
        std::vector<CComPtr<IZoAlarm>> alarms;
        CComPtr<IZoDetailCollection> details;
        std::string text;
        if (operation == zo_link::op::get_logged_events) return logged_events(3, events);
        if (operation == zo_link::op::get_active_alarms) return active_alarms(alarms);
        if (operation == zo_link::op::class_name) return class_name(0, text);
        return CComQIPtr<IZoEventLogger5>(logger)->GetDetails(GUID{}, 0, 0, details.put());
    }
    /// Returns after the target has answered and all callbacks before that have returned.
    HRESULT settle() {
        peer.answer(zo_link::op::get_logged_events, {{"items", nlohmann::json::array()}});
        return call(zo_link::op::get_logged_events);
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
