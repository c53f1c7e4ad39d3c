#pragma once

#include "binding/unknown.h"

#include <cstdint>

namespace ZoEventLoggerFdxProxyLib {

/// The place where sinks subscribe. [any thread]
struct IConnectionPoint : IUnknown {
    virtual HRESULT reserved_3() { return E_NOTIMPL; }
    virtual HRESULT reserved_4() { return E_NOTIMPL; }
    virtual HRESULT Advise(IUnknown* sink, std::uint32_t* cookie) = 0; ///< slot 5
    /// No call of the sink begins after this has returned.
    virtual HRESULT Unadvise(std::uint32_t cookie) = 0; ///< slot 6

protected:
    ~IConnectionPoint() = default;
};

struct IConnectionPointContainer : IUnknown {
    virtual HRESULT reserved_3() { return E_NOTIMPL; }
    virtual HRESULT FindConnectionPoint(const GUID& iid, IConnectionPoint** out) = 0; ///< slot 4

protected:
    ~IConnectionPointContainer() = default;
};

/// The interface of a sink of the logger's events. The logger calls it by number, through Invoke.
struct _IZoEventLoggerEvents : IDispatch {
    /// Numbers of the calls and their arguments. The logger also calls 6 to 9, which are ignored here.
    enum Id : std::int32_t {
        OnMessageSent = 2,      ///< message
        OnAlarmRaised = 3,      ///< alarm
        OnAlarmCleared = 4,     ///< alarm, removed
        OnAlarmConfirmed = 5,   ///< alarm, removed
        OnDatabaseChanged = 10, ///< reason
    };

protected:
    ~_IZoEventLoggerEvents() = default;
};

/// Why the logger's database changed; other numbers are possible.
enum class tagDatabaseChangeReasonEnum : std::uint32_t {
    Undefined = 0,
    ClearLoggedEvents = 1,
    MaximumSizeReached = 2,
    Deleted = 3,
};

} // namespace ZoEventLoggerFdxProxyLib
