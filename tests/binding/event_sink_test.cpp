#include "binding/atl_com.h"
#include "binding/call_gate.h"
#include "binding/event_logger_proxy.h"
#include "platform/logger_proxy/invoke.h"
#include "tests/fakes/callback_thread.h"
#include "tests/fakes/fake_proxy.h"
#include "tests/test_headers.h"

#include <future>

using namespace ZoAtlCom;
using namespace ZoEventLoggerFdxProxyLib;
using namespace std::chrono_literals;
using zo_logger_proxy::number_variant;
using zo_logger_proxy::object_variant;
using ZoAtlCom::CallGate;

namespace {

class Sink : public IDispEventSimpleImpl<0, Sink, &IID__IZoEventLoggerEvents> {
public:
    virtual ~Sink() = default;

    HRESULT OnMessageSent(IZoMessage* message) { return note("message", message, 0); }
    HRESULT OnAlarmRaised(IZoAlarm* alarm) { return note("raised", alarm, 0); }
    HRESULT OnAlarmCleared(IZoAlarm* alarm, VARIANT_BOOL removed) { return note("cleared", alarm, removed); }
    HRESULT OnAlarmConfirmed(IZoAlarm* alarm, VARIANT_BOOL removed) { return note("confirmed", alarm, removed); }
    HRESULT OnDatabaseChanged(tagDatabaseChangeReasonEnum reason) {
        return note("database", nullptr, static_cast<long>(reason));
    }

    std::vector<std::string> calls;
    void* object = nullptr; ///< of the last call
    std::function<void()> inside;

private:
    HRESULT note(const char* name, void* event, long number) {
        calls.push_back(std::string(name) + " " + std::to_string(number));
        object = event;
        if (inside) inside();
        return E_ABORT; // dropped by the caller
    }
};

VARIANT variant(VARTYPE tag, void* pointer = nullptr) {
    VARIANT made{};
    made.vt = tag;
    made.byref = pointer;
    return made;
}

VARIANT number(VARTYPE tag, std::int64_t value) {
    VARIANT made = variant(tag);
    made.llVal = value;
    return made;
}

HRESULT invoke(Sink& sink, std::int32_t id, std::vector<VARIANT> reversed, VARIANT* result = nullptr) {
    return zo_logger_proxy::invoke(sink, id, reversed, result);
}

class EventSink : public testing::Test {
protected:
    EventSink() : alarm(new fakes::FakeAlarm()), message(new fakes::FakeMessage()) {}
    ~EventSink() override {
        EXPECT_EQ(alarm->references(), 1u);
        EXPECT_EQ(message->references(), 1u);
        fakes::FakeProxyLibrary::instance().reset();
    }
    VARIANT the_alarm() { return object_variant(alarm.get()); }

    fakes::AlarmPtr alarm;
    fakes::MessagePtr message;
    Sink sink;
};

} // namespace

TEST_F(EventSink, CallsMethodWithArgumentsInReverse) {
    IZoAlarm* const an_alarm = alarm.get();
    const struct {
        std::int32_t id;
        std::vector<VARIANT> arguments;
        const char* call;
        void* object;
    } rows[] = {
        {2, {object_variant(message.get())}, "message 0", static_cast<IZoMessage*>(message.get())},
        {3, {the_alarm()}, "raised 0", an_alarm},
        {4, {number(VT_BOOL, -1), the_alarm()}, "cleared -1", an_alarm},
        {5, {number(VT_BOOL, -1), the_alarm()}, "confirmed -1", an_alarm},
        // The flag is the low 16 bits of the first argument, whatever its type.
        {5, {number(VT_I4, 0x12340001), variant(VT_UNKNOWN, the_alarm().byref)}, "confirmed 1", an_alarm},
        {10, {number_variant(2)}, "database 2", nullptr},
        // The reason is the low 32 bits, unsigned, of any type.
        {10, {number(VT_BOOL, -1)}, "database 4294967295", nullptr},
        {10, {number(15, 0x700000003)}, "database 3", nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.call);
        sink.calls.clear();
        VARIANT result = number_variant(99);
        EXPECT_EQ(invoke(sink, row.id, row.arguments, &result), S_OK);
        EXPECT_EQ(sink.calls, std::vector<std::string>{row.call});
        EXPECT_EQ(sink.object, row.object);
        // Only the change of the database writes a result.
        EXPECT_EQ(result.vt, row.id == 10 ? VT_UI4 : VT_I4);
        EXPECT_EQ(result.ulVal, row.id == 10 ? 0u : 99u);
    }
}

