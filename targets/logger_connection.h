#pragma once

#include "binding/com_ptr.h"
#include "binding/logger.h"
#include "extension/host/result.h"
#include "support/mutex.h"

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

namespace ZoHmiSrv {
class Timespan;
}

namespace ZoHmiEventLogger {

class ILoggingFunctions;

/// State of a connection. `error` is the code of the last failed connect and is valid with `has_error` only; 0 then
/// means that no error is known.
struct ConnectionStatus {
    bool connected = false;
    std::int32_t error = 0;
    bool has_error = false;
};

/// The link of one target to its event logger: the proxy object, and the remembered status of its connection.
class LoggerConnection {
public:
    using IZoEventLogger = ZoEventLoggerFdxProxyLib::IZoEventLogger;

    /// `name` is the target's and must outlive this object.
    LoggerConnection(ILoggingFunctions* listener, const std::string& name, std::string net_id);

    /// Creates the proxy object. Returns false after it reported a failure. In the target's constructor only.
    bool create_proxy();
    /// Sets the timeout of requests in whole milliseconds; a negative one counts as 0. Throws CAtlException.
    void set_timeout(const ZoHmiSrv::Timespan& timeout);
    /// Null when it could not be created. [any thread]
    IZoEventLogger* proxy() const { return proxy_.get(); }
    void release_proxy() { proxy_.release(); }

    const std::string& net_id() const { return net_id_; }
    /// True until the first connect of the target, and never again. [any thread]
    bool disabled() const { return disabled_; }
    void enable() { disabled_ = false; }

    /// Locked during a connect or disconnect.
    ZoHmiSrv::Mutex& mutex() ZO_RETURN_CAPABILITY(mutex_) { return mutex_; }
    /// Asks the proxy. Throws CAtlException when that fails.
    ConnectionStatus query() ZO_REQUIRES(mutex_);
    /// Connects. A failing code is remembered and reported; an exception is only reported.
    bool open(bool preload_translations) ZO_REQUIRES(mutex_);
    /// The status at the end of the last poll or failed connect, if there was one.
    bool was_connected() const ZO_REQUIRES(mutex_) { return status_ && status_->connected; }
    void remember(const ConnectionStatus& status) ZO_REQUIRES(mutex_) { status_ = status; }

    /// HMI_E_CONNECT with a text when requests cannot reach the logger. Throws as `query` does. [any thread]
    ZoHmiSrv::ResultPair check();
    /// Calls the logger. Returns its result; E_FAIL after a failure was reported. [any thread]
    HRESULT call(HRESULT (IZoEventLogger::*operation)());
    /// Reports the exception of the current handler: its code, if a call of the proxy failed. [any thread]
    void report_current_exception();

private:
    HRESULT call_connect(ZoEventLoggerFdxProxyLib::IZoConnectionSettings& settings);
    void connect_failed(HRESULT code) ZO_REQUIRES(mutex_);

    ILoggingFunctions* const listener_;
    const std::string& name_;
    const std::string net_id_; // resolved
    ZoAtlCom::CComPtr<IZoEventLogger> proxy_;
    std::atomic<bool> disabled_ = true;
    ZoHmiSrv::Mutex mutex_;
    std::optional<ConnectionStatus> status_ ZO_GUARDED_BY(mutex_);
};

} // namespace ZoHmiEventLogger
