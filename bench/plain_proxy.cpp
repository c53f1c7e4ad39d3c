#include "bench/plain_proxy.h"

#include "platform/logger_proxy/collection.h"

namespace plain {

using namespace ZoEventLoggerFdxProxyLib;
using ZoAtlCom::CComPtr;

namespace {

using zo_logger_proxy::Collection;

class PlainSettings final : public fakes::ComObject<IZoConnectionSettings> {
public:
    HRESULT SetPreloadTranslations(VARIANT_BOOL) override { return S_OK; }

private:
    void* find_interface(const GUID&) override { return static_cast<IZoConnectionSettings*>(this); }
};

template <class List, class Interface, class Item>
HRESULT give_items(const std::vector<CComPtr<Item>>& items, List** out) {
    typename Collection<List, Interface>::Items copy;
    copy.reserve(items.size());
    for (const CComPtr<Item>& item : items)
        copy.emplace_back(item.get());
    *out = new Collection<List, Interface>(std::move(copy));
    return S_OK;
}

template <class List, class Interface, class Item>
HRESULT give_twice(const zo_logger_proxy::ThreeTexts& texts, List** out) {
    typename Collection<List, Interface>::Items items(2);
    for (auto& item : items)
        item.attach(new Item(texts));
    *out = new Collection<List, Interface>(std::move(items));
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
    return give_twice<IZoCauseRemedyCollection, IZoCauseRemedy, zo_logger_proxy::CauseRemedy>(
        {"1", "The filler ran empty", "Open valve 3 and confirm"}, out);
}

HRESULT PlainLogger::GetDetails(const GUID&, std::uint32_t, std::int32_t, IZoDetailCollection** out) {
    return give_twice<IZoDetailCollection, IZoDetail, zo_logger_proxy::Detail>(
        {"1", "Level", "Of the tank before the filler"}, out);
}

HRESULT PlainLogger::Advise(IUnknown* sink, std::uint32_t* cookie) {
    CComPtr<IDispatch> asked;
    const HRESULT code = sink->QueryInterface(IID__IZoEventLoggerEvents, asked.put_void());
    sink_ = asked.get(); // a sink is not counted, so this stays valid until Unadvise
    *cookie = 1;
    return code;
}

void* PlainLogger::find_interface(const GUID& iid) {
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
