#pragma once

#include "binding/collections.h"
#include "binding/event_objects.h"
#include "binding/identifiers.h"

#include <cstdint>

/// The event logger of one target and the library that makes it. In strings are UTF-8 and zero-terminated. Out strings
/// are counted strings that the caller frees. Numbered placeholders occupy the slots of unused operations.
namespace ZoEventLoggerFdxProxyLib {

/// The settings of one connect. [any thread]
struct IZoConnectionSettings : IDispatch {
    virtual HRESULT reserved_7() { return E_NOTIMPL; }
    virtual HRESULT SetPreloadTranslations(VARIANT_BOOL preload) = 0; ///< slot 8

protected:
    ~IZoConnectionSettings() = default;
};

/// The logger of one target. [any thread]
struct IZoEventLogger : IDispatch {
    /// Connects to a net id without settings, for older targets.
    virtual HRESULT Connect(const char* address) = 0; ///< slot 7
    /// Ends the callbacks; may be called inside a callback.
    virtual HRESULT Disconnect() = 0;                              ///< slot 8
    virtual HRESULT IsConnected(VARIANT_BOOL* out) = 0;            ///< slot 9, no round trip
    virtual HRESULT GetActiveAlarms(IZoAlarmCollection** out) = 0; ///< slot 10
    virtual HRESULT reserved_11() { return E_NOTIMPL; }
    virtual HRESULT reserved_12() { return E_NOTIMPL; }
    /// Stores the newest `count` events, oldest first.
    virtual HRESULT GetLoggedEvents(std::uint32_t count, IZoLoggedEventCollection** out) = 0; ///< slot 13
    virtual HRESULT ClearLoggedEvents() = 0;                                                  ///< slot 14
    /// Stores the text of an event class in a language (a locale id), with the arguments of the block inserted.
    virtual HRESULT GetText(const GUID& event_class, std::uint32_t event_id, std::int32_t language,
                            const ArgumentDescriptor* arguments, const std::uint8_t* block,
                            char** out) = 0; ///< slot 15
    virtual HRESULT reserved_16() { return E_NOTIMPL; }
    virtual HRESULT reserved_17() { return E_NOTIMPL; }
    virtual HRESULT reserved_18() { return E_NOTIMPL; }
    virtual HRESULT reserved_19() { return E_NOTIMPL; }
    virtual HRESULT reserved_20() { return E_NOTIMPL; }
    virtual HRESULT reserved_21() { return E_NOTIMPL; }
    virtual HRESULT reserved_22() { return E_NOTIMPL; }
    virtual HRESULT reserved_23() { return E_NOTIMPL; }
    virtual HRESULT reserved_24() { return E_NOTIMPL; }
    virtual HRESULT reserved_25() { return E_NOTIMPL; }
    virtual HRESULT reserved_26() { return E_NOTIMPL; }
    virtual HRESULT reserved_27() { return E_NOTIMPL; }
    virtual HRESULT reserved_28() { return E_NOTIMPL; }
    virtual HRESULT reserved_29() { return E_NOTIMPL; }
    virtual HRESULT ConnectWithSettings(IZoConnectionSettings* settings, const char* address) = 0; ///< slot 30

protected:
    ~IZoEventLogger() = default;
};

/// Optional: causes and remedies of an event class in a language. [any thread]
struct IZoEventLogger4 : IZoEventLogger {
    virtual HRESULT GetCausesAndRemedies(const GUID& event_class, std::uint32_t event_id, std::int32_t language,
                                         IZoCauseRemedyCollection** out) = 0; ///< slot 31

protected:
    ~IZoEventLogger4() = default;
};

/// Optional: details of an event class in a language. [any thread]
struct IZoEventLogger5 : IZoEventLogger4 {
    virtual HRESULT GetDetails(const GUID& event_class, std::uint32_t event_id, std::int32_t language,
                               IZoDetailCollection** out) = 0; ///< slot 32

protected:
    ~IZoEventLogger5() = default;
};

/// Optional: the name of an event class in a language. [any thread]
struct IZoEventLoggerClassName : IDispatch {
    virtual HRESULT GetEventClassName(const GUID& event_class, std::int32_t language, char** out) = 0; ///< slot 7

protected:
    ~IZoEventLoggerClassName() = default;
};

/// Optional: the name of a source in a language. [any thread]
struct IZoEventLoggerSourceName : IDispatch {
    virtual HRESULT GetSourceNameText(std::int32_t language, const GUID& source, const char* name,
                                      char** out) = 0; ///< slot 7

protected:
    ~IZoEventLoggerSourceName() = default;
};

/// Optional: the deadline of the logger's requests. [any thread]
struct IZoEventLoggerTimeout : IUnknown {
    virtual HRESULT reserved_3() { return E_NOTIMPL; }
    virtual HRESULT SetTimeout(std::uint32_t milliseconds) = 0; ///< slot 4

protected:
    ~IZoEventLoggerTimeout() = default;
};

/// Creates an object of the class and stores the requested interface. [any thread]
__attribute__((visibility("default"))) HRESULT CreateInstance(const GUID& clsid, const GUID& iid, void** out);

} // namespace ZoEventLoggerFdxProxyLib

/// Stores the proxy's own text of a result code; fails for a code without a text. The caller frees the counted string.
/// [any thread]
extern "C" __attribute__((visibility("default"))) HRESULT ZoEventLoggerFdxProxyLibErrorMessage(HRESULT code,
                                                                                               char** out);
