#pragma once

#include "support/guid.h"

struct IUnknown;
struct IDispatch;
struct ICreateErrorInfo;
struct IErrorInfo;

namespace ZoEventLoggerFdxProxyLib {

struct IConnectionPoint;
struct IConnectionPointContainer;
struct IZoAlarm;
struct IZoAlarmJson;
struct IZoCauseRemedyCollection;
struct IZoConnectionSettings;
struct IZoDetailCollection;
struct IZoEventIdentity;
struct IZoEventLogger;
struct IZoEventLogger4;
struct IZoEventLogger5;
struct IZoEventLoggerClassName;
struct IZoEventLoggerSourceName;
struct IZoEventLoggerTimeout;
struct IZoLoggedEvent2;
struct IZoLoggedEventJson;
struct IZoMessage;
struct IZoMessageJson;
struct _IZoEventLoggerEvents;

// Published identifiers.
inline constexpr GUID IID_IUnknown{0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr GUID IID_IDispatch{0x00020400, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr GUID IID_ICreateErrorInfo{
    0x22F03340, 0x547D, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};
inline constexpr GUID IID_IErrorInfo{0x1CF2B120, 0x547D, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};
inline constexpr GUID IID_IConnectionPointContainer{
    0xB196B284, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};
inline constexpr GUID IID_IConnectionPoint{
    0xB196B286, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};

// Classes that the proxy's library creates.
inline constexpr GUID CLSID_ZoEventLogger{0x472E20D6, 0xE3F7, 0x1E55, {0xDF, 0x0B, 0x95, 0x72, 0x63, 0x71, 0xB2, 0x4D}};
inline constexpr GUID CLSID_ZoConnectionSettings{
    0x396E52E4, 0xBE58, 0x4900, {0x81, 0xB0, 0xB8, 0xFB, 0x55, 0x1D, 0x19, 0x1A}};

// Interfaces of the proxy.
inline constexpr GUID IID_IZoEventLogger{0x9FE4E6F4, 0x3478, 0xCD14, {0x2A, 0x78, 0x8D, 0x1D, 0x6C, 0x69, 0xD3, 0xE5}};
inline constexpr GUID IID_IZoEventLoggerTimeout{
    0xAACA6DDA, 0x84E6, 0x450F, {0x90, 0x61, 0xAE, 0xEE, 0xC3, 0xB4, 0x5D, 0x76}};
inline constexpr GUID IID_IZoConnectionSettings{
    0x6B15349E, 0xAF08, 0x4A56, {0xBE, 0x9E, 0x2D, 0xA5, 0x98, 0xA3, 0x2E, 0xD4}};
inline constexpr GUID IID_IZoEventIdentity{
    0x5AE4EED8, 0x1C2D, 0x2231, {0x5B, 0xFA, 0xEF, 0x1A, 0x85, 0x1D, 0xC9, 0x10}};
inline constexpr GUID IID_IZoLoggedEvent2{0x10444087, 0x7F0A, 0xCC7A, {0x85, 0x84, 0xD4, 0x00, 0xE1, 0x50, 0x0F, 0x09}};
inline constexpr GUID IID_IZoLoggedEventJson{
    0xA60931BC, 0xFF64, 0xC536, {0x15, 0x89, 0x36, 0x44, 0x5C, 0xB9, 0x5B, 0xB1}};
inline constexpr GUID IID_IZoAlarm{0x4F3E3ECE, 0x2F11, 0x6DC4, {0x05, 0x6E, 0x1D, 0xF5, 0xC2, 0xC8, 0x44, 0x50}};
inline constexpr GUID IID_IZoAlarmJson{0x8CA549D2, 0x5ACC, 0xD78A, {0x9D, 0x32, 0xC6, 0x5C, 0xF1, 0x49, 0xC3, 0x1A}};
inline constexpr GUID IID_IZoMessage{0xFD9AACF8, 0x463E, 0x16DC, {0x75, 0xEB, 0x8B, 0x02, 0x55, 0xBF, 0x52, 0x64}};
inline constexpr GUID IID_IZoMessageJson{0x855560C0, 0xB58E, 0x49D8, {0x2D, 0x5D, 0x24, 0x5A, 0x28, 0xF4, 0x12, 0xFF}};
inline constexpr GUID IID_IZoCauseRemedyCollection{
    0xE4814F90, 0x35B2, 0xE0C2, {0xCD, 0xC8, 0x4F, 0xAC, 0xF0, 0xB9, 0x34, 0x82}};
inline constexpr GUID IID_IZoDetailCollection{
    0x5542C560, 0x61DF, 0x369D, {0x6A, 0x6A, 0x6E, 0x70, 0xEF, 0x14, 0xE4, 0xDB}};
inline constexpr GUID IID__IZoEventLoggerEvents{
    0xE44F5AF2, 0x10AA, 0x222F, {0x52, 0xFE, 0x63, 0x88, 0x35, 0x54, 0x17, 0x88}};

// Identifiers of our own: the platform's proxy does not know them and answers E_NOINTERFACE.
inline constexpr GUID IID_IZoEventLogger4{0x4F5B1A61, 0x62AE, 0x4A93, {0xBD, 0x9D, 0xA8, 0x12, 0xA2, 0x41, 0x85, 0x56}};
inline constexpr GUID IID_IZoEventLogger5{0xA5E0BEE6, 0xB69E, 0x4AD9, {0x98, 0x6D, 0xBE, 0x89, 0xA1, 0x87, 0x78, 0x44}};
inline constexpr GUID IID_IZoEventLoggerClassName{
    0xAA529C5E, 0xF296, 0x4CD6, {0x84, 0x59, 0x3E, 0x87, 0x31, 0x5E, 0x26, 0x31}};
inline constexpr GUID IID_IZoEventLoggerSourceName{
    0x172AA8A5, 0x265E, 0x4BCE, {0xB6, 0x76, 0x06, 0x2A, 0x49, 0x3E, 0x68, 0x44}};

// The identifier by which an interface is queried; null for interfaces that are only handed out.
template <class T>
inline constexpr const GUID* iid_of = nullptr;
template <>
inline constexpr const GUID* iid_of<IUnknown> = &IID_IUnknown;
template <>
inline constexpr const GUID* iid_of<IDispatch> = &IID_IDispatch;
template <>
inline constexpr const GUID* iid_of<ICreateErrorInfo> = &IID_ICreateErrorInfo;
template <>
inline constexpr const GUID* iid_of<IErrorInfo> = &IID_IErrorInfo;
template <>
inline constexpr const GUID* iid_of<IConnectionPointContainer> = &IID_IConnectionPointContainer;
template <>
inline constexpr const GUID* iid_of<IConnectionPoint> = &IID_IConnectionPoint;
template <>
inline constexpr const GUID* iid_of<IZoEventLogger> = &IID_IZoEventLogger;
template <>
inline constexpr const GUID* iid_of<IZoEventLogger4> = &IID_IZoEventLogger4;
template <>
inline constexpr const GUID* iid_of<IZoEventLogger5> = &IID_IZoEventLogger5;
template <>
inline constexpr const GUID* iid_of<IZoEventLoggerClassName> = &IID_IZoEventLoggerClassName;
template <>
inline constexpr const GUID* iid_of<IZoEventLoggerSourceName> = &IID_IZoEventLoggerSourceName;
template <>
inline constexpr const GUID* iid_of<IZoEventLoggerTimeout> = &IID_IZoEventLoggerTimeout;
template <>
inline constexpr const GUID* iid_of<IZoConnectionSettings> = &IID_IZoConnectionSettings;
template <>
inline constexpr const GUID* iid_of<IZoEventIdentity> = &IID_IZoEventIdentity;
template <>
inline constexpr const GUID* iid_of<IZoLoggedEvent2> = &IID_IZoLoggedEvent2;
template <>
inline constexpr const GUID* iid_of<IZoLoggedEventJson> = &IID_IZoLoggedEventJson;
template <>
inline constexpr const GUID* iid_of<IZoAlarm> = &IID_IZoAlarm;
template <>
inline constexpr const GUID* iid_of<IZoAlarmJson> = &IID_IZoAlarmJson;
template <>
inline constexpr const GUID* iid_of<IZoMessage> = &IID_IZoMessage;
template <>
inline constexpr const GUID* iid_of<IZoMessageJson> = &IID_IZoMessageJson;
template <>
inline constexpr const GUID* iid_of<IZoCauseRemedyCollection> = &IID_IZoCauseRemedyCollection;
template <>
inline constexpr const GUID* iid_of<IZoDetailCollection> = &IID_IZoDetailCollection;
template <>
inline constexpr const GUID* iid_of<_IZoEventLoggerEvents> = &IID__IZoEventLoggerEvents;

} // namespace ZoEventLoggerFdxProxyLib
