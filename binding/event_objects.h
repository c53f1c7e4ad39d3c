#pragma once

#include "binding/unknown.h"

#include <cstdint>

/// The event objects of the logger. Out strings are counted strings that the caller frees; null means "". Times are
/// file times: 100 ns since 1601. Flags are VARIANT_BOOL. Numbered placeholders occupy the slots of unused operations.
namespace ZoEventLoggerFdxProxyLib {

/// The number of arguments of an event's text, and their places in the argument block, in bytes. Type codes come first,
/// then values.
struct ArgumentDescriptor {
    std::uint32_t count;
    std::uint32_t types_offset;
    std::uint32_t types_size;
    std::uint32_t data_offset;
    std::uint32_t data_size;
};
static_assert(sizeof(ArgumentDescriptor) == 20);

/// Bits of HasSourceField.
enum SourceField : std::uint32_t { SourceFieldId = 1, SourceFieldGuid = 2, SourceFieldName = 4 };

/// Values of GetEventType; other values are possible.
inline constexpr std::int32_t EventTypeMessage = 0;
inline constexpr std::int32_t EventTypeAlarm = 1;

/// The operations that logged events, alarms and messages share. [any thread]
struct IZoEvent : IDispatch {
    virtual HRESULT GetEventClass(GUID* out) = 0;        ///< slot 7
    virtual HRESULT GetEventId(std::uint32_t* out) = 0;  ///< slot 8
    virtual HRESULT GetSeverity(std::uint32_t* out) = 0; ///< slot 9
    virtual HRESULT GetEventType(std::int32_t* out) = 0; ///< slot 10, called for logged events only
    virtual HRESULT HasSourceField(std::uint32_t mask, VARIANT_BOOL* out) = 0; ///< slot 11
    virtual HRESULT GetSourceId(std::uint32_t* out) = 0;                       ///< slot 12
    virtual HRESULT GetSourceGuid(GUID* out) = 0;                              ///< slot 13
    virtual HRESULT GetSourceName(char** out) = 0;                             ///< slot 14
    virtual HRESULT reserved_15() { return E_NOTIMPL; }
    virtual HRESULT GetTimeRaised(std::int64_t* out) = 0; ///< slot 16
    virtual HRESULT reserved_17() { return E_NOTIMPL; }

protected:
    ~IZoEvent() = default;
};

/// An event of the log: a snapshot that never changes. [any thread]
struct IZoLoggedEvent : IZoEvent {
    virtual HRESULT GetTimeCleared(std::int64_t* out) = 0;      ///< slot 18, 0 when never cleared
    virtual HRESULT GetWithConfirmation(VARIANT_BOOL* out) = 0; ///< slot 19
    virtual HRESULT reserved_20() { return E_NOTIMPL; }
    virtual HRESULT GetTimeConfirmed(std::int64_t* out) = 0; ///< slot 21, 0 when never confirmed
    virtual HRESULT reserved_22() { return E_NOTIMPL; }
    virtual HRESULT reserved_23() { return E_NOTIMPL; }

protected:
    ~IZoLoggedEvent() = default;
};

/// Optional: the JSON attribute of a logged event. [any thread]
struct IZoLoggedEventJson : IZoLoggedEvent {
    virtual HRESULT GetJsonAttribute(char** out) = 0; ///< slot 24

protected:
    ~IZoLoggedEventJson() = default;
};

/// Optional: activity and arguments of a logged event. Slot 24 requires that the object also has IZoLoggedEventJson.
/// [any thread]
struct IZoLoggedEvent2 : IZoLoggedEventJson {
    virtual HRESULT GetIsActive(VARIANT_BOOL* out) = 0;        ///< slot 25
    virtual HRESULT GetArguments(ArgumentDescriptor* out) = 0; ///< slot 26
    /// Fills the `size` bytes of the caller at `*block`. The call may change `*block`; do not free the new value.
    virtual HRESULT GetArgumentData(std::uint8_t** block, std::uint32_t size) = 0; ///< slot 27

protected:
    ~IZoLoggedEvent2() = default;
};

/// A live alarm: one object while it has references. The logger updates it before each callback. [any thread]
struct IZoAlarm : IZoEvent {
    virtual HRESULT reserved_18() { return E_NOTIMPL; }
    virtual HRESULT GetArguments(ArgumentDescriptor* out) = 0;                     ///< slot 19
    virtual HRESULT GetArgumentData(std::uint8_t** block, std::uint32_t size) = 0; ///< slot 20, as for a logged event
    virtual HRESULT GetIsRaised(VARIANT_BOOL* out) = 0;                            ///< slot 21
    virtual HRESULT reserved_22() { return E_NOTIMPL; }
    virtual HRESULT GetTimeCleared(std::int64_t* out) = 0;       ///< slot 23, not cleared unless after the raised time
    virtual HRESULT GetConfirmationState(std::int32_t* out) = 0; ///< slot 24
    virtual HRESULT Confirm() = 0;                               ///< slot 25
    virtual HRESULT reserved_26() { return E_NOTIMPL; }
    virtual HRESULT GetTimeConfirmed(std::int64_t* out) = 0; ///< slot 27

protected:
    ~IZoAlarm() = default;
};

/// Optional: the JSON attribute of an alarm. [any thread]
struct IZoAlarmJson : IZoAlarm {
    virtual HRESULT GetJsonAttribute(char** out) = 0; ///< slot 28

protected:
    ~IZoAlarmJson() = default;
};

/// A live message. [any thread]
struct IZoMessage : IZoEvent {
    virtual HRESULT reserved_18() { return E_NOTIMPL; }
    virtual HRESULT GetArguments(ArgumentDescriptor* out) = 0;                     ///< slot 19
    virtual HRESULT GetArgumentData(std::uint8_t** block, std::uint32_t size) = 0; ///< slot 20, as for a logged event

protected:
    ~IZoMessage() = default;
};

/// Optional: the JSON attribute of a message. [any thread]
struct IZoMessageJson : IZoMessage {
    virtual HRESULT GetJsonAttribute(char** out) = 0; ///< slot 21

protected:
    ~IZoMessageJson() = default;
};

/// Optional for every event object: the logger's own number of the occurrence. [any thread]
struct IZoEventIdentity : IUnknown {
    virtual HRESULT GetUniqueId(std::uint32_t* out) = 0; ///< slot 3

protected:
    ~IZoEventIdentity() = default;
};

} // namespace ZoEventLoggerFdxProxyLib
