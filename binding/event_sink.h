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

// The cookie of a sink that is not subscribed.
inline constexpr std::uint32_t not_advised = 0xFEFEFEFE;

// Subscribes a sink of the event interface `iid` at an object and back. Everything but the calls that the event
// interface needs answers E_NOTIMPL. It counts no references: the owner of the object keeps it alive.
template <unsigned id, const GUID* iid>
class IDispEventLocator : public IDispatch {
public:
    HRESULT QueryInterface(const GUID& asked, void** out) override {
        return detail::query_sink(this, *iid, asked, out);
    }
    std::uint32_t AddRef() override { return 1; }
    std::uint32_t Release() override { return 1; }

    // Subscribes at the source's connection point and keeps the cookie. [any thread]
    HRESULT DispEventAdvise(IUnknown* source) { return detail::advise(source, *iid, this, &event_cookie); }
    // Unsubscribes whatever the cookie says, and marks it as not subscribed. [any thread]
    HRESULT DispEventUnadvise(IUnknown* source) { return detail::unadvise(source, *iid, &event_cookie); }

    std::uint32_t event_cookie = not_advised;

protected:
    ~IDispEventLocator() = default;
};

// The sink of `T`, which has the event methods. Slots 0 to 7 are its virtual operations; a destructor that `T` makes
// virtual comes after them.
template <unsigned id, class T, const GUID* iid>
class IDispEventSimpleImpl : public IDispEventLocator<id, iid> {
public:
    // Calls the event's method. Nothing thrown leaves it: it becomes a result code. [proxy callback]
    HRESULT Invoke(std::int32_t dispatch_id, const GUID&, std::uint32_t, std::uint16_t, DISPPARAMS* arguments,
                   VARIANT* result, EXCEPINFO*, std::uint32_t*) override {
        return detail::guarded(gate_, [&] { return dispatch(dispatch_id, arguments, result); });
    }
    // Function information of an event whose entry has none. [proxy callback]
    virtual HRESULT GetFuncInfoFromId(const GUID&, std::int32_t, std::uint32_t, FunctionInfo&) { return E_NOTIMPL; }

    // The events of the sink; `T` may hide it by its own.
    static std::span<const SinkEntry<T>> sink_entries() { return EventLoggerSink<T>::entries; }

    // Waits until no call is inside the sink, but never on a thread that is inside. [any thread]
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

    // Shared with the calls inside, which leave it even when the sink died meanwhile.
    std::shared_ptr<CallGate> gate_ = std::make_shared<CallGate>();
};

} // namespace ZoAtlCom
