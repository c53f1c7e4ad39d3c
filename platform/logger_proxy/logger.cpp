#include "platform/logger_proxy/logger.h"

#include "platform/link/event_record.h"
#include "platform/logger_proxy/collection.h"
#include "platform/logger_proxy/connection_settings.h"
#include "support/guid.h"

#include <algorithm>
#include <utility>

#include <nlohmann/json.hpp>

namespace zo_logger_proxy {

namespace {

using namespace ZoEventLoggerFdxProxyLib;
using nlohmann::json;
namespace op = zo_link::op;

/// Results of connection points.
constexpr HRESULT no_such_connection = hresult(0x80040200);
constexpr HRESULT cannot_connect = hresult(0x80040202);

std::string class_text(const GUID& guid) {
    return ZoHmiSrv::Algorithm::uuid_to_string(guid, false);
}

json key_fields(const GUID& event_class, std::uint32_t event_id, std::int32_t language) {
    return {{"class", class_text(event_class)}, {"event", event_id}, {"language", language}};
}

/// Requests a list of items with three texts each, and stores them as objects of class `Item`.
template <class Item, class Interface, class Out>
HRESULT get_texts(LoggerLink& link, const char* operation, const json& fields, Out** out) {
    typename Collection<Out, Interface>::Items items;
    const std::uint32_t result = link.request(operation, fields, [&](const json& answer) {
        const auto list = answer.find("items");
        if (list == answer.end()) return false;
        for (const json& one : *list) {
            if (!one.is_array() || one.size() != 3) return false;
            ThreeTexts texts;
            for (std::size_t i = 0; i < texts.size(); ++i) {
                if (!one[i].is_string()) return false;
                texts[i] = one[i].get<std::string>();
            }
            items.emplace_back().attach(new Item(std::move(texts)));
        }
        return true;
    });
    if (!zo_link::failed(result)) *out = new Collection<Out, Interface>(std::move(items));
    return to_com(result);
}

} // namespace

Logger::~Logger() {
    link_->close();
}

void* Logger::find_interface(const GUID& iid) {
    if (iid == IID_IUnknown || iid == IID_IDispatch || iid == IID_IZoEventLogger)
        return static_cast<IZoEventLogger*>(this);
    if (iid == IID_IZoEventLogger4) return static_cast<IZoEventLogger4*>(this);
    if (iid == IID_IZoEventLogger5) return static_cast<IZoEventLogger5*>(this);
    if (iid == IID_IZoEventLoggerClassName) return static_cast<IZoEventLoggerClassName*>(this);
    if (iid == IID_IZoEventLoggerSourceName) return static_cast<IZoEventLoggerSourceName*>(this);
    if (iid == IID_IZoEventLoggerTimeout) return static_cast<IZoEventLoggerTimeout*>(this);
    if (iid == IID_IConnectionPointContainer) return static_cast<IConnectionPointContainer*>(this);
    if (iid == IID_IConnectionPoint) return static_cast<IConnectionPoint*>(this);
    return nullptr;
}

HRESULT Logger::Connect(const char* address) {
    if (address == nullptr) return E_POINTER;
    return guarded([&] { return to_com(link_->connect(address, false, false)); });
}

HRESULT Logger::ConnectWithSettings(IZoConnectionSettings* settings, const char* address) {
    if (settings == nullptr || address == nullptr) return E_POINTER;
    return guarded([&] {
        bool preload = false;
        void* found = nullptr;
        if (succeeded(settings->QueryInterface(IID_own_settings, &found)) && found != nullptr) {
            auto* own = static_cast<ConnectionSettings*>(found);
            preload = own->preload();
            own->Release();
        }
        return to_com(link_->connect(address, true, preload));
    });
}

HRESULT Logger::Disconnect() {
    return guarded([&] {
        link_->disconnect();
        return S_OK;
    });
}

HRESULT Logger::IsConnected(VARIANT_BOOL* out) {
    return put(out, link_->is_connected() ? VARIANT_TRUE : VARIANT_FALSE);
}

HRESULT Logger::SetTimeout(std::uint32_t milliseconds) {
    link_->set_timeout(milliseconds);
    return S_OK;
}

HRESULT Logger::GetActiveAlarms(IZoAlarmCollection** out) {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    return guarded([&] {
        std::vector<ZoAtlCom::CComPtr<Alarm>> alarms;
        const std::uint32_t result = link_->active_alarms(alarms);
        if (zo_link::failed(result)) return to_com(result);
        Collection<IZoAlarmCollection, IZoAlarm>::Items items;
        for (auto& alarm : alarms)
            items.emplace_back().attach(alarm.detach());
        *out = new Collection<IZoAlarmCollection, IZoAlarm>(std::move(items));
        return S_OK;
    });
}

HRESULT Logger::GetLoggedEvents(std::uint32_t count, IZoLoggedEventCollection** out) {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    return guarded([&] {
        std::vector<Snapshot> events;
        const std::uint32_t result = link_->logged_events(count, events);
        if (zo_link::failed(result)) return to_com(result);
        Collection<IZoLoggedEventCollection, IZoLoggedEvent>::Items items;
        for (Snapshot& event : events)
            items.emplace_back().attach(new LoggedEvent(std::move(event)));
        *out = new Collection<IZoLoggedEventCollection, IZoLoggedEvent>(std::move(items));
        return S_OK;
    });
}

HRESULT Logger::ClearLoggedEvents() {
    return guarded([&] {
        return to_com(link_->request(op::clear_logged_events, json::object(), [](const json&) { return true; }));
    });
}

HRESULT Logger::get_text(const char* operation, const json& fields, char** out) {
    std::string text;
    const auto read = [&](const json& answer) { return zo_link::read_field(answer, "text", text); };
    const std::uint32_t result = link_->request(operation, fields, read);
    return zo_link::failed(result) ? to_com(result) : put_text(out, text);
}

HRESULT Logger::GetText(const GUID& event_class, std::uint32_t event_id, std::int32_t language,
                        const ArgumentDescriptor* arguments, const std::uint8_t* block, char** out) {
    if (out == nullptr || arguments == nullptr) return E_POINTER;
    *out = nullptr;
    return guarded([&] {
        const std::uint64_t types_end = std::uint64_t{arguments->types_offset} + arguments->types_size;
        const std::uint64_t data_end = std::uint64_t{arguments->data_offset} + arguments->data_size;
        const std::uint64_t size = std::max(types_end, data_end);
        if (size > zo_link::max_frame_size / 2) return E_INVALIDARG;
        if (size != 0 && block == nullptr) return E_POINTER;
        json fields = key_fields(event_class, event_id, language);
        fields["args"] = {arguments->count, arguments->types_offset, arguments->types_size, arguments->data_offset,
                          arguments->data_size};
        fields["block"] = json::binary(std::vector<std::uint8_t>(block, block + size));
        return get_text(op::get_text, fields, out);
    });
}

HRESULT Logger::GetEventClassName(const GUID& event_class, std::int32_t language, char** out) {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    return guarded([&] {
        return get_text(op::class_name, {{"class", class_text(event_class)}, {"language", language}}, out);
    });
}

HRESULT Logger::GetSourceNameText(std::int32_t language, const GUID& source, const char* name, char** out) {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    return guarded([&] {
        const json fields = {
            {"language", language}, {"guid", class_text(source)}, {"name", name != nullptr ? name : ""}};
        return get_text(op::source_name, fields, out);
    });
}

HRESULT Logger::GetCausesAndRemedies(const GUID& event_class, std::uint32_t event_id, std::int32_t language,
                                     IZoCauseRemedyCollection** out) {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    return guarded([&] {
        const json fields = key_fields(event_class, event_id, language);
        return get_texts<CauseRemedy, IZoCauseRemedy>(*link_, op::causes_remedies, fields, out);
    });
}

HRESULT Logger::GetDetails(const GUID& event_class, std::uint32_t event_id, std::int32_t language,
                           IZoDetailCollection** out) {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    return guarded([&] {
        const json fields = key_fields(event_class, event_id, language);
        return get_texts<Detail, IZoDetail>(*link_, op::details, fields, out);
    });
}

HRESULT Logger::FindConnectionPoint(const GUID& iid, IConnectionPoint** out) {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    if (iid != IID__IZoEventLoggerEvents) return no_such_connection;
    *out = this;
    AddRef();
    return S_OK;
}

HRESULT Logger::Advise(IUnknown* sink, std::uint32_t* cookie) {
    if (sink == nullptr || cookie == nullptr) return E_POINTER;
    *cookie = 0;
    return guarded([&] {
        void* events = nullptr;
        if (failed(sink->QueryInterface(IID__IZoEventLoggerEvents, &events)) || events == nullptr)
            return cannot_connect;
        *cookie = link_->callbacks().advise(static_cast<_IZoEventLoggerEvents*>(events));
        return S_OK;
    });
}

HRESULT Logger::Unadvise(std::uint32_t cookie) {
    return guarded([&] { return link_->callbacks().unadvise(cookie) ? S_OK : no_such_connection; });
}

} // namespace zo_logger_proxy
