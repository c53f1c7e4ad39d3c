#include "binding/error_table.h"

#include "device/code/result_codes.h"

#include <cstdint>

namespace ZoAtlCom::detail {

namespace {

struct ErrorText {
    HRESULT code;
    const char* text;
};

// The misspelled "comand" is the text that users know.
constexpr ErrorText error_texts[] = {
    {E_UNEXPECTED, "E_UNEXPECTED: Catastrophic failure"},
    {E_NOTIMPL, "E_NOTIMPL: Not implemented"},
    {E_OUTOFMEMORY, "E_OUTOFMEMORY: Ran out of memory"},
    {E_INVALIDARG, "E_INVALIDARG: One or more arguments are invalid"},
    {E_NOINTERFACE, "E_NOINTERFACE: No such interface supported"},
    {E_POINTER, "E_POINTER: Invalid pointer"},
    {E_HANDLE, "E_HANDLE: Invalid handle"},
    {E_ABORT, "E_ABORT: Operation aborted"},
    {E_FAIL, "E_FAIL: Unspecified error"},
    {E_ACCESSDENIED, "E_ACCESSDENIED: General access denied error"},
    {hresult(0x98110700), "generic error"},
    {hresult(0x98110701), "service is not supported by server"},
    {hresult(0x9811070D), "syntax error in comand or file"},
};

/// The upper half of a device code in HRESULT form.
constexpr std::uint32_t device_facility = 0x9811;

} // namespace

const char* table_text(HRESULT code) {
    for (const ErrorText& row : error_texts)
        if (row.code == code) return row.text;
    if (static_cast<std::uint32_t>(code) >> 16 == device_facility) return ZoHmiFdx::fdx_error_to_string(code);
    return "Unspecified error";
}

} // namespace ZoAtlCom::detail
