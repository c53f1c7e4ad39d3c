#pragma once

#include "binding/atl_com.h"
#include "binding/event_logger_proxy.h"
#include "tests/fakes/com_object.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>
#include <vector>

// A proxy library for benchmarks: its loggers and events answer at once and keep no record, so that what is measured is
// the product's own work.
namespace plain {

/// The file time of nanoseconds since 1970.
constexpr std::int64_t file_time(std::int64_t nanoseconds) {
    return 116444736000000000 + nanoseconds / 100;
}

/// In what the events differ; everything else is the same: a class, a named source, a JSON attribute, two arguments.
struct EventFields {
    std::int64_t raised = 0; ///< nanoseconds since 1970, like the next one
    std::int64_t cleared = 0;
    std::uint32_t unique_id = 0;
    std::int32_t type = ZoEventLoggerFdxProxyLib::EventTypeAlarm;
};

inline constexpr GUID event_class{0x08500001, 0x1234, 0x5678, {0xF0, 0, 0, 0, 0, 0, 0, 0x64}};
inline constexpr GUID source_guid{0x0A0B0C0D, 0x4321, 0x8765, {0xA0, 1, 2, 3, 4, 5, 6, 7}};
/// Two arguments: a type code of 4 bytes and a value of 8 for each.
inline constexpr std::array<std::uint8_t, 24> argument_block{4, 0, 0, 0, 5, 0, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 9, 9};

/// What logged events, alarms and messages share.
template <class Interface>
class PlainEvent : public fakes::ComObject<fakes::Dispatch<Interface>, ZoEventLoggerFdxProxyLib::IZoEventIdentity> {
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
    HRESULT GetArguments(ZoEventLoggerFdxProxyLib::ArgumentDescriptor* out) override {
        return give({2, 0, 8, 8, 16}, out);
    }
    HRESULT GetArgumentData(std::uint8_t** block, std::uint32_t size) override {
        std::memcpy(*block, argument_block.data(), std::min<std::size_t>(size, argument_block.size()));
        return S_OK;
    }
    HRESULT GetJsonAttribute(char** out) override { return fakes::hand_out(R"({"line": 3, "unit": "filler"})", out); }
    HRESULT GetUniqueId(std::uint32_t* out) override { return give(fields_.unique_id, out); }

protected:
    ~PlainEvent() = default;
    void* find(const GUID& iid) override {
        if (iid == ZoEventLoggerFdxProxyLib::IID_IZoEventIdentity) {
            return static_cast<ZoEventLoggerFdxProxyLib::IZoEventIdentity*>(this);
        }
        return static_cast<Interface*>(this);
    }
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
};

class PlainLoggedEvent final : public PlainEvent<ZoEventLoggerFdxProxyLib::IZoLoggedEvent2> {
public:
    using PlainEvent::PlainEvent;
    HRESULT GetTimeCleared(std::int64_t* out) override { return give_time(fields_.cleared, out); }
    HRESULT GetWithConfirmation(VARIANT_BOOL* out) override { return give(VARIANT_FALSE, out); }
    HRESULT GetTimeConfirmed(std::int64_t* out) override { return give(0, out); }
    HRESULT GetIsActive(VARIANT_BOOL* out) override { return give(VARIANT_FALSE, out); }
};

class PlainAlarm final : public PlainEvent<ZoEventLoggerFdxProxyLib::IZoAlarmJson> {
public:
    using PlainEvent::PlainEvent;
    HRESULT GetIsRaised(VARIANT_BOOL* out) override { return give(VARIANT_TRUE, out); }
    HRESULT GetTimeCleared(std::int64_t* out) override { return give_time(fields_.cleared, out); }
    HRESULT GetConfirmationState(std::int32_t* out) override { return give(1, out); }
    HRESULT Confirm() override { return S_OK; }
    HRESULT GetTimeConfirmed(std::int64_t* out) override { return give(0, out); }
};

class PlainMessage final : public PlainEvent<ZoEventLoggerFdxProxyLib::IZoMessageJson> {
public:
    using PlainEvent::PlainEvent;
};

using LoggedEventPtr = ZoAtlCom::CComPtr<PlainLoggedEvent>;
using AlarmPtr = ZoAtlCom::CComPtr<PlainAlarm>;
using MessagePtr = ZoAtlCom::CComPtr<PlainMessage>;

/// A snapshot of items, made anew for each reader.
template <class Collection, class Interface, class Item>
class PlainCollection final : public fakes::ComObject<fakes::Dispatch<Collection>> {
public:
    explicit PlainCollection(const std::vector<ZoAtlCom::CComPtr<Item>>& items) : items_(items) {}
    HRESULT GetItem(std::int32_t index, Interface** out) override {
        *out = ZoAtlCom::CComPtr<Interface>(items_[static_cast<std::size_t>(index)].get()).detach();
        return S_OK;
    }
    HRESULT GetCount(std::int32_t* out) override {
        *out = static_cast<std::int32_t>(items_.size());
        return S_OK;
    }

protected:
    void* find(const GUID&) override { return static_cast<Collection*>(this); }

private:
    const std::vector<ZoAtlCom::CComPtr<Item>> items_;
};

using LoggerInterfaces =
    fakes::ComObject<fakes::Dispatch<ZoEventLoggerFdxProxyLib::IZoEventLogger5>,
                     ZoEventLoggerFdxProxyLib::IZoEventLoggerTimeout,
                     ZoEventLoggerFdxProxyLib::IConnectionPointContainer, ZoEventLoggerFdxProxyLib::IConnectionPoint,
                     fakes::Dispatch<ZoEventLoggerFdxProxyLib::IZoEventLoggerClassName>,
                     fakes::Dispatch<ZoEventLoggerFdxProxyLib::IZoEventLoggerSourceName>>;

/// A logger without active alarms. One sink at a time; texts are the same for every question.
class PlainLogger final : public LoggerInterfaces {
public:
    explicit PlainLogger(std::vector<LoggedEventPtr> logged = {}) : history(std::move(logged)) {}

