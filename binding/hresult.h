#pragma once

#include <cstdint>

/// Result codes of the event logger's objects: negative means failure, 0 and above success.
using HRESULT = std::int32_t;

/// A 16-bit flag; true is -1.
using VARIANT_BOOL = std::int16_t;

inline constexpr VARIANT_BOOL VARIANT_TRUE = -1;
inline constexpr VARIANT_BOOL VARIANT_FALSE = 0;

/// Returns a result code from its bit pattern.
constexpr HRESULT hresult(std::uint32_t bits) {
    return static_cast<HRESULT>(bits);
}

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_UNEXPECTED = hresult(0x8000FFFF);
inline constexpr HRESULT E_NOTIMPL = hresult(0x80004001);
inline constexpr HRESULT E_NOINTERFACE = hresult(0x80004002);
inline constexpr HRESULT E_POINTER = hresult(0x80004003);
inline constexpr HRESULT E_ABORT = hresult(0x80004004);
inline constexpr HRESULT E_FAIL = hresult(0x80004005);
inline constexpr HRESULT E_ACCESSDENIED = hresult(0x80070005);
inline constexpr HRESULT E_HANDLE = hresult(0x80070006);
inline constexpr HRESULT E_OUTOFMEMORY = hresult(0x8007000E);
inline constexpr HRESULT E_INVALIDARG = hresult(0x80070057);
inline constexpr HRESULT DISP_E_BADVARTYPE = hresult(0x80020008);
inline constexpr HRESULT DISP_E_ARRAYISLOCKED = hresult(0x8002000D);

constexpr bool succeeded(HRESULT code) {
    return code >= 0;
}
constexpr bool failed(HRESULT code) {
    return code < 0;
}
