#pragma once

#include "binding/hresult.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

/// Conversions between values of the link and arguments of the proxy's calls. [any thread]
namespace zo_logger_proxy {

/// Returns a result code of the link as HRESULT.
inline HRESULT to_com(std::uint32_t code) {
    return hresult(code);
}

template <class T>
HRESULT put(T* out, const T& value) {
    if (out == nullptr) return E_POINTER;
    *out = value;
    return S_OK;
}

/// Stores a counted string that the caller frees: a 32-bit length, the bytes and a zero in one malloc allocation. This
/// library does not use the binding's functions: they belong to the caller's side of the interface.
inline HRESULT put_text(char** out, const std::string& text) {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    const auto length = static_cast<std::uint32_t>(text.size());
    auto* memory = static_cast<char*>(std::malloc(sizeof length + text.size() + 1));
    if (memory == nullptr) return E_OUTOFMEMORY;
    std::memcpy(memory, &length, sizeof length);
    *out = memory + sizeof length;
    std::memcpy(*out, text.c_str(), text.size() + 1);
    return S_OK;
}

} // namespace zo_logger_proxy
