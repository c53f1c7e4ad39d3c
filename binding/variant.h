#pragma once

#include "binding/unknown.h"

#include <cstdint>

using VARTYPE = std::uint16_t;

/// Type tags of a variant that the logger uses.
inline constexpr VARTYPE VT_EMPTY = 0;
inline constexpr VARTYPE VT_NULL = 1;
inline constexpr VARTYPE VT_I4 = 3;
inline constexpr VARTYPE VT_BSTR = 8;
inline constexpr VARTYPE VT_DISPATCH = 9;
inline constexpr VARTYPE VT_BOOL = 11;
inline constexpr VARTYPE VT_UNKNOWN = 13;
inline constexpr VARTYPE VT_UI4 = 19;
inline constexpr VARTYPE VT_RECORD = 36;
/// Marks that are added to a tag.
inline constexpr VARTYPE VT_ARRAY = 0x2000;
inline constexpr VARTYPE VT_BYREF = 0x4000;
inline constexpr VARTYPE VT_TYPEMASK = 0x0FFF;

/// The array of a variant: `size` plain bytes. Descriptor and data are one malloc allocation each. A locked array is
/// never freed.
struct SAFEARRAY {
    std::uint32_t locks;
    std::uint32_t size;
    std::uint8_t* data;
};

/// A record and its description.
struct VariantRecord {
    void* data;
    void* info;
};

/// A tag and a value of at most two pointers.
struct VARIANT {
    VARTYPE vt;
    std::uint16_t reserved[3];
    union {
        std::int32_t lVal;
        std::uint32_t ulVal;
        VARIANT_BOOL boolVal;
        std::int64_t llVal;
        double dblVal;
        char* bstrVal; ///< a counted string
        IUnknown* punkVal;
        IDispatch* pdispVal;
        SAFEARRAY* parray;
        void* byref;
        VariantRecord record;
    };
};
static_assert(sizeof(VARIANT) == 8 + 2 * sizeof(void*));

/// Arguments of a call by number: `rgvarg[0]` is the last one.
struct DISPPARAMS {
    VARIANT* rgvarg;
    std::int32_t* rgdispidNamedArgs;
    std::uint32_t cArgs;
    std::uint32_t cNamedArgs;
};

namespace ZoAtlCom {

/// Makes raw memory an empty variant. [any thread]
void VariantInit(VARIANT* variant);

/// Releases the value and makes the variant empty. Returns E_INVALIDARG for an invalid tag and DISP_E_ARRAYISLOCKED for
/// a locked array; the variant is then unchanged. [any thread]
HRESULT VariantClear(VARIANT* variant);

/// Makes `target` a copy of `source`: copies strings and arrays, adds a reference to interfaces, copies the pointer of
/// by-reference values. Returns DISP_E_BADVARTYPE for an invalid tag of the source, or the code of a target that cannot
/// be cleared; the target is then unchanged. Returns E_NOTIMPL for a record, and E_OUTOFMEMORY; the target is then
/// empty. Its old value is cleared first, and an incomplete copy must not be released. [any thread]
HRESULT VariantCopy(VARIANT* target, const VARIANT* source);

} // namespace ZoAtlCom
