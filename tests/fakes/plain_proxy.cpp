#include "tests/fakes/plain_proxy.h"

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

class PlainCauseRemedy final : public fakes::ComObject<fakes::Dispatch<IZoCauseRemedy>> {
public:
    HRESULT GetId(char** out) override { return fakes::hand_out("1", out); }
    HRESULT GetCause(char** out) override { return fakes::hand_out("The filler ran empty", out); }
    HRESULT GetRemedy(char** out) override { return fakes::hand_out("Open valve 3 and confirm", out); }

protected:
    void* find(const GUID&) override { return static_cast<IZoCauseRemedy*>(this); }
};

class PlainDetail final : public fakes::ComObject<fakes::Dispatch<IZoDetail>> {
public:
    HRESULT GetId(char** out) override { return fakes::hand_out("1", out); }
    HRESULT GetText(char** out) override { return fakes::hand_out("Level", out); }
    HRESULT GetComment(char** out) override { return fakes::hand_out("Of the tank before the filler", out); }

protected:
    void* find(const GUID&) override { return static_cast<IZoDetail*>(this); }
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
    return give_items<IZoCauseRemedyCollection, IZoCauseRemedy>(
        std::vector<CComPtr<PlainCauseRemedy>>{new PlainCauseRemedy, new PlainCauseRemedy}, out);
}

HRESULT PlainLogger::GetDetails(const GUID&, std::uint32_t, std::int32_t, IZoDetailCollection** out) {
    return give_items<IZoDetailCollection, IZoDetail>(
        std::vector<CComPtr<PlainDetail>>{new PlainDetail, new PlainDetail}, out);
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
