#include "platform/logger_proxy/connection_settings.h"
#include "platform/logger_proxy/error_texts.h"
#include "platform/logger_proxy/logger.h"
#include "platform/logger_proxy/out_values.h"
#include "platform/logger_proxy/thread_reaper.h"

#include "binding/com_ptr.h"

namespace {

constexpr HRESULT class_not_registered = hresult(0x80040154);

template <class Object>
HRESULT create(const GUID& iid, void** out) {
    ZoAtlCom::CComPtr<Object> object;
    object.attach(new Object);
    return object->QueryInterface(iid, out);
}

} // namespace

HRESULT ZoEventLoggerFdxProxyLib::CreateInstance(const GUID& clsid, const GUID& iid, void** out) {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    return zo_logger_proxy::guarded([&] {
        zo_logger_proxy::ThreadReaper::instance().reap();
        if (clsid == CLSID_ZoEventLogger) return create<zo_logger_proxy::Logger>(iid, out);
        if (clsid == CLSID_ZoConnectionSettings) return create<zo_logger_proxy::ConnectionSettings>(iid, out);
        return class_not_registered;
    });
}

extern "C" HRESULT ZoEventLoggerFdxProxyLibErrorMessage(HRESULT code, char** out) {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    for (const auto& row : zo_logger_proxy::error_texts)
        if (hresult(row.code) == code) return zo_logger_proxy::put_text(out, row.text);
    return E_INVALIDARG;
}