    /// Given out by GetLoggedEvents, whatever count is asked for.
    std::vector<LoggedEventPtr> history;
    /// Sent to the sink inside GetLoggedEvents, so while an import fetches.
    std::vector<MessagePtr> messages_meanwhile;
    std::vector<AlarmPtr> alarms_meanwhile;

    /// Calls of the sink on this thread.
    HRESULT send(const MessagePtr& message) { return invoke(Events::OnMessageSent, message.get()); }
    HRESULT raise(const AlarmPtr& alarm) { return invoke(Events::OnAlarmRaised, alarm.get()); }
    HRESULT clear(const AlarmPtr& alarm, VARIANT_BOOL removed) {
        return invoke(Events::OnAlarmCleared, alarm.get(), &removed);
    }

    HRESULT Connect(const char*) override { return set_connected(true); }
    HRESULT Disconnect() override { return set_connected(false); }
    HRESULT IsConnected(VARIANT_BOOL* out) override {
        *out = connected_ ? VARIANT_TRUE : VARIANT_FALSE;
        return S_OK;
    }
    HRESULT GetActiveAlarms(ZoEventLoggerFdxProxyLib::IZoAlarmCollection** out) override;
    HRESULT GetLoggedEvents(std::uint32_t, ZoEventLoggerFdxProxyLib::IZoLoggedEventCollection** out) override;
    HRESULT ClearLoggedEvents() override { return S_OK; }
    HRESULT GetText(const GUID&, std::uint32_t, std::int32_t, const ZoEventLoggerFdxProxyLib::ArgumentDescriptor*,
                    const std::uint8_t*, char** out) override {
        return fakes::hand_out("The level of tank 3 is too low: 12.5 cm", out);
    }
    HRESULT ConnectWithSettings(ZoEventLoggerFdxProxyLib::IZoConnectionSettings*, const char*) override {
        return set_connected(true);
    }
    HRESULT GetCausesAndRemedies(const GUID&, std::uint32_t, std::int32_t,
                                 ZoEventLoggerFdxProxyLib::IZoCauseRemedyCollection** out) override;
    HRESULT GetDetails(const GUID&, std::uint32_t, std::int32_t,
                       ZoEventLoggerFdxProxyLib::IZoDetailCollection** out) override;
    HRESULT GetEventClassName(const GUID&, std::int32_t, char** out) override {
        return fakes::hand_out("Filling level", out);
    }
    HRESULT GetSourceNameText(std::int32_t, const GUID&, const char*, char** out) override {
        return fakes::hand_out("Axis 3 of the filler", out);
    }
    HRESULT SetTimeout(std::uint32_t) override { return S_OK; }
    HRESULT FindConnectionPoint(const GUID&, ZoEventLoggerFdxProxyLib::IConnectionPoint** out) override {
        *out = this;
        AddRef();
        return S_OK;
    }
    HRESULT Advise(IUnknown* sink, std::uint32_t* cookie) override;
    HRESULT Unadvise(std::uint32_t) override {
        sink_ = nullptr;
        return S_OK;
    }

protected:
    void* find(const GUID& iid) override;

private:
    using Events = ZoEventLoggerFdxProxyLib::_IZoEventLoggerEvents;

    HRESULT invoke(std::int32_t dispatch_id, IDispatch* object, const VARIANT_BOOL* flag = nullptr);
    HRESULT set_connected(bool connected) {
        connected_ = connected;
        return S_OK;
    }

    std::atomic<bool> connected_ = false;
    IDispatch* sink_ = nullptr;
};

using LoggerPtr = ZoAtlCom::CComPtr<PlainLogger>;

/// Lets that many loggers be created, each with this history, and no more.
void prepare_loggers(int count, std::vector<LoggedEventPtr> history);
/// The logger that was created last.
LoggerPtr& latest_logger();

} // namespace plain
