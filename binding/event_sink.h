#pragma once

#include "binding/call_gate.h"
#include "binding/com_ptr.h"
#include "binding/event_sink_entries.h"
#include "binding/identifiers.h"
#include "binding/variant.h"

#include <cstdint>
#include <memory>
#include <span>

namespace ZoAtlCom {

/// The cookie of a sink that is not subscribed.
inline constexpr std::uint32_t not_advised = 0xFEFEFEFE;

/// Subscribes a sink of the event interface `iid` at an object, and unsubscribes it. The sink counts no references: its
/// owner keeps it alive.
template <unsigned id, const GUID* iid>
class IDispEventLocator : public IDispatch {
public:
    HRESULT QueryInterface(const GUID& asked, void** out) override {
        return detail::query_sink(this, *iid, asked, out);
    }
    std::uint32_t AddRef() override { return 1; }
    std::uint32_t Release() override { return 1; }

    /// Subscribes at the source's connection point and stores the cookie. [any thread]
    HRESULT DispEventAdvise(IUnknown* source) { return detail::advise(source, *iid, this, &event_cookie); }
    /// Unsubscribes with the stored cookie, even `not_advised`, and resets the cookie. [any thread]
    HRESULT DispEventUnadvise(IUnknown* source) { return detail::unadvise(source, *iid, &event_cookie); }

    std::uint32_t event_cookie = not_advised;

protected:
    ~IDispEventLocator() = default;
};

/// The sink of `T`, which has the event methods. The virtual operations take slots 0 to 7; a virtual destructor of `T`
/// follows them.
template <unsigned id, class T, const GUID* iid>
class IDispEventSimpleImpl : public IDispEventLocator<id, iid> {
public:
    /// Calls the event's method and turns its exceptions into result codes. [proxy callback]
    HRESULT Invoke(std::int32_t dispatch_id, const GUID&, std::uint32_t, std::uint16_t, DISPPARAMS* arguments,
                   VARIANT* result, EXCEPINFO*, std::uint32_t*) override {
        return detail::guarded(gate_, [&] { return dispatch(dispatch_id, arguments, result); });
    }
    /// Stores the function information of an event whose entry has none. [proxy callback]
    virtual HRESULT GetFuncInfoFromId(const GUID&, std::int32_t, std::uint32_t, FunctionInfo&) { return E_NOTIMPL; }

    /// Returns the events of the sink; `T` may hide this function.
    static std::span<const SinkEntry<T>> sink_entries() { return EventLoggerSink<T>::entries; }

    /// Blocks until no call is inside the sink. Returns at once on a thread that is inside. [any thread]
    void wait_until_idle() { gate_->wait_until_idle(); }

protected:
    ~IDispEventSimpleImpl() = default;

private:
    HRESULT dispatch(std::int32_t dispatch_id, DISPPARAMS* arguments, VARIANT* result) {
        for (const SinkEntry<T>& entry : T::sink_entries()) {
            if (*entry.event_interface != *iid || entry.dispatch_id != dispatch_id) continue;
            FunctionInfo fetched;
            if (!entry.info && failed(this->GetFuncInfoFromId(*iid, dispatch_id, 0, fetched))) return S_OK;
            VARIANT* values = arguments ? arguments->rgvarg : nullptr;
            return entry.method(static_cast<T&>(*this), result, values, arguments ? arguments->cArgs : 0);
        }
        return S_OK;
    }

    // Shared with the calls inside: they leave the gate even after the sink was destroyed.
    std::shared_ptr<CallGate> gate_ = std::make_shared<CallGate>();
};

} // namespace ZoAtlCom
