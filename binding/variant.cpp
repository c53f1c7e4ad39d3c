#include "binding/variant.h"

#include "binding/counted_string.h"

#include <cstdlib>
#include <cstring>

namespace ZoAtlCom {

namespace {

constexpr VARTYPE never_set = 0x9000;
constexpr VARTYPE marks = 0xE000;

constexpr bool is_valid(VARTYPE tag) {
    const unsigned type = tag & VT_TYPEMASK;
    if (tag & never_set) return false;
    if (type == 15) return false;
    if ((tag & marks) && type < 2) return false;
    return type < 24 || type == VT_RECORD;
}

SAFEARRAY* copy_array(const SAFEARRAY& source) {
    auto* copy = static_cast<SAFEARRAY*>(std::malloc(sizeof(SAFEARRAY)));
    if (!copy) return nullptr;
    auto* data = static_cast<std::uint8_t*>(std::malloc(source.size ? source.size : 1));
    if (!data) {
        std::free(copy);
        return nullptr;
    }
    if (source.size) std::memcpy(data, source.data, source.size);
    *copy = {0, source.size, data};
    return copy;
}

void free_array(SAFEARRAY* array) {
    if (!array) return;
    std::free(array->data);
    std::free(array);
}

/// Replaces the pointer in the copied bits by a copy or a reference of its own.
HRESULT make_unshared(VARIANT& copy) {
    if (copy.vt & VT_ARRAY) {
        if (!copy.parray) return S_OK;
        copy.parray = copy_array(*copy.parray);
        return copy.parray ? S_OK : E_OUTOFMEMORY;
    }
    switch (copy.vt) {
    case VT_BSTR:
        if (!copy.bstrVal) return S_OK;
        copy.bstrVal = SysAllocStringLen(copy.bstrVal, SysStringLen(copy.bstrVal));
        return copy.bstrVal ? S_OK : E_OUTOFMEMORY;
    case VT_DISPATCH:
    case VT_UNKNOWN:
        if (copy.punkVal) copy.punkVal->AddRef();
        return S_OK;
    case VT_RECORD:
        return E_NOTIMPL;
    default:
        return S_OK;
    }
}

} // namespace

void VariantInit(VARIANT* variant) {
    *variant = VARIANT{};
}

HRESULT VariantClear(VARIANT* variant) {
    if (!variant || !is_valid(variant->vt)) return E_INVALIDARG;
    const VARIANT old = *variant;
    if (!(old.vt & VT_BYREF) && (old.vt & VT_ARRAY) && old.parray && old.parray->locks) return DISP_E_ARRAYISLOCKED;

    // Make the variant empty before the release: the release can call this function again for the same variant.
    VariantInit(variant);
    if (old.vt & VT_BYREF) return S_OK;
    if (old.vt & VT_ARRAY)
        free_array(old.parray);
    else if (old.vt == VT_BSTR)
        SysFreeString(old.bstrVal);
    else if ((old.vt == VT_DISPATCH || old.vt == VT_UNKNOWN) && old.punkVal)
        old.punkVal->Release();
    return S_OK;
}

HRESULT VariantCopy(VARIANT* target, const VARIANT* source) {
    if (target == source) return S_OK;
    if (!target || !source) return E_INVALIDARG;
    if (!is_valid(source->vt)) return DISP_E_BADVARTYPE;

    // Copy before the target is cleared: the source may belong to the object that the target references.
    VARIANT copy = *source;
    const HRESULT owned = (copy.vt & VT_BYREF) ? S_OK : make_unshared(copy);
    // The failed copy still has the pointer of the source. The target becomes empty, so that it never releases that
    // pointer.
    if (failed(owned)) VariantInit(&copy);
    const HRESULT cleared = VariantClear(target);
    if (failed(cleared)) {
        VariantClear(&copy);
        return cleared;
    }
    *target = copy;
    return owned;
}

} // namespace ZoAtlCom
