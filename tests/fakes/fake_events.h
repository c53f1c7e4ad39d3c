#pragma once

#include "binding/atl_com.h"
#include "binding/event_logger_proxy.h"
#include "tests/fakes/call_plan.h"
#include "tests/fakes/com_object.h"

namespace fakes {

using namespace ZoEventLoggerFdxProxyLib;

/// Returns the file time of `seconds` (and nanoseconds in steps of 100) after 1970.
constexpr std::int64_t file_time(std::int64_t seconds, std::int64_t nanoseconds = 0) {
    return 116444736000000000 + seconds * 10000000 + nanoseconds / 100;
}

/// The answers of a fake event. An optional interface exists while its optional has a value.
struct EventFields {
    GUID event_class{};
    std::uint32_t event_id = 0;
    std::uint32_t severity = 0;
    std::int32_t type = EventTypeAlarm; ///< of a logged event
    std::int64_t raised = file_time(1);
    std::int64_t cleared = 0;
    std::int64_t confirmed = 0;
    VARIANT_BOOL with_confirmation = VARIANT_FALSE; ///< of a logged event
    std::int32_t confirmation_state = 0;            ///< of an alarm
    VARIANT_BOOL is_active = VARIANT_FALSE;         ///< of a logged event
    VARIANT_BOOL is_raised = VARIANT_TRUE;          ///< of an alarm
    std::optional<std::uint32_t> source_id = {};
    std::optional<GUID> source_guid = {};
    std::optional<std::string> source_name = {};
    ArgumentDescriptor arguments{};
    std::vector<std::uint8_t> block = {};
    std::optional<std::uint32_t> unique_id = {}; ///< IZoEventIdentity
    std::optional<std::string> json = {};        ///< IZoLoggedEventJson, IZoAlarmJson, IZoMessageJson
    bool extended = true;                        ///< IZoLoggedEvent2
    bool null_strings = false;                   ///< string answers are null
    bool moves_block = false;                    ///< GetArgumentData moves the caller's block pointer
    VARIANT_BOOL source_flag = VARIANT_TRUE;     ///< the answer of HasSourceField for an existing field
};

/// Fields and reads that all fake events share. Calls are named "Alarm.GetEventId", "Message.GetEventId",
/// "LoggedEvent.GetEventId" and so on. [any thread]
class EventState {
public:
    EventState(const char* kind, EventFields fields, std::shared_ptr<CallPlan> plan)
        : kind_(kind), plan_(std::move(plan)), fields_(std::move(fields)) {}

    /// Changes the fields while other threads may read.
    void update(const std::function<void(EventFields&)>& change) {
        const std::lock_guard lock(mutex_);
        change(fields_);
    }
    [[nodiscard]] EventFields fields() const {
        const std::lock_guard lock(mutex_);
        return fields_;
    }
    /// Returns the sizes of the GetArgumentData calls, in order.
    [[nodiscard]] std::vector<std::uint32_t> asked_block_sizes() const {
        const std::lock_guard lock(mutex_);
        return asked_block_sizes_;
    }

protected:
    ~EventState() = default;
    /// Answers a call: the planned code, or the result of `read` on the fields; `*out` starts empty.
    template <class T, class Read>
    HRESULT read(const char* call, T* out, Read read) {
        *out = T{};
        if (const auto planned = enter(call)) return *planned;
        const std::lock_guard lock(mutex_);
        *out = std::invoke(read, fields_);
        return S_OK;
    }
    /// A missing value reads as zero.
    template <class T>
    HRESULT read(const char* call, T* out, std::optional<T> EventFields::*field) {
        return read(call, out, [field](const EventFields& fields) { return (fields.*field).value_or(T{}); });
    }
    HRESULT read_text(const char* call, std::optional<std::string> EventFields::*field, char** out) {
        *out = nullptr;
        if (const auto planned = enter(call)) return *planned;
        const std::lock_guard lock(mutex_);
        return fields_.null_strings ? S_OK : hand_out((fields_.*field).value_or(""), out);
    }
    HRESULT fill_block(std::uint8_t** block, std::uint32_t size) {
        if (const auto planned = enter("GetArgumentData")) return *planned;
        const std::lock_guard lock(mutex_);
        asked_block_sizes_.push_back(size);
        std::copy_n(fields_.block.begin(), std::min<std::size_t>(size, fields_.block.size()), *block);
        if (fields_.moves_block) *block += 1;
        return S_OK;
    }
    std::optional<HRESULT> enter(const char* call, bool is_read = true) {
        return plan_->enter(std::string(kind_) + "." + call, is_read);
    }

private:
    const char* kind_;
    std::shared_ptr<CallPlan> plan_;
    mutable std::mutex mutex_;
    EventFields fields_;
    std::vector<std::uint32_t> asked_block_sizes_;
};

/// The operations that logged events, alarms and messages share, and the identity.
template <class Interface>
class FakeEvent : public ComObject<Interface, IZoEventIdentity>, public EventState {
public:
    /// `own` is the interface of the kind itself, `json` that of its attribute.
    FakeEvent(const char* kind, const GUID& own, const GUID& json, EventFields fields, std::shared_ptr<CallPlan> plan)
        : EventState(kind, std::move(fields), std::move(plan)), own_(own), json_(json) {}

