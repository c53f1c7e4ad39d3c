#pragma once

#include "binding/event_objects.h"

#include <cstdint>

namespace ZoEventLoggerFdxProxyLib {

/// A snapshot of items. [any thread]
template <class Item>
struct IZoCollection : IDispatch {
    virtual HRESULT reserved_7() { return E_NOTIMPL; }
    /// Stores the item at an index from 0, with a reference for the caller.
    virtual HRESULT GetItem(std::int32_t index, Item** out) = 0; ///< slot 8
    virtual HRESULT GetCount(std::int32_t* out) = 0;             ///< slot 9

protected:
    ~IZoCollection() = default;
};

/// One cause of an event and its remedy: counted strings. [any thread]
struct IZoCauseRemedy : IDispatch {
    virtual HRESULT GetId(char** out) = 0;     ///< slot 7
    virtual HRESULT GetCause(char** out) = 0;  ///< slot 8
    virtual HRESULT GetRemedy(char** out) = 0; ///< slot 9

protected:
    ~IZoCauseRemedy() = default;
};

/// One detail of an event: counted strings. [any thread]
struct IZoDetail : IDispatch {
    virtual HRESULT GetId(char** out) = 0;      ///< slot 7
    virtual HRESULT GetText(char** out) = 0;    ///< slot 8
    virtual HRESULT GetComment(char** out) = 0; ///< slot 9

protected:
    ~IZoDetail() = default;
};

struct IZoLoggedEventCollection : IZoCollection<IZoLoggedEvent> {
protected:
    ~IZoLoggedEventCollection() = default;
};

struct IZoAlarmCollection : IZoCollection<IZoAlarm> {
protected:
    ~IZoAlarmCollection() = default;
};

struct IZoCauseRemedyCollection : IZoCollection<IZoCauseRemedy> {
protected:
    ~IZoCauseRemedyCollection() = default;
};

struct IZoDetailCollection : IZoCollection<IZoDetail> {
protected:
    ~IZoDetailCollection() = default;
};

} // namespace ZoEventLoggerFdxProxyLib
