#include "tests/fakes/fake_events.h"

#include <algorithm>
#include <string>

namespace fakes {

using namespace ZoEventLoggerFdxProxyLib;

void EventState::update(const std::function<void(EventFields&)>& change) {
    const std::lock_guard lock(mutex_);
    change(fields_);
}

EventFields EventState::fields() const {
    const std::lock_guard lock(mutex_);
    return fields_;
}

std::vector<std::uint32_t> EventState::asked_block_sizes() const {
    const std::lock_guard lock(mutex_);
    return asked_block_sizes_;
}

std::optional<HRESULT> EventState::enter(const char* call, bool is_read) {
    return plan_->enter(std::string(kind_) + "." + call, is_read);
}

template <class T, class Read>
HRESULT EventState::read(const char* call, T* out, Read&& read) {
    *out = T{};
    if (const auto planned = enter(call)) return *planned;
    const std::lock_guard lock(mutex_);
    *out = read(fields_);
    return S_OK;
}

HRESULT EventState::read_text(const char* call, std::optional<std::string> EventFields::*field, char** out) {
    *out = nullptr;
    if (const auto planned = enter(call)) return *planned;
    const std::lock_guard lock(mutex_);
    return fields_.null_strings ? S_OK : hand_out((fields_.*field).value_or(""), out);
}

HRESULT EventState::read_source_flag(std::uint32_t mask, VARIANT_BOOL* out) {
    return read("HasSourceField", out, [mask](const EventFields& fields) {
        const bool has = (mask == SourceFieldId && fields.source_id) ||
                         (mask == SourceFieldGuid && fields.source_guid) ||
                         (mask == SourceFieldName && fields.source_name);
        return has ? fields.source_flag : VARIANT_FALSE;
    });
}

HRESULT EventState::fill_block(std::uint8_t** block, std::uint32_t size) {
    if (const auto planned = enter("GetArgumentData")) return *planned;
    const std::lock_guard lock(mutex_);
    asked_block_sizes_.push_back(size);
    std::copy_n(fields_.block.begin(), std::min<std::size_t>(size, fields_.block.size()), *block);
    if (fields_.moves_block) *block += 1;
    return S_OK;
}

template <class Interface>
HRESULT FakeEvent<Interface>::GetEventClass(GUID* out) {
    return read("GetEventClass", out, [](const EventFields& f) { return f.event_class; });
}

template <class Interface>
HRESULT FakeEvent<Interface>::GetEventId(std::uint32_t* out) {
    return read("GetEventId", out, [](const EventFields& f) { return f.event_id; });
}

template <class Interface>
HRESULT FakeEvent<Interface>::GetSeverity(std::uint32_t* out) {
    return read("GetSeverity", out, [](const EventFields& f) { return f.severity; });
}

template <class Interface>
HRESULT FakeEvent<Interface>::GetEventType(std::int32_t* out) {
    return read("GetEventType", out, [](const EventFields& f) { return f.type; });
}

template <class Interface>
HRESULT FakeEvent<Interface>::HasSourceField(std::uint32_t mask, VARIANT_BOOL* out) {
    return read_source_flag(mask, out);
}

template <class Interface>
HRESULT FakeEvent<Interface>::GetSourceId(std::uint32_t* out) {
    return read("GetSourceId", out, [](const EventFields& f) { return f.source_id.value_or(0); });
}

template <class Interface>
HRESULT FakeEvent<Interface>::GetSourceGuid(GUID* out) {
    return read("GetSourceGuid", out, [](const EventFields& f) { return f.source_guid.value_or(GUID{}); });
}

template <class Interface>
HRESULT FakeEvent<Interface>::GetSourceName(char** out) {
    return read_text("GetSourceName", &EventFields::source_name, out);
}

template <class Interface>
HRESULT FakeEvent<Interface>::GetTimeRaised(std::int64_t* out) {
    return read("GetTimeRaised", out, [](const EventFields& f) { return f.raised; });
}

template <class Interface>
HRESULT FakeEvent<Interface>::GetArguments(ArgumentDescriptor* out) {
    return read("GetArguments", out, [](const EventFields& f) { return f.arguments; });
}

template <class Interface>
HRESULT FakeEvent<Interface>::GetArgumentData(std::uint8_t** block, std::uint32_t size) {
    return fill_block(block, size);
}

template <class Interface>
HRESULT FakeEvent<Interface>::GetJsonAttribute(char** out) {
    return read_text("GetJsonAttribute", &EventFields::json, out);
}

template <class Interface>
HRESULT FakeEvent<Interface>::GetUniqueId(std::uint32_t* out) {
    return read("GetUniqueId", out, [](const EventFields& f) { return f.unique_id.value_or(0); });
}

template <class Interface>
void* FakeEvent<Interface>::find(const GUID& iid) {
    const EventFields now = fields();
    if (iid == IID_IZoEventIdentity) return now.unique_id ? static_cast<IZoEventIdentity*>(this) : nullptr;
    const bool known = iid == IID_IUnknown || iid == IID_IDispatch || offers(iid, now);
    return known ? static_cast<Interface*>(this) : nullptr;
}

template class FakeEvent<IZoLoggedEvent2>;
template class FakeEvent<IZoAlarmJson>;
template class FakeEvent<IZoMessageJson>;

FakeLoggedEvent::FakeLoggedEvent(EventFields fields, std::shared_ptr<CallPlan> plan)
    : FakeEvent("LoggedEvent", std::move(fields), std::move(plan)) {
}

HRESULT FakeLoggedEvent::GetTimeCleared(std::int64_t* out) {
    return read("GetTimeCleared", out, [](const EventFields& f) { return f.cleared; });
}

HRESULT FakeLoggedEvent::GetWithConfirmation(VARIANT_BOOL* out) {
    return read("GetWithConfirmation", out, [](const EventFields& f) { return f.with_confirmation; });
}

HRESULT FakeLoggedEvent::GetTimeConfirmed(std::int64_t* out) {
    return read("GetTimeConfirmed", out, [](const EventFields& f) { return f.confirmed; });
}

HRESULT FakeLoggedEvent::GetIsActive(VARIANT_BOOL* out) {
    return read("GetIsActive", out, [](const EventFields& f) { return f.is_active; });
}

bool FakeLoggedEvent::offers(const GUID& iid, const EventFields& fields) const {
    return (iid == IID_IZoLoggedEvent2 && fields.extended) || (iid == IID_IZoLoggedEventJson && fields.json);
}

FakeAlarm::FakeAlarm(EventFields fields, std::shared_ptr<CallPlan> plan)
    : FakeEvent("Alarm", std::move(fields), std::move(plan)) {
}

HRESULT FakeAlarm::GetIsRaised(VARIANT_BOOL* out) {
    return read("GetIsRaised", out, [](const EventFields& f) { return f.is_raised; });
}

HRESULT FakeAlarm::GetTimeCleared(std::int64_t* out) {
    return read("GetTimeCleared", out, [](const EventFields& f) { return f.cleared; });
}

HRESULT FakeAlarm::GetConfirmationState(std::int32_t* out) {
    return read("GetConfirmationState", out, [](const EventFields& f) { return f.confirmation_state; });
}

HRESULT FakeAlarm::Confirm() {
    return enter("Confirm", false).value_or(S_OK);
}

HRESULT FakeAlarm::GetTimeConfirmed(std::int64_t* out) {
    return read("GetTimeConfirmed", out, [](const EventFields& f) { return f.confirmed; });
}

bool FakeAlarm::offers(const GUID& iid, const EventFields& fields) const {
    return iid == IID_IZoAlarm || (iid == IID_IZoAlarmJson && fields.json);
}

FakeMessage::FakeMessage(EventFields fields, std::shared_ptr<CallPlan> plan)
    : FakeEvent("Message", std::move(fields), std::move(plan)) {
}

bool FakeMessage::offers(const GUID& iid, const EventFields& fields) const {
    return iid == IID_IZoMessage || (iid == IID_IZoMessageJson && fields.json);
}

} // namespace fakes
