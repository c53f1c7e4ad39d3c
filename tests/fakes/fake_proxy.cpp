#include "tests/fakes/fake_proxy.h"

#include "tests/fakes/call_log.h"

namespace fakes {

using namespace ZoEventLoggerFdxProxyLib;
using ZoAtlCom::CComPtr;

FakeProxyLibrary& FakeProxyLibrary::instance() {
    static FakeProxyLibrary library;
    return library;
}

LoggerPtr FakeProxyLibrary::expect_logger(std::string name) {
    const std::lock_guard lock(mutex_);
    return next_loggers.emplace_back(new FakeLogger(std::move(name)));
}

LoggerPtr FakeProxyLibrary::created(std::size_t index) const {
    const std::lock_guard lock(mutex_);
    return index < created_.size() ? created_[index] : LoggerPtr();
}

int FakeProxyLibrary::reset() {
    {
        const std::lock_guard lock(mutex_);
        for (const LoggerPtr& logger : created_) {
            logger->plan->clear();
            logger->edit([&] {
                logger->active.clear();
                logger->history.clear();
            });
        }
        next_loggers.clear();
        created_.clear();
        error_texts.clear();
        plan->clear();
        plan = std::make_shared<CallPlan>();
    }
    call_log().clear();
    return live_objects();
}

HRESULT FakeProxyLibrary::create(const GUID& clsid, const GUID& iid, void** out) {
    *out = nullptr;
    if (clsid == CLSID_ZoConnectionSettings) {
        if (const auto planned = plan->enter("CreateInstance.ConnectionSettings")) return *planned;
        const CComPtr<FakeConnectionSettings> settings(new FakeConnectionSettings(plan));
        return settings->QueryInterface(iid, out);
    }
    if (clsid != CLSID_ZoEventLogger) return E_NOINTERFACE;
    if (const auto planned = plan->enter("CreateInstance.Logger")) return *planned;
    const std::lock_guard lock(mutex_);
    LoggerPtr logger;
    if (next_loggers.empty()) {
        logger = new FakeLogger();
    } else {
        logger = next_loggers.front();
        next_loggers.pop_front();
    }
    created_.push_back(logger);
    return logger->QueryInterface(iid, out);
}

HRESULT FakeProxyLibrary::error_message(HRESULT code, char** out) {
    *out = nullptr;
    if (const auto planned = plan->enter("ErrorMessage", true)) return *planned;
    const std::lock_guard lock(mutex_);
    const auto found = error_texts.find(code);
    return found == error_texts.end() ? E_FAIL : hand_out(found->second, out);
}

} // namespace fakes

namespace ZoEventLoggerFdxProxyLib {

HRESULT CreateInstance(const GUID& clsid, const GUID& iid, void** out) {
    return fakes::FakeProxyLibrary::instance().create(clsid, iid, out);
}

} // namespace ZoEventLoggerFdxProxyLib

HRESULT ZoEventLoggerFdxProxyLibErrorMessage(HRESULT code, char** out) {
    return fakes::FakeProxyLibrary::instance().error_message(code, out);
}
