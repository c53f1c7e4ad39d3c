#pragma once

#include "binding/unknown.h"

#include <cstdint>

namespace ZoEventLoggerFdxProxyLib {

// Where a sink is subscribed. [any thread]
struct IConnectionPoint : IUnknown {
    virtual HRESULT reserved_3() { return E_NOTIMPL; }
    virtual HRESULT reserved_4() { return E_NOTIMPL; }
    virtual HRESULT Advise(IUnknown* sink, std::uint32_t* cookie) = 0; // slot 5
    // Once this has returned no call of the sink begins any more.
    virtual HRESULT Unadvise(std::uint32_t cookie) = 0; // slot 6

protected:
    ~IConnectionPoint() = default;
};

struct IConnectionPointContainer : IUnknown {
    virtual HRESULT reserved_3() { return E_NOTIMPL; }
    virtual HRESULT FindConnectionPoint(const GUID& iid, IConnectionPoint** out) = 0; // slot 4

protected:
    ~IConnectionPointContainer() = default;
};

// What a sink of the logger's events answers to: it is called by number, through Invoke.
struct _IZoEventLoggerEvents : IDispatch {
    // Numbers of the calls; the logger also uses 6 to 9, which mean nothing here.
    enum Id : std::int32_t {
        OnMessageSent = 2,      // message
        OnAlarmRaised = 3,      // alarm
        OnAlarmCleared = 4,     // alarm, removed
        OnAlarmConfirmed = 5,   // alarm, removed
        OnDatabaseChanged = 10, // reason
    };

protected:
    ~_IZoEventLoggerEvents() = default;
};

// Why the logger's database changed; other numbers can come.
enum class tagDatabaseChangeReasonEnum : std::uint32_t {
    Undefined = 0,
    ClearLoggedEvents = 1,
    MaximumSizeReached = 2,
    Deleted = 3,
};

} // namespace ZoEventLoggerFdxProxyLib
