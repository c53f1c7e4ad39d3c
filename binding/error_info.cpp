#include "binding/error_info.h"

#include "binding/counted_string.h"
#include "binding/identifiers.h"

#include <new>

namespace ZoAtlCom::detail {

using namespace ZoEventLoggerFdxProxyLib;

namespace {

HRESULT set_text(std::string& field, const char* text) {
    try {
        field = text ? text : "";
        return S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

HRESULT get_text(const std::string& field, char** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (field.empty()) return S_OK;
    *out = SysAllocString(field.c_str());
    return *out ? S_OK : E_OUTOFMEMORY;
}

} // namespace

HRESULT ZoErrorInfo::QueryInterface(const GUID& iid, void** out) {
    if (!out) return E_POINTER;
    if (iid == IID_IUnknown || iid == IID_ICreateErrorInfo)
        *out = static_cast<ICreateErrorInfo*>(this);
    else if (iid == IID_IErrorInfo)
        *out = static_cast<IErrorInfo*>(this);
    else {
        *out = nullptr;
        return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
}

std::uint32_t ZoErrorInfo::AddRef() {
    return ++references_;
}

std::uint32_t ZoErrorInfo::Release() {
    const std::uint32_t left = --references_;
    if (left == 0) delete this;
    return left;
}

HRESULT ZoErrorInfo::SetGUID(const GUID& guid) {
    guid_ = guid;
    return S_OK;
}

HRESULT ZoErrorInfo::SetSource(const char* source) {
    return set_text(source_, source);
}

HRESULT ZoErrorInfo::SetDescription(const char* description) {
    return set_text(description_, description);
}

HRESULT ZoErrorInfo::SetHelpFile(const char* help_file) {
    return set_text(help_file_, help_file);
}

HRESULT ZoErrorInfo::SetHelpContext(std::uint32_t context) {
    help_context_ = context;
    return S_OK;
}

HRESULT ZoErrorInfo::GetGUID(GUID* out) {
    if (!out) return E_POINTER;
    *out = guid_;
    return S_OK;
}

HRESULT ZoErrorInfo::GetSource(char** out) {
    return get_text(source_, out);
}

HRESULT ZoErrorInfo::GetDescription(char** out) {
    return get_text(description_, out);
}

HRESULT ZoErrorInfo::GetHelpFile(char** out) {
    return get_text(help_file_, out);
}

HRESULT ZoErrorInfo::GetHelpContext(std::uint32_t* out) {
    if (!out) return E_POINTER;
    *out = help_context_;
    return S_OK;
}

} // namespace ZoAtlCom::detail