    HRESULT GetEventClass(GUID* out) override { return read("GetEventClass", out, &EventFields::event_class); }
    HRESULT GetEventId(std::uint32_t* out) override { return read("GetEventId", out, &EventFields::event_id); }
    HRESULT GetSeverity(std::uint32_t* out) override { return read("GetSeverity", out, &EventFields::severity); }
    HRESULT GetEventType(std::int32_t* out) override { return read("GetEventType", out, &EventFields::type); }
    HRESULT HasSourceField(std::uint32_t mask, VARIANT_BOOL* out) override {
        return read("HasSourceField", out, [mask](const EventFields& fields) {
            const bool has = (mask == SourceFieldId && fields.source_id) ||
                             (mask == SourceFieldGuid && fields.source_guid) ||
                             (mask == SourceFieldName && fields.source_name);
            return has ? fields.source_flag : VARIANT_FALSE;
        });
    }
    HRESULT GetSourceId(std::uint32_t* out) override { return read("GetSourceId", out, &EventFields::source_id); }
    HRESULT GetSourceGuid(GUID* out) override { return read("GetSourceGuid", out, &EventFields::source_guid); }
    HRESULT GetSourceName(char** out) override { return read_text("GetSourceName", &EventFields::source_name, out); }
    HRESULT GetTimeRaised(std::int64_t* out) override { return read("GetTimeRaised", out, &EventFields::raised); }
    HRESULT GetArguments(ArgumentDescriptor* out) override {
        return read("GetArguments", out, &EventFields::arguments);
    }
    HRESULT GetArgumentData(std::uint8_t** block, std::uint32_t size) override { return fill_block(block, size); }
    HRESULT GetJsonAttribute(char** out) override { return read_text("GetJsonAttribute", &EventFields::json, out); }
    HRESULT GetUniqueId(std::uint32_t* out) override { return read("GetUniqueId", out, &EventFields::unique_id); }

protected:
    ~FakeEvent() = default;
    void* find_interface(const GUID& iid) override {
        const EventFields now = fields();
        if (iid == IID_IZoEventIdentity) return now.unique_id ? static_cast<IZoEventIdentity*>(this) : nullptr;
        const bool has_own = now.extended || own_ != IID_IZoLoggedEvent2;
        const bool known =
            iid == IID_IUnknown || iid == IID_IDispatch || (iid == own_ && has_own) || (iid == json_ && now.json);
        return known ? static_cast<Interface*>(this) : nullptr;
    }

private:
    const GUID& own_;
    const GUID& json_;
};

class FakeLoggedEvent final : public FakeEvent<IZoLoggedEvent2> {
public:
    explicit FakeLoggedEvent(EventFields fields = {}, std::shared_ptr<CallPlan> plan = std::make_shared<CallPlan>())
        : FakeEvent("LoggedEvent", IID_IZoLoggedEvent2, IID_IZoLoggedEventJson, std::move(fields), std::move(plan)) {}
    HRESULT GetTimeCleared(std::int64_t* out) override { return read("GetTimeCleared", out, &EventFields::cleared); }
    HRESULT GetWithConfirmation(VARIANT_BOOL* out) override {
        return read("GetWithConfirmation", out, &EventFields::with_confirmation);
    }
    HRESULT GetTimeConfirmed(std::int64_t* out) override {
        return read("GetTimeConfirmed", out, &EventFields::confirmed);
    }
    HRESULT GetIsActive(VARIANT_BOOL* out) override { return read("GetIsActive", out, &EventFields::is_active); }
};

class FakeAlarm final : public FakeEvent<IZoAlarmJson> {
public:
    explicit FakeAlarm(EventFields fields = {}, std::shared_ptr<CallPlan> plan = std::make_shared<CallPlan>())
        : FakeEvent("Alarm", IID_IZoAlarm, IID_IZoAlarmJson, std::move(fields), std::move(plan)) {}
    HRESULT GetIsRaised(VARIANT_BOOL* out) override { return read("GetIsRaised", out, &EventFields::is_raised); }
    HRESULT GetTimeCleared(std::int64_t* out) override { return read("GetTimeCleared", out, &EventFields::cleared); }
    HRESULT GetConfirmationState(std::int32_t* out) override {
        return read("GetConfirmationState", out, &EventFields::confirmation_state);
    }
    HRESULT Confirm() override { return enter("Confirm", false).value_or(S_OK); } // always logged
    HRESULT GetTimeConfirmed(std::int64_t* out) override {
        return read("GetTimeConfirmed", out, &EventFields::confirmed);
    }
};

class FakeMessage final : public FakeEvent<IZoMessageJson> {
public:
    explicit FakeMessage(EventFields fields = {}, std::shared_ptr<CallPlan> plan = std::make_shared<CallPlan>())
        : FakeEvent("Message", IID_IZoMessage, IID_IZoMessageJson, std::move(fields), std::move(plan)) {}
};

using LoggedEventPtr = ZoAtlCom::CComPtr<FakeLoggedEvent>;
using AlarmPtr = ZoAtlCom::CComPtr<FakeAlarm>;
using MessagePtr = ZoAtlCom::CComPtr<FakeMessage>;

} // namespace fakes
