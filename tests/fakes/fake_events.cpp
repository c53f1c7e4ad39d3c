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

bool FakeLoggedEvent::offers(const GUID& iid, const EventFields& fields) const {
    return (iid == IID_IZoLoggedEvent2 && fields.extended) || (iid == IID_IZoLoggedEventJson && fields.json);
}

bool FakeAlarm::offers(const GUID& iid, const EventFields& fields) const {
    return iid == IID_IZoAlarm || (iid == IID_IZoAlarmJson && fields.json);
}

bool FakeMessage::offers(const GUID& iid, const EventFields& fields) const {
    return iid == IID_IZoMessage || (iid == IID_IZoMessageJson && fields.json);
}

} // namespace fakes
