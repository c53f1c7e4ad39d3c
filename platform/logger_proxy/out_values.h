#pragma once

#include "binding/hresult.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

// How values leave and enter the proxy's calls. [any thread]
namespace zo_logger_proxy {

// A result code of the link.
inline HRESULT to_com(std::uint32_t code) {
    return hresult(code);
}

template <class T>
HRESULT put(T* out, const T& value) {
    if (out == nullptr) return E_POINTER;
    *out = value;
    return S_OK;
}

// A counted string that the caller frees: a length of 32 bits, then the bytes and a zero, one allocation of malloc.
// Made here and not by the binding's functions, for those belong to the caller's side of the interface.
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