TEST_F(EventSink, RefusesBadArgumentsWithoutCalling) {
    IDispatch* pointer = alarm.get();
    const VARIANT good = the_alarm();
    const VARIANT flag = number(VT_BOOL, -1);
    const struct {
        const char* name;
        std::int32_t id;
        std::vector<VARIANT> arguments;
        HRESULT code;
    } rows[] = {
        {"no argument", 2, {}, E_INVALIDARG},
        {"two for one", 3, {good, good}, E_INVALIDARG},
        {"one for two", 4, {good}, E_INVALIDARG},
        {"no reason", 10, {}, E_INVALIDARG},
        {"two reasons", 10, {flag, flag}, E_INVALIDARG},
        {"a number", 3, {number_variant(1)}, E_NOINTERFACE},
        {"by reference", 3, {variant(VT_BYREF | VT_DISPATCH, &pointer)}, E_NOINTERFACE},
        {"forward order", 4, {good, flag}, E_NOINTERFACE},
        {"null object", 3, {variant(VT_DISPATCH)}, E_POINTER},
        {"bad tag with flag", 4, {flag, variant(0x1009, pointer)}, DISP_E_BADVARTYPE},
        {"record", 2, {variant(VT_RECORD)}, E_NOTIMPL},
        {"alarm for message", 2, {good}, E_NOINTERFACE},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        VARIANT result = number_variant(99);
        EXPECT_EQ(invoke(sink, row.id, row.arguments, &result), row.code);
        EXPECT_EQ(result.vt, VT_I4);
    }
    // Numbers of other events are ignored, whatever the arguments.
    for (const std::int32_t id : {-1, 0, 1, 2, 3, 4, 5, 6, 9, 10, 11}) {
        const bool known = (id >= 2 && id <= 5) || id == 10;
        DISPPARAMS no_array{nullptr, nullptr, id == 4 || id == 5 ? 2u : 1u, 0};
        for (DISPPARAMS* arguments : {&no_array, static_cast<DISPPARAMS*>(nullptr)})
            EXPECT_EQ(sink.Invoke(id, GUID{}, 0, 1, arguments, nullptr, nullptr, nullptr), known ? E_INVALIDARG : S_OK);
        if (!known) {
            EXPECT_EQ(invoke(sink, id, {good}), S_OK) << id;
        }
    }
    EXPECT_TRUE(sink.calls.empty());
}

TEST_F(EventSink, ExceptionsBecomeCodes) {
    const std::pair<std::function<void()>, HRESULT> rows[] = {
        {[] { throw CAtlException(hresult(0x98110705)); }, hresult(0x98110705)},
        {[] { throw std::bad_alloc(); }, E_OUTOFMEMORY},
        {[] { throw std::runtime_error("text"); }, E_FAIL},
        {[] { throw 42; }, E_FAIL},
    };
    for (const auto& [throws, code] : rows) {
        sink.inside = throws;
        VARIANT result = number_variant(99);
        EXPECT_EQ(invoke(sink, 3, {the_alarm()}), code);
        EXPECT_EQ(invoke(sink, 4, {number(VT_BOOL, 0), the_alarm()}), code);
        EXPECT_EQ(invoke(sink, 10, {number_variant(1)}, &result), code);
        EXPECT_EQ(result.vt, VT_I4);
    }
    sink.wait_until_idle(); // blocks if a throwing call is still counted
}

namespace {

/// A sink whose entries have no function information.
class AskingSink : public IDispEventSimpleImpl<0, AskingSink, &IID__IZoEventLoggerEvents> {
public:
    HRESULT GetFuncInfoFromId(const GUID& iid, std::int32_t id, std::uint32_t, FunctionInfo&) override {
        asked = iid == IID__IZoEventLoggerEvents ? id : -1;
        return answer;
    }
    static std::span<const SinkEntry<AskingSink>> sink_entries() {
        static constexpr SinkEntry<AskingSink> entries[] = {
            {&IID_IZoAlarm, 3, [](AskingSink&, VARIANT*, VARIANT*, std::uint32_t) { return E_UNEXPECTED; }, nullptr},
            {&IID__IZoEventLoggerEvents, 3, [](AskingSink&, VARIANT*, VARIANT*, std::uint32_t) { return E_ABORT; },
             nullptr}};
        return entries;
    }
    std::int32_t asked = 0;
    HRESULT answer = E_NOTIMPL;
};

} // namespace

