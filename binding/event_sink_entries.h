#pragma once

#include "binding/com_ptr.h"
#include "binding/connection_points.h"
#include "binding/error.h"
#include "binding/event_objects.h"
#include "binding/variant.h"

#include <array>
#include <cstdint>
#include <memory>
#include <new>
#include <span>

namespace ZoAtlCom {

class CallGate;

/// The signature of an event: calling convention, return type, parameter types in the order of declaration.
struct FunctionInfo {
    std::uint32_t calling_convention = 0;
    VARTYPE return_type = VT_EMPTY;
    std::uint16_t parameter_count = 0;
    std::array<VARTYPE, 2> parameter_types{};
};

/// One event of a sink. `result` may be null; the arguments are in reverse order.
template <class T>
struct SinkEntry {
    const GUID* event_interface;
    std::int32_t dispatch_id;
    HRESULT (*method)(T& sink, VARIANT* result, VARIANT* arguments, std::uint32_t count);
    const FunctionInfo* info;
};

namespace detail {

inline constexpr std::uint32_t standard_call = 5;
inline constexpr FunctionInfo one_object{standard_call, VT_EMPTY, 1, {VT_DISPATCH}};
inline constexpr FunctionInfo object_and_flag{standard_call, VT_EMPTY, 2, {VT_DISPATCH, VT_BOOL}};
inline constexpr FunctionInfo one_reason{standard_call, VT_UI4, 1, {VT_I4}};

HRESULT query_sink(IDispatch* sink, const GUID& events, const GUID& asked, void** out);
HRESULT advise(IUnknown* source, const GUID& events, IUnknown* sink, std::uint32_t* cookie);
HRESULT unadvise(IUnknown* source, const GUID& events, std::uint32_t* cookie);

/// Stores the interface of the object in a variant. Throws CAtlException when the variant cannot be copied.
HRESULT object_argument(const VARIANT& argument, const GUID& iid, void** out);

/// Returns the code of the exception being handled.
HRESULT code_of_current_exception() noexcept;

/// Keeps a thread inside the gate during a call.
class GateVisit {
public:
    explicit GateVisit(std::shared_ptr<CallGate> gate);
    GateVisit(const GateVisit&) = delete;
    GateVisit& operator=(const GateVisit&) = delete;
    ~GateVisit();

private:
    std::shared_ptr<CallGate> gate_;
};

template <class Call>
HRESULT guarded(const std::shared_ptr<CallGate>& gate, Call&& call) noexcept {
    try {
        const GateVisit visit(gate);
        return call();
    } catch (...) {
        return code_of_current_exception();
    }
}

} // namespace detail

/// The logger's events on a sink with the methods OnMessageSent(IZoMessage*), OnAlarmRaised(IZoAlarm*),
/// OnAlarmCleared(IZoAlarm*, VARIANT_BOOL), OnAlarmConfirmed(IZoAlarm*, VARIANT_BOOL) and
/// OnDatabaseChanged(tagDatabaseChangeReasonEnum). Return values are ignored; exceptions become result codes.
template <class T>
class EventLoggerSink {
    using Alarm = ZoEventLoggerFdxProxyLib::IZoAlarm;
    using Message = ZoEventLoggerFdxProxyLib::IZoMessage;
    using Events = ZoEventLoggerFdxProxyLib::_IZoEventLoggerEvents;
    using Reason = ZoEventLoggerFdxProxyLib::tagDatabaseChangeReasonEnum;

    template <class Event, auto method>
    static HRESULT with_object(T& sink, VARIANT*, VARIANT* arguments, std::uint32_t count) {
        if (!arguments || count != 1) return E_INVALIDARG;
        CComPtr<Event> event;
        const HRESULT code =
            detail::object_argument(arguments[0], *ZoEventLoggerFdxProxyLib::iid_of<Event>, event.put_void());
        if (failed(code)) return code;
        (sink.*method)(event.get());
        return S_OK;
    }

    template <auto method>
    static HRESULT with_object_and_flag(T& sink, VARIANT*, VARIANT* arguments, std::uint32_t count) {
        if (!arguments || count != 2) return E_INVALIDARG;
        CComPtr<Alarm> alarm;
        const HRESULT code =
            detail::object_argument(arguments[1], ZoEventLoggerFdxProxyLib::IID_IZoAlarm, alarm.put_void());
        if (failed(code)) return code;
        (sink.*method)(alarm.get(), arguments[0].boolVal);
        return S_OK;
    }

    static HRESULT database_changed(T& sink, VARIANT* result, VARIANT* arguments, std::uint32_t count) {
        if (!arguments || count != 1) return E_INVALIDARG;
        sink.OnDatabaseChanged(static_cast<Reason>(arguments[0].ulVal));
        if (result) {
            VariantInit(result);
            result->vt = VT_UI4;
            result->ulVal = 0;
        }
        return S_OK;
    }

    static constexpr const GUID* events = &ZoEventLoggerFdxProxyLib::IID__IZoEventLoggerEvents;

public:
    static constexpr SinkEntry<T> entries[] = {
        {events, Events::OnMessageSent, &with_object<Message, &T::OnMessageSent>, &detail::one_object},
        {events, Events::OnAlarmRaised, &with_object<Alarm, &T::OnAlarmRaised>, &detail::one_object},
        {events, Events::OnAlarmCleared, &with_object_and_flag<&T::OnAlarmCleared>, &detail::object_and_flag},
        {events, Events::OnAlarmConfirmed, &with_object_and_flag<&T::OnAlarmConfirmed>, &detail::object_and_flag},
        {events, Events::OnDatabaseChanged, &database_changed, &detail::one_reason},
    };
};

} // namespace ZoAtlCom
