#pragma once

#include "binding/variant.h"

#include <cstdint>
#include <span>

/// Calls of a sink by number. [any thread]
namespace zo_logger_proxy {

inline VARIANT object_variant(IDispatch* object) {
    VARIANT variant{};
    variant.vt = VT_DISPATCH;
    variant.pdispVal = object;
    return variant;
}

inline VARIANT flag_variant(VARIANT_BOOL flag) {
    VARIANT variant{};
    variant.vt = VT_BOOL;
    variant.boolVal = flag;
    return variant;
}

inline VARIANT number_variant(std::int32_t number) {
    VARIANT variant{};
    variant.vt = VT_I4;
    variant.lVal = number;
    return variant;
}

/// Calls the event `id` with the arguments in reverse order. `result` may be null.
inline HRESULT invoke(IDispatch& sink, std::int32_t id, std::span<VARIANT> reversed, VARIANT* result = nullptr) {
    constexpr std::uint16_t method = 1;
    DISPPARAMS arguments{reversed.data(), nullptr, static_cast<std::uint32_t>(reversed.size()), 0};
    return sink.Invoke(id, GUID{}, 0, method, &arguments, result, nullptr, nullptr);
}

} // namespace zo_logger_proxy
