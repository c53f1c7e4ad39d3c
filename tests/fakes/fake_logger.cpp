#include "tests/fakes/fake_logger.h"

namespace fakes {

using ZoAtlCom::CComPtr;

namespace {

template <class Collection, class Item, class Fake>
Collection* snapshot(const char* kind, const std::vector<CComPtr<Fake>>& items, std::shared_ptr<CallPlan> plan,
                     std::optional<std::int32_t> reported) {
    std::vector<CComPtr<Item>> copy;
    for (const CComPtr<Fake>& item : items)
        copy.emplace_back(item.get());
    using Made = FakeCollection<Collection, Item>;
    return CComPtr<Collection>(new Made(kind, std::move(copy), std::move(plan), reported)).detach();
}

// The texts as items that the proxy itself would make.
template <class Collection, class Item, class Made>
HRESULT give_texts(const char* kind, const std::vector<ThreeTexts>& texts, std::shared_ptr<CallPlan> plan,
                   Collection** out) {
    std::vector<CComPtr<Item>> items(texts.size());
    for (std::size_t i = 0; i < texts.size(); ++i)
        items[i].attach(new Made(texts[i]));
    *out = snapshot<Collection, Item>(kind, items, std::move(plan), {});
    return S_OK;
}

} // namespace

HRESULT FakeLogger::connect(const char* call, const char* address, const FakeConnectionSettings* settings) {
    const auto planned = plan->enter(call);
    const std::lock_guard lock(mutex_);
    record_.addresses.emplace_back(address ? address : "(null)");
    if (settings) record_.preloads.push_back(settings->preload);
    if (!planned) connected = VARIANT_TRUE;
    return planned.value_or(S_OK);
}

HRESULT FakeLogger::Disconnect() {
    if (const auto planned = plan->enter("Disconnect")) return *planned;
    connected = VARIANT_FALSE;
    return S_OK;
}

HRESULT FakeLogger::IsConnected(VARIANT_BOOL* out) {
    *out = VARIANT_FALSE;
    if (const auto planned = plan->enter("IsConnected")) return *planned;
    *out = connected;
    return S_OK;
}

HRESULT FakeLogger::GetActiveAlarms(IZoAlarmCollection** out) {
    *out = nullptr;
    if (const auto planned = plan->enter("GetActiveAlarms")) return *planned;
    const std::lock_guard lock(mutex_);
    *out = snapshot<IZoAlarmCollection, IZoAlarm>("Alarms", active, plan, reported_active_count);
    return S_OK;
}

HRESULT FakeLogger::GetLoggedEvents(std::uint32_t count, IZoLoggedEventCollection** out) {
    *out = nullptr;
    const auto planned = plan->enter("GetLoggedEvents");
    const std::lock_guard lock(mutex_);
    record_.history_counts.push_back(count);
    if (planned) return *planned;
    const auto newest = static_cast<std::ptrdiff_t>(std::min<std::size_t>(count, history.size()));
    const std::vector<LoggedEventPtr> items(history.end() - newest, history.end());
    *out = snapshot<IZoLoggedEventCollection, IZoLoggedEvent>("LoggedEvents", items, plan, reported_history_count);
    return S_OK;
}

HRESULT FakeLogger::ClearLoggedEvents() {
    if (const auto planned = plan->enter("ClearLoggedEvents")) return *planned;
    const std::lock_guard lock(mutex_);
    history.clear();
    return S_OK;
}

HRESULT FakeLogger::GetText(const GUID& event_class, std::uint32_t event_id, std::int32_t language,
                            const ArgumentDescriptor* arguments, const std::uint8_t* block, char** out) {
    *out = nullptr;
    const auto planned = plan->enter("GetText");
    TextRequest request{event_class, event_id, language, {}, {}};
    if (arguments) {
        request.arguments = *arguments;
        const std::uint32_t size =
            std::max(arguments->types_offset + arguments->types_size, arguments->data_offset + arguments->data_size);
        if (block && size) request.block.assign(block, block + size);
    }
    {
        const std::lock_guard lock(mutex_);
        record_.text_requests.push_back(request);
    }
    if (planned) return *planned;
    return text ? hand_out(text(request), out) : S_OK;
}

HRESULT FakeLogger::GetCausesAndRemedies(const GUID&, std::uint32_t, std::int32_t, IZoCauseRemedyCollection** out) {
    *out = nullptr;
    if (const auto planned = plan->enter("GetCausesAndRemedies")) return *planned;
    return give_texts<IZoCauseRemedyCollection, IZoCauseRemedy, zo_logger_proxy::CauseRemedy>(
        "CauseRemedies", causes_and_remedies, plan, out);
}

HRESULT FakeLogger::GetDetails(const GUID&, std::uint32_t, std::int32_t, IZoDetailCollection** out) {
    *out = nullptr;
    if (const auto planned = plan->enter("GetDetails")) return *planned;
    return give_texts<IZoDetailCollection, IZoDetail, zo_logger_proxy::Detail>("Details", details, plan, out);
}

HRESULT FakeLogger::GetEventClassName(const GUID& event_class, std::int32_t language, char** out) {
    *out = nullptr;
    if (const auto planned = plan->enter("GetEventClassName")) return *planned;
    return class_name ? hand_out(class_name(event_class, language), out) : S_OK;
}

HRESULT FakeLogger::GetSourceNameText(std::int32_t language, const GUID& source, const char* name, char** out) {
    *out = nullptr;
    if (const auto planned = plan->enter("GetSourceNameText")) return *planned;
    return source_name ? hand_out(source_name(language, source, name ? name : ""), out) : S_OK;
}

HRESULT FakeLogger::SetTimeout(std::uint32_t milliseconds) {
    const auto planned = plan->enter("SetTimeout");
    const std::lock_guard lock(mutex_);
    record_.timeouts.push_back(milliseconds);
    return planned.value_or(S_OK);
}

HRESULT FakeLogger::FindConnectionPoint(const GUID& iid, IConnectionPoint** out) {
    *out = nullptr;
    if (const auto planned = plan->enter("FindConnectionPoint")) return *planned;
    if (iid != IID__IZoEventLoggerEvents) return E_NOINTERFACE;
    *out = this;
    AddRef();
    return S_OK;
}

HRESULT FakeLogger::Advise(IUnknown* sink, std::uint32_t* cookie) {
    *cookie = 0;
    if (const auto planned = plan->enter("Advise")) return *planned;
    CComPtr<IDispatch> asked;
    const HRESULT code = sink->QueryInterface(IID__IZoEventLoggerEvents, asked.put_void());
    if (failed(code)) return code;
    const std::lock_guard lock(mutex_);
    sink_ = asked.get(); // a sink is not counted, so this stays valid until Unadvise
    *cookie = ++cookie_;
    record_.advised.push_back(*cookie);
    return S_OK;
}

HRESULT FakeLogger::Unadvise(std::uint32_t cookie) {
    const auto planned = plan->enter("Unadvise");
    const std::lock_guard lock(mutex_);
    record_.unadvised.push_back(cookie);
    if (planned) return *planned;
    if (!sink_ || cookie != cookie_) return E_INVALIDARG;
    sink_ = nullptr;
    return S_OK;
}

void* FakeLogger::find_interface(const GUID& iid) {
    if (iid == IID_IUnknown || iid == IID_IDispatch || iid == IID_IZoEventLogger ||
        (iid == IID_IZoEventLogger4 && has_logger4) || (iid == IID_IZoEventLogger5 && has_logger5))
        return static_cast<IZoEventLogger5*>(this);
    if (iid == IID_IZoEventLoggerTimeout && has_timeout) return static_cast<IZoEventLoggerTimeout*>(this);
    if (iid == IID_IConnectionPointContainer && has_connection_points)
        return static_cast<IConnectionPointContainer*>(this);
    if (iid == IID_IZoEventLoggerClassName && has_class_name) return static_cast<IZoEventLoggerClassName*>(this);
    if (iid == IID_IZoEventLoggerSourceName && has_source_name) return static_cast<IZoEventLoggerSourceName*>(this);
    return nullptr;
}

} // namespace fakes
