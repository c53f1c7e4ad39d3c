#include "tests/fakes/fake_proxy.h"

#include "tests/fakes/call_log.h"

namespace fakes {

FakeProxyLibrary& FakeProxyLibrary::instance() {
    static FakeProxyLibrary library;
    return library;
}

LoggerPtr FakeProxyLibrary::expect_logger(std::string name) {
    const std::lock_guard lock(mutex_);
    return next_loggers.emplace_back(new FakeLogger(std::move(name)));
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

LoggerPtr FakeProxyLibrary::take_next_logger() {
    const std::lock_guard lock(mutex_);
    if (next_loggers.empty()) next_loggers.emplace_back(new FakeLogger());
    created_.push_back(next_loggers.front());
    next_loggers.pop_front();
    return created_.back();
}

} // namespace fakes

HRESULT ZoEventLoggerFdxProxyLib::CreateInstance(const GUID& clsid, const GUID& iid, void** out) {
    *out = nullptr;
    auto& library = fakes::FakeProxyLibrary::instance();
    if (clsid == CLSID_ZoConnectionSettings) {
        if (const auto planned = library.plan->enter("CreateInstance.ConnectionSettings")) return *planned;
        const ZoAtlCom::CComPtr<fakes::FakeConnectionSettings> made(new fakes::FakeConnectionSettings(library.plan));
        return made->QueryInterface(iid, out);
    }
    if (clsid != CLSID_ZoEventLogger) return E_NOINTERFACE;
    if (const auto planned = library.plan->enter("CreateInstance.Logger")) return *planned;
    return library.take_next_logger()->QueryInterface(iid, out);
}

HRESULT ZoEventLoggerFdxProxyLibErrorMessage(HRESULT code, char** out) {
    *out = nullptr;
    const auto& library = fakes::FakeProxyLibrary::instance();
    if (const auto planned = library.plan->enter("ErrorMessage", true)) return *planned;
    const auto found = library.error_texts.find(code);
    return found == library.error_texts.end() ? E_FAIL : fakes::hand_out(found->second, out);
}
