#pragma once

#include "binding/connection_points.h"
#include "binding/logger.h"
#include "platform/logger_proxy/com_object.h"
#include "platform/logger_proxy/logger_link.h"

#include <memory>

namespace zo_logger_proxy {

/// The event logger object: all interfaces of the logger and its one connection point, over the target link.
class Logger final
    : public CountedObject<
          Logger, ZoEventLoggerFdxProxyLib::IZoEventLogger5, ZoEventLoggerFdxProxyLib::IZoEventLoggerClassName,
          ZoEventLoggerFdxProxyLib::IZoEventLoggerSourceName, ZoEventLoggerFdxProxyLib::IZoEventLoggerTimeout,
          ZoEventLoggerFdxProxyLib::IConnectionPointContainer, ZoEventLoggerFdxProxyLib::IConnectionPoint> {
public:
    void* find_interface(const GUID& iid);

    HRESULT Connect(const char* address) override;
    HRESULT ConnectWithSettings(ZoEventLoggerFdxProxyLib::IZoConnectionSettings* settings,
                                const char* address) override;
    HRESULT Disconnect() override;
    HRESULT IsConnected(VARIANT_BOOL* out) override;
    HRESULT SetTimeout(std::uint32_t milliseconds) override;

    HRESULT GetActiveAlarms(ZoEventLoggerFdxProxyLib::IZoAlarmCollection** out) override;
    HRESULT GetLoggedEvents(std::uint32_t count, ZoEventLoggerFdxProxyLib::IZoLoggedEventCollection** out) override;
    HRESULT ClearLoggedEvents() override;

    HRESULT GetText(const GUID& event_class, std::uint32_t event_id, std::int32_t language,
                    const ZoEventLoggerFdxProxyLib::ArgumentDescriptor* arguments, const std::uint8_t* block,
                    char** out) override;
    HRESULT GetEventClassName(const GUID& event_class, std::int32_t language, char** out) override;
    HRESULT GetSourceNameText(std::int32_t language, const GUID& source, const char* name, char** out) override;
    HRESULT GetCausesAndRemedies(const GUID& event_class, std::uint32_t event_id, std::int32_t language,
                                 ZoEventLoggerFdxProxyLib::IZoCauseRemedyCollection** out) override;
    HRESULT GetDetails(const GUID& event_class, std::uint32_t event_id, std::int32_t language,
                       ZoEventLoggerFdxProxyLib::IZoDetailCollection** out) override;

    HRESULT FindConnectionPoint(const GUID& iid, ZoEventLoggerFdxProxyLib::IConnectionPoint** out) override;
    HRESULT Advise(IUnknown* sink, std::uint32_t* cookie) override;
    HRESULT Unadvise(std::uint32_t cookie) override;

private:
    friend CountedObject;
    ~Logger();

    HRESULT get_text(const char* operation, const nlohmann::json& fields, char** out);

    const std::shared_ptr<LoggerLink> link_ = LoggerLink::make();
};

} // namespace zo_logger_proxy
