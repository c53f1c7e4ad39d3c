#include "tests/fakes/fake_logger.h"

#include <algorithm>

namespace fakes {

using namespace ZoEventLoggerFdxProxyLib;
using ZoAtlCom::CComPtr;

namespace {

template <class Collection, class Item, class Fake>
Collection* snapshot(const char* kind, const std::vector<CComPtr<Fake>>& items, std::shared_ptr<CallPlan> plan,
                     std::optional<std::int32_t> reported, const GUID* iid = nullptr) {
    std::vector<CComPtr<Item>> copy;
    for (const CComPtr<Fake>& item : items)
        copy.push_back(CComPtr<Item>(item.get()));
    CComPtr<Collection> made(
        new FakeCollection<Collection, Item>(kind, std::move(copy), std::move(plan), reported, iid));
    return made.detach();
}

VARIANT object_variant(IDispatch* object) {
    VARIANT variant{};
    variant.vt = VT_DISPATCH;
    variant.pdispVal = object;
    return variant;
}

VARIANT flag_variant(VARIANT_BOOL flag) {
    VARIANT variant{};
    variant.vt = VT_BOOL;
    variant.boolVal = flag;
    return variant;
}

} // namespace

HRESULT FakeConnectionSettings::SetPreloadTranslations(VARIANT_BOOL value) {
    if (const auto planned = plan_->enter("SetPreloadTranslations")) return *planned;
    preload = value;
    return S_OK;
}

void* FakeConnectionSettings::find(const GUID& iid) {
    const bool known = iid == IID_IUnknown || iid == IID_IDispatch || iid == IID_IZoConnectionSettings;
    return known ? static_cast<IZoConnectionSettings*>(this) : nullptr;
}

FakeLogger::FakeLogger(std::string name) : plan(std::make_shared<CallPlan>(std::move(name))) {
}

AlarmPtr FakeLogger::make_alarm(EventFields fields) {
    return new FakeAlarm(std::move(fields), plan);
}

MessagePtr FakeLogger::make_message(EventFields fields) {
    return new FakeMessage(std::move(fields), plan);
}

LoggedEventPtr FakeLogger::make_logged_event(EventFields fields) {
    return new FakeLoggedEvent(std::move(fields), plan);
}

void FakeLogger::edit(const std::function<void()>& change) {
    const std::lock_guard lock(mutex_);
    change();
}

FakeLogger::Record FakeLogger::record() const {
    const std::lock_guard lock(mutex_);
    return record_;
}

IDispatch* FakeLogger::sink() const {
    const std::lock_guard lock(mutex_);
    return sink_;
}

HRESULT FakeLogger::fire(std::int32_t dispatch_id, std::vector<VARIANT> reversed_arguments, VARIANT* result) {
    IDispatch* target = sink();
    if (!target) return S_FALSE;
    DISPPARAMS arguments{reversed_arguments.data(), nullptr, static_cast<std::uint32_t>(reversed_arguments.size()), 0};
    return target->Invoke(dispatch_id, GUID{}, 0, 1, &arguments, result, nullptr, nullptr);
}

HRESULT FakeLogger::fire_message(const MessagePtr& message) {
    return fire(_IZoEventLoggerEvents::OnMessageSent, {object_variant(message.get())});
}

HRESULT FakeLogger::fire_raised(const AlarmPtr& alarm) {
    return fire(_IZoEventLoggerEvents::OnAlarmRaised, {object_variant(alarm.get())});
}

HRESULT FakeLogger::fire_cleared(const AlarmPtr& alarm, VARIANT_BOOL removed) {
    return fire(_IZoEventLoggerEvents::OnAlarmCleared, {flag_variant(removed), object_variant(alarm.get())});
}

HRESULT FakeLogger::fire_confirmed(const AlarmPtr& alarm, VARIANT_BOOL removed) {
    return fire(_IZoEventLoggerEvents::OnAlarmConfirmed, {flag_variant(removed), object_variant(alarm.get())});
}

HRESULT FakeLogger::fire_database_changed(std::int32_t reason) {
    VARIANT variant{};
    variant.vt = VT_I4;
    variant.lVal = reason;
    return fire(_IZoEventLoggerEvents::OnDatabaseChanged, {variant});
}

HRESULT FakeLogger::Connect(const char* address) {
    const auto planned = plan->enter("Connect");
    const std::lock_guard lock(mutex_);
    record_.addresses.emplace_back(address ? address : "(null)");
    if (planned) return *planned;
    connected = VARIANT_TRUE;
    return S_OK;
}

HRESULT FakeLogger::ConnectWithSettings(IZoConnectionSettings* settings, const char* address) {
    const auto planned = plan->enter("ConnectWithSettings");
    const std::lock_guard lock(mutex_);
    record_.addresses.emplace_back(address ? address : "(null)");
    // The product passes back what the fake library made.
    if (settings) record_.preloads.push_back(static_cast<FakeConnectionSettings*>(settings)->preload);
    if (planned) return *planned;
    connected = VARIANT_TRUE;
    return S_OK;
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
    std::vector<CComPtr<FakeCauseRemedy>> items;
    for (const ThreeTexts& texts : causes_and_remedies)
        items.push_back(new FakeCauseRemedy(texts));
    *out = snapshot<IZoCauseRemedyCollection, IZoCauseRemedy>("CauseRemedies", items, plan, {},
                                                              &IID_IZoCauseRemedyCollection);
    return S_OK;
}

HRESULT FakeLogger::GetDetails(const GUID&, std::uint32_t, std::int32_t, IZoDetailCollection** out) {
    *out = nullptr;
    if (const auto planned = plan->enter("GetDetails")) return *planned;
    std::vector<CComPtr<FakeDetail>> items;
    for (const ThreeTexts& texts : details)
        items.push_back(new FakeDetail(texts));
    *out = snapshot<IZoDetailCollection, IZoDetail>("Details", items, plan, {}, &IID_IZoDetailCollection);
    return S_OK;
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

void* FakeLogger::find(const GUID& iid) {
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