TEST_F(EventSink, FetchesMissingFunctionInformation) {
    AskingSink asking;
    EXPECT_EQ(asking.Invoke(3, GUID{}, 0, 1, nullptr, nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(asking.asked, 3);
    asking.answer = S_OK;
    EXPECT_EQ(asking.Invoke(3, GUID{}, 0, 1, nullptr, nullptr, nullptr, nullptr), E_ABORT);
}

TEST_F(EventSink, AnswersToItsInterfacesUncounted) {
    for (const GUID& iid : {IID_IUnknown, IID_IDispatch, IID__IZoEventLoggerEvents}) {
        void* out = nullptr;
        EXPECT_EQ(sink.QueryInterface(iid, &out), S_OK);
        EXPECT_EQ(out, static_cast<IDispatch*>(&sink));
    }
    void* out = &sink;
    EXPECT_EQ(sink.QueryInterface(IID_IZoAlarm, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(sink.QueryInterface(IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(sink.AddRef(), 1u);
    EXPECT_EQ(sink.Release(), 1u);
}

TEST_F(EventSink, FailedSubscriptionKeepsCookie) {
    const fakes::LoggerPtr logger(new fakes::FakeLogger());
    IZoEventLogger* const source = logger.get();
    logger->has_connection_points = false;
    EXPECT_EQ(sink.DispEventAdvise(source), E_NOINTERFACE);
    logger->has_connection_points = true;
    for (const char* call : {"FindConnectionPoint", "Advise"}) {
        logger->plan->answer(call, E_ACCESSDENIED, 1);
        EXPECT_EQ(sink.DispEventAdvise(source), E_ACCESSDENIED) << call;
    }
    logger->plan->answer("FindConnectionPoint", S_OK, 1); // success with null
    EXPECT_EQ(sink.DispEventAdvise(source), E_POINTER);
    EXPECT_EQ(sink.DispEventAdvise(nullptr), E_POINTER);
    EXPECT_EQ(sink.event_cookie, 0xFEFEFEFE);
    EXPECT_EQ(logger->references(), 1u);
}

TEST_F(EventSink, MayBeDestroyedInsideItsOwnCall) {
    auto owned = std::make_unique<Sink>();
    Sink* const raw = owned.get();
    // The function object is outside the sink, so that its frame does not need the sink afterwards.
    auto die = [&owned] {
        owned->wait_until_idle();
        owned.reset();
    };
    raw->inside = std::ref(die);
    EXPECT_EQ(invoke(*raw, 3, {the_alarm()}), S_OK);
    EXPECT_EQ(owned, nullptr);
}

TEST(CallGate, WaitsForOutermostLeaveOfOtherThread) {
    CallGate gate;
    fakes::CallbackThread caller;
    const auto call = [&](auto step) {
        caller.post(step);
        caller.drain();
    };
    const auto enter = [&] { gate.enter(); };
    const auto leave = [&] { gate.leave(); };
    call(enter);
    gate.enter();
    gate.wait_until_idle(); // returns, although this thread and another are inside
    gate.leave();
    call(enter);
    auto waiting = std::async(std::launch::async, [&] { gate.wait_until_idle(); });
    EXPECT_EQ(waiting.wait_for(50ms), std::future_status::timeout);
    call(leave);
    EXPECT_EQ(waiting.wait_for(50ms), std::future_status::timeout);
    call(leave);
    EXPECT_EQ(waiting.wait_for(10s), std::future_status::ready);
}

TEST(CallGate, IsEmptyWhenTheWaitEnds) {
    for (int round = 0; round < 50; ++round) {
        CallGate gate;
        std::atomic<int> inside = 0, entered = 0;
        std::vector<std::thread> callers;
        for (int i = 0; i < 4; ++i)
            callers.emplace_back([&] {
                gate.enter();
                ++inside;
                ++entered;
                std::this_thread::yield();
                --inside;
                gate.leave();
            });
        while (entered < 4)
            std::this_thread::yield();
        gate.wait_until_idle();
        EXPECT_EQ(inside, 0);
        for (std::thread& caller : callers)
            caller.join();
    }
}

TEST(CallGate, RunsDeferredWorkAfterOutermostGate) {
    CallGate outer, inner;
    std::vector<int> ran;
    CallGate::run_outside([&] { ran.push_back(0); });
    EXPECT_EQ(ran, std::vector{0}); // this thread is outside
    outer.enter();
    inner.enter();
    CallGate::run_outside([&] { ran.push_back(1); });
    CallGate::run_outside([] { throw 42; }); // stops neither the thread nor the next work
    CallGate::run_outside([&] {
        outer.wait_until_idle(); // this thread counts as outside by now
        ran.push_back(2);
    });
    std::thread([&] { CallGate::run_outside([&] { ran.push_back(3); }); }).join();
    EXPECT_EQ(ran, (std::vector{0, 3}));
    inner.leave();
    EXPECT_EQ(ran, (std::vector{0, 3}));
    outer.leave();
    EXPECT_EQ(ran, (std::vector{0, 3, 1, 2}));
}
