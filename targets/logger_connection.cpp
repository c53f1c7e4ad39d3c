#include "targets/logger_connection.h"

#include "binding/counted_string.h"
#include "binding/error.h"
#include "binding/identifiers.h"
#include "extension/host/timestamp.h"
#include "support/numeric.h"
#include "targets/logging_functions.h"
#include "targets/trace_message.h"

#include <algorithm>
#include <exception>
#include <limits>
#include <utility>

namespace ZoHmiEventLogger {

using namespace ZoEventLoggerFdxProxyLib;
using ZoAtlCom::CAtlException;
using ZoAtlCom::throw_if_failed;
using ZoHmiSrv::MutexLock;

namespace {

// For the logger of an older target, which has no connection settings.
constexpr HRESULT settings_not_supported = hresult(0x98110701);

std::string code_text(HRESULT code) {
    return ZoHmiSrv::Algorithm::integer_to_hex<int>(code, true, true, true);
}

} // namespace

LoggerConnection::LoggerConnection(ILoggingFunctions* listener, const std::string& name, std::string net_id)
    : listener_(listener), name_(name), net_id_(std::move(net_id)) {
}

bool LoggerConnection::create_proxy() {
    const HRESULT code = CreateInstance(CLSID_ZoEventLogger, IID_IZoEventLogger, proxy_.put_void());
    if (!failed(code) && proxy_) return true;
    (void)proxy_.detach(); // on failure the out parameter is unspecified
    listener_->log_message(
        trace_message("CAN_NOT_CREATE_PROXY", {name_.c_str(), code_text(code).c_str()}, failure_severity));
    return false;
}

void LoggerConnection::set_timeout(const ZoHmiSrv::Timespan& timeout) {
    ZoAtlCom::CComQIPtr<IZoEventLoggerTimeout> setting;
    throw_if_failed(setting.query(proxy_.get()));
    if (!setting) throw CAtlException(E_NOINTERFACE);
    constexpr std::int64_t max = std::numeric_limits<std::uint32_t>::max();
    throw_if_failed(
        setting->SetTimeout(static_cast<std::uint32_t>(std::clamp<std::int64_t>(timeout.milliseconds(), 0, max))));
}

ConnectionStatus LoggerConnection::query() {
    if (!disabled_) {
        VARIANT_BOOL connected = VARIANT_FALSE;
        throw_if_failed(proxy_->IsConnected(&connected));
        if (connected == VARIANT_TRUE) {
            if (status_) {
                status_->connected = true;
                status_->has_error = false;
            }
            return {true, 0, true};
        }
    }
    if (status_ && !status_->connected) return {false, status_->error, status_->has_error};
    return {false, 0, true};
}

bool LoggerConnection::open(bool preload_translations) {
    ZoAtlCom::CComPtr<IZoConnectionSettings> settings;
    HRESULT code = S_OK;
    try {
        code = CreateInstance(CLSID_ZoConnectionSettings, IID_IZoConnectionSettings, settings.put_void());
        if (succeeded(code) && !settings) code = E_POINTER;
        if (succeeded(code)) {
            throw_if_failed(settings->SetPreloadTranslations(preload_translations ? VARIANT_TRUE : VARIANT_FALSE));
            code = call_connect(*settings);
        }
    } catch (const std::exception& exception) {
        settings.release();
        listener_->log_exception(name_, exception);
        return false;
    } catch (...) {
        settings.release();
        listener_->log_unknown_exception(name_);
        return false;
    }
    if (failed(code)) connect_failed(code);
    return succeeded(code);
}

HRESULT LoggerConnection::call_connect(IZoConnectionSettings& settings) {
    try {
        const ZoAtlCom::CountedString address(net_id_.c_str());
        const HRESULT code = proxy_->ConnectWithSettings(&settings, address.get());
        return code == settings_not_supported ? proxy_->Connect(address.get()) : code;
    } catch (const CAtlException& no_memory) {
        return no_memory.code();
    }
}

void LoggerConnection::connect_failed(HRESULT code) {
    status_ = ConnectionStatus{false, code, true};
    listener_->log_message(trace_message("TARGET_SYSTEM_CONNECT_FAILED", {name_.c_str(), code_text(code).c_str()}));
}

ZoHmiSrv::ResultPair LoggerConnection::check() {
    const MutexLock lock(mutex_);
    if (disabled_) return {ZoHmiSrv::HMI_E_CONNECT, "Connection disabled."};
    if (!query().connected) return {ZoHmiSrv::HMI_E_CONNECT, "Not connected."};
    return {};
}

HRESULT LoggerConnection::call(HRESULT (IZoEventLogger::*operation)()) {
    try {
        return throw_if_failed(proxy_ ? (proxy_.get()->*operation)() : E_POINTER);
    } catch (...) {
        report_current_exception();
        return E_FAIL;
    }
}

void LoggerConnection::report_current_exception() {
    try {
        throw;
    } catch (const CAtlException& exception) {
        listener_->log_exception(name_, exception);
    } catch (...) {
        listener_->log_unknown_exception(name_);
    }
}

} // namespace ZoHmiEventLogger
