#pragma once

#include "binding/identifiers.h"
#include "binding/logger.h"
#include "platform/logger_proxy/com_object.h"

#include <atomic>

namespace zo_logger_proxy {

/// Identifies the ConnectionSettings object itself in a query on a caller's settings: the interface cannot read a flag
/// back.
inline constexpr GUID IID_own_settings{0x6E9D2F14, 0x3B67, 0x4C0A, {0x9D, 0x15, 0x42, 0xE8, 0x77, 0x0B, 0x5C, 0xF3}};

/// The settings of one connect. [any thread]
class ConnectionSettings final
    : public CountedObject<ConnectionSettings, ZoEventLoggerFdxProxyLib::IZoConnectionSettings> {
public:
    HRESULT SetPreloadTranslations(VARIANT_BOOL preload) override {
        preload_ = preload != VARIANT_FALSE;
        return S_OK;
    }
    bool preload() const { return preload_; }

    void* find_interface(const GUID& iid) {
        using ZoEventLoggerFdxProxyLib::IZoConnectionSettings;
        if (iid == IID_own_settings) return this;
        return answers_to<IZoConnectionSettings>(iid) ? static_cast<IZoConnectionSettings*>(this) : nullptr;
    }

private:
    friend CountedObject;
    ~ConnectionSettings() = default;

    std::atomic<bool> preload_{false};
};

} // namespace zo_logger_proxy
