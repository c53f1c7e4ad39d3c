#pragma once

#include "binding/atl_com.h"
#include "binding/event_logger_proxy.h"
#include "platform/logger_proxy/invoke.h"
#include "tests/fakes/com_object.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>
#include <vector>

/// A proxy library for benchmarks: its loggers and events answer at once and record nothing, so that a benchmark
/// measures the product's own work.
namespace plain {

using namespace ZoEventLoggerFdxProxyLib;

/// The file time of nanoseconds since 1970.
constexpr std::int64_t file_time(std::int64_t nanoseconds) {
    return 116444736000000000 + nanoseconds / 100;
}

/// The differences of events. The rest is the same: a class, a named source, a JSON attribute, two arguments.
struct EventFields {
    std::int64_t raised = 0; ///< nanoseconds since 1970, like the next one
    std::int64_t cleared = 0;
    std::uint32_t unique_id = 0;
    std::int32_t type = EventTypeAlarm;
};

inline constexpr GUID event_class{0x08500001, 0x1234, 0x5678, {0xF0, 0, 0, 0, 0, 0, 0, 0x64}};
inline constexpr GUID source_guid{0x0A0B0C0D, 0x4321, 0x8765, {0xA0, 1, 2, 3, 4, 5, 6, 7}};
/// Two arguments: a type code of 4 bytes and a value of 8 for each.
inline constexpr std::array<std::uint8_t, 24> argument_block{4, 0, 0, 0, 5, 0, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 9, 9};

/// The operations that logged events, alarms and messages share.
template <class Interface>
class PlainEvent : public fakes::ComObject<Interface, IZoEventIdentity> {
public:
    explicit PlainEvent(EventFields fields) : fields_(fields) {}

    HRESULT GetEventClass(GUID* out) override { return give(event_class, out); }
    HRESULT GetEventId(std::uint32_t* out) override { return give(fields_.unique_id % 100, out); }
    HRESULT GetSeverity(std::uint32_t* out) override { return give(2, out); }
    HRESULT GetEventType(std::int32_t* out) override { return give(fields_.type, out); }
    HRESULT HasSourceField(std::uint32_t, VARIANT_BOOL* out) override { return give(VARIANT_TRUE, out); }
    HRESULT GetSourceId(std::uint32_t* out) override { return give(7, out); }
    HRESULT GetSourceGuid(GUID* out) override { return give(source_guid, out); }
    HRESULT GetSourceName(char** out) override { return fakes::hand_out("Main.Filler.Axis[3]", out); }
    HRESULT GetTimeRaised(std::int64_t* out) override { return give(file_time(fields_.raised), out); }
    HRESULT GetArguments(ArgumentDescriptor* out) override { return give({2, 0, 8, 8, 16}, out); }
    HRESULT GetArgumentData(std::uint8_t** block, std::uint32_t size) override {
        std::memcpy(*block, argument_block.data(), std::min<std::size_t>(size, argument_block.size()));
        return S_OK;
    }
    HRESULT GetJsonAttribute(char** out) override { return fakes::hand_out(R"({"line": 3, "unit": "filler"})", out); }
    HRESULT GetUniqueId(std::uint32_t* out) override { return give(fields_.unique_id, out); }

protected:
    ~PlainEvent() = default;
    template <class T>
    static HRESULT give(std::type_identity_t<T> value, T* out) {
        *out = value;
        return S_OK;
    }
    /// 0 stays 0.
    static HRESULT give_time(std::int64_t nanoseconds, std::int64_t* out) {
        return give(nanoseconds == 0 ? 0 : file_time(nanoseconds), out);
    }

    const EventFields fields_;

private:
    void* find_interface(const GUID& iid) override {
        if (iid == IID_IZoEventIdentity) return static_cast<IZoEventIdentity*>(this);
        return static_cast<Interface*>(this);
    }
};

class PlainLoggedEvent final : public PlainEvent<IZoLoggedEvent2> {
public:
    using PlainEvent::PlainEvent;
    HRESULT GetTimeCleared(std::int64_t* out) override { return give_time(fields_.cleared, out); }
    HRESULT GetWithConfirmation(VARIANT_BOOL* out) override { return give(VARIANT_FALSE, out); }
    HRESULT GetTimeConfirmed(std::int64_t* out) override { return give(0, out); }
    HRESULT GetIsActive(VARIANT_BOOL* out) override { return give(VARIANT_FALSE, out); }
};

class PlainAlarm final : public PlainEvent<IZoAlarmJson> {
public:
    using PlainEvent::PlainEvent;
    HRESULT GetIsRaised(VARIANT_BOOL* out) override { return give(VARIANT_TRUE, out); }
    HRESULT GetTimeCleared(std::int64_t* out) override { return give_time(fields_.cleared, out); }
    HRESULT GetConfirmationState(std::int32_t* out) override { return give(1, out); }
    HRESULT Confirm() override { return S_OK; }
    HRESULT GetTimeConfirmed(std::int64_t* out) override { return give(0, out); }
};

class PlainMessage final : public PlainEvent<IZoMessageJson> {
public:
    using PlainEvent::PlainEvent;
};

using LoggedEventPtr = ZoAtlCom::CComPtr<PlainLoggedEvent>;
using AlarmPtr = ZoAtlCom::CComPtr<PlainAlarm>;
using MessagePtr = ZoAtlCom::CComPtr<PlainMessage>;

using LoggerInterfaces = fakes::ComObject<IZoEventLogger5, IZoEventLoggerTimeout, IConnectionPointContainer,
                                          IConnectionPoint, IZoEventLoggerClassName, IZoEventLoggerSourceName>;

/// A logger without active alarms. One sink at a time; all questions get the same texts.
class PlainLogger final : public LoggerInterfaces {
public:
    explicit PlainLogger(std::vector<LoggedEventPtr> logged = {}) : history(std::move(logged)) {}

