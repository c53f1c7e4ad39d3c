#include "bench/plain_proxy.h"

#include "tests/fakes/fake_collections.h"

namespace plain {

using namespace ZoEventLoggerFdxProxyLib;
using ZoAtlCom::CComPtr;

namespace {

class PlainSettings final : public fakes::ComObject<fakes::Dispatch<IZoConnectionSettings>> {
public:
    HRESULT SetPreloadTranslations(VARIANT_BOOL) override { return S_OK; }

protected:
    void* find(const GUID&) override { return static_cast<IZoConnectionSettings*>(this); }
};

template <class Collection, class Interface, class Item>
HRESULT give_items(const std::vector<CComPtr<Item>>& items, Collection** out) {
    *out = CComPtr<Collection>(new PlainCollection<Collection, Interface, Item>(items)).detach();
    return S_OK;
}

struct Prepared {
    int count = 0;
    std::vector<LoggedEventPtr> history;
} prepared;

} // namespace

void prepare_loggers(int count, std::vector<LoggedEventPtr> history) {
    prepared = {count, std::move(history)};
}

HRESULT create_logger(const GUID& iid, void** out) {
    if (prepared.count-- <= 0) return E_FAIL;
    latest_logger() = new PlainLogger(prepared.history);
    return latest_logger()->QueryInterface(iid, out);
}

LoggerPtr& latest_logger() {
    static LoggerPtr latest;
    return latest;
}

// Arguments lie in reverse order.
HRESULT PlainLogger::invoke(std::int32_t dispatch_id, IDispatch* object, const VARIANT_BOOL* flag) {
    VARIANT reversed[2]{};
    std::uint32_t count = 0;
    if (flag) {
        reversed[count].vt = VT_BOOL;
        reversed[count++].boolVal = *flag;
    }
    reversed[count].vt = VT_DISPATCH;
    reversed[count++].pdispVal = object;
    DISPPARAMS arguments{reversed, nullptr, count, 0};
    return sink_->Invoke(dispatch_id, GUID{}, 0, 1, &arguments, nullptr, nullptr, nullptr);
}

HRESULT PlainLogger::GetActiveAlarms(IZoAlarmCollection** out) {
    return give_items<IZoAlarmCollection, IZoAlarm>(std::vector<AlarmPtr>(), out);
}

HRESULT PlainLogger::GetLoggedEvents(std::uint32_t, IZoLoggedEventCollection** out) {
    for (const MessagePtr& message : messages_meanwhile)
        send(message);
    for (const AlarmPtr& alarm : alarms_meanwhile)
        raise(alarm);
    return give_items<IZoLoggedEventCollection, IZoLoggedEvent>(history, out);
}

HRESULT PlainLogger::GetCausesAndRemedies(const GUID&, std::uint32_t, std::int32_t, IZoCauseRemedyCollection** out) {
    const fakes::ThreeTexts texts{"1", "The filler ran empty", "Open valve 3 and confirm"};
    const std::vector<CComPtr<fakes::FakeCauseRemedy>> items{new fakes::FakeCauseRemedy(texts),
                                                             new fakes::FakeCauseRemedy(texts)};
    return give_items<IZoCauseRemedyCollection, IZoCauseRemedy>(items, out);
}

HRESULT PlainLogger::GetDetails(const GUID&, std::uint32_t, std::int32_t, IZoDetailCollection** out) {
    const fakes::ThreeTexts texts{"1", "Level", "Of the tank before the filler"};
    const std::vector<CComPtr<fakes::FakeDetail>> items{new fakes::FakeDetail(texts), new fakes::FakeDetail(texts)};
    return give_items<IZoDetailCollection, IZoDetail>(items, out);
}

HRESULT PlainLogger::Advise(IUnknown* sink, std::uint32_t* cookie) {
    CComPtr<IDispatch> asked;
    const HRESULT code = sink->QueryInterface(IID__IZoEventLoggerEvents, asked.put_void());
    sink_ = asked.get(); // a sink is not counted, so this stays valid until Unadvise
    *cookie = 1;
    return code;
}

void* PlainLogger::find(const GUID& iid) {
    if (iid == IID_IZoEventLoggerTimeout) return static_cast<IZoEventLoggerTimeout*>(this);
    if (iid == IID_IConnectionPointContainer) return static_cast<IConnectionPointContainer*>(this);
    if (iid == IID_IZoEventLoggerClassName) return static_cast<IZoEventLoggerClassName*>(this);
    if (iid == IID_IZoEventLoggerSourceName) return static_cast<IZoEventLoggerSourceName*>(this);
    return static_cast<IZoEventLogger5*>(this);
}

} // namespace plain

HRESULT ZoEventLoggerFdxProxyLib::CreateInstance(const GUID& clsid, const GUID& iid, void** out) {
    if (clsid == CLSID_ZoConnectionSettings)
        return ZoAtlCom::CComPtr<IUnknown>(new plain::PlainSettings)->QueryInterface(iid, out);
    return plain::create_logger(iid, out);
}

HRESULT ZoEventLoggerFdxProxyLibErrorMessage(HRESULT, char** out) {
    *out = nullptr;
    return E_FAIL;
}