    /// The answer of GetLoggedEvents for every count.
    std::vector<LoggedEventPtr> history;
    /// Sent to the sink inside GetLoggedEvents, so during an import.
    std::vector<MessagePtr> messages_meanwhile;
    std::vector<AlarmPtr> alarms_meanwhile;

    /// Calls of the sink on this thread.
    HRESULT send(const MessagePtr& message) { return call(Events::OnMessageSent, message.get()); }
    HRESULT raise(const AlarmPtr& alarm) { return call(Events::OnAlarmRaised, alarm.get()); }
    HRESULT clear(const AlarmPtr& alarm, VARIANT_BOOL removed) {
        VARIANT reversed[] = {zo_logger_proxy::flag_variant(removed), zo_logger_proxy::object_variant(alarm.get())};
        return zo_logger_proxy::invoke(*sink_, Events::OnAlarmCleared, reversed);
    }

    HRESULT Connect(const char*) override { return set_connected(true); }
    HRESULT Disconnect() override { return set_connected(false); }
    HRESULT IsConnected(VARIANT_BOOL* out) override {
        *out = connected_ ? VARIANT_TRUE : VARIANT_FALSE;
        return S_OK;
    }
    HRESULT GetActiveAlarms(IZoAlarmCollection** out) override;
    HRESULT GetLoggedEvents(std::uint32_t, IZoLoggedEventCollection** out) override;
    HRESULT ClearLoggedEvents() override { return S_OK; }
    HRESULT GetText(const GUID&, std::uint32_t, std::int32_t, const ArgumentDescriptor*, const std::uint8_t*,
                    char** out) override {
        return fakes::hand_out("The level of tank 3 is too low: 12.5 cm", out);
    }
    HRESULT ConnectWithSettings(IZoConnectionSettings*, const char*) override { return set_connected(true); }
    HRESULT GetCausesAndRemedies(const GUID&, std::uint32_t, std::int32_t, IZoCauseRemedyCollection** out) override;
    HRESULT GetDetails(const GUID&, std::uint32_t, std::int32_t, IZoDetailCollection** out) override;
    HRESULT GetEventClassName(const GUID&, std::int32_t, char** out) override {
        return fakes::hand_out("Filling level", out);
    }
    HRESULT GetSourceNameText(std::int32_t, const GUID&, const char*, char** out) override {
        return fakes::hand_out("Axis 3 of the filler", out);
    }
    HRESULT SetTimeout(std::uint32_t) override { return S_OK; }
    HRESULT FindConnectionPoint(const GUID&, IConnectionPoint** out) override {
        *out = this;
        AddRef();
        return S_OK;
    }
    HRESULT Advise(IUnknown* sink, std::uint32_t* cookie) override;
    HRESULT Unadvise(std::uint32_t) override {
        sink_ = nullptr;
        return S_OK;
    }

private:
    using Events = _IZoEventLoggerEvents;

    void* find_interface(const GUID& iid) override;
    HRESULT call(std::int32_t id, IDispatch* object) {
        VARIANT variant = zo_logger_proxy::object_variant(object);
        return zo_logger_proxy::invoke(*sink_, id, {&variant, 1});
    }
    HRESULT set_connected(bool connected) {
        connected_ = connected;
        return S_OK;
    }

    std::atomic<bool> connected_ = false;
    IDispatch* sink_ = nullptr;
};

using LoggerPtr = ZoAtlCom::CComPtr<PlainLogger>;

/// Allows the creation of that many loggers with this history.
void prepare_loggers(int count, std::vector<LoggedEventPtr> history);
/// Returns the logger that was created last.
LoggerPtr& latest_logger();

} // namespace plain
