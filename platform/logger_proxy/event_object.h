#pragma once

#include "binding/event_objects.h"
#include "binding/identifiers.h"
#include "platform/link/event_record.h"
#include "platform/logger_proxy/com_object.h"
#include "platform/logger_proxy/out_values.h"

#include <cstring>
#include <memory>

namespace zo_logger_proxy {

using Snapshot = std::shared_ptr<const zo_link::EventRecord>;

/// The operations that logged events, alarms and messages share. `Derived` has
///     Snapshot snapshot() const;                     [any thread]
///     void* find_own_interface(const GUID& iid, const zo_link::EventRecord& record);
template <class Derived, class Main>
class EventObject : public CountedObject<Derived, Main, ZoEventLoggerFdxProxyLib::IZoEventIdentity> {
public:
    void* find_interface(const GUID& iid) {
        using namespace ZoEventLoggerFdxProxyLib;
        const Snapshot record = self().snapshot();
        if (iid == IID_IUnknown || iid == IID_IDispatch) return static_cast<Main*>(this);
        if (iid == IID_IZoEventIdentity) return record->uid ? static_cast<IZoEventIdentity*>(this) : nullptr;
        return self().find_own_interface(iid, *record);
    }

    HRESULT GetEventClass(GUID* out) override { return put(out, self().snapshot()->event_class); }
    HRESULT GetEventId(std::uint32_t* out) override { return put(out, self().snapshot()->event_id); }
    HRESULT GetSeverity(std::uint32_t* out) override { return put(out, self().snapshot()->severity); }
    HRESULT GetEventType(std::int32_t* out) override { return put(out, self().snapshot()->type); }
    HRESULT HasSourceField(std::uint32_t mask, VARIANT_BOOL* out) override {
        using namespace ZoEventLoggerFdxProxyLib;
        const Snapshot record = self().snapshot();
        const std::uint32_t fields = (record->source_id ? SourceFieldId : 0u) |
                                     (record->source_guid ? SourceFieldGuid : 0u) |
                                     (record->source_name ? SourceFieldName : 0u);
        return put(out, (fields & mask) != 0 ? VARIANT_TRUE : VARIANT_FALSE);
    }
    HRESULT GetSourceId(std::uint32_t* out) override { return put(out, self().snapshot()->source_id.value_or(0)); }
    HRESULT GetSourceGuid(GUID* out) override { return put(out, self().snapshot()->source_guid.value_or(GUID())); }
    HRESULT GetSourceName(char** out) override {
        const Snapshot record = self().snapshot();
        return put_text(out, record->source_name ? *record->source_name : std::string());
    }
    HRESULT GetTimeRaised(std::int64_t* out) override { return put(out, self().snapshot()->raised); }
    HRESULT GetUniqueId(std::uint32_t* out) override {
        const Snapshot record = self().snapshot();
        return record->uid ? put(out, *record->uid) : E_NOTIMPL;
    }
    HRESULT GetArguments(ZoEventLoggerFdxProxyLib::ArgumentDescriptor* out) override {
        const auto args = self().snapshot()->args;
        return put(out, {args[0], args[1], args[2], args[3], args[4]});
    }
    /// Copies only as many bytes as both blocks have. The rest of the caller's block is unchanged.
    HRESULT GetArgumentData(std::uint8_t** block, std::uint32_t size) override {
        if (block == nullptr || *block == nullptr) return E_POINTER;
        const Snapshot record = self().snapshot();
        const std::size_t count = std::min<std::size_t>(size, record->block.size());
        if (count != 0) std::memcpy(*block, record->block.data(), count);
        return S_OK;
    }
    HRESULT GetJsonAttribute(char** out) override {
        const Snapshot record = self().snapshot();
        return record->json ? put_text(out, *record->json) : E_NOTIMPL;
    }

protected:
    ~EventObject() = default;

private:
    Derived& self() { return static_cast<Derived&>(*this); }
};

/// An event of the log, as it was in the list. [any thread]
class LoggedEvent final : public EventObject<LoggedEvent, ZoEventLoggerFdxProxyLib::IZoLoggedEvent2> {
public:
    explicit LoggedEvent(Snapshot record) : record_(std::move(record)) {}

    HRESULT GetTimeCleared(std::int64_t* out) override { return put(out, record_->cleared); }
    HRESULT GetWithConfirmation(VARIANT_BOOL* out) override { return put(out, record_->with_confirmation); }
    HRESULT GetTimeConfirmed(std::int64_t* out) override { return put(out, record_->confirmed); }
    HRESULT GetIsActive(VARIANT_BOOL* out) override { return put(out, record_->active); }

    const Snapshot& snapshot() const { return record_; }
    void* find_own_interface(const GUID& iid, const zo_link::EventRecord& record) {
        using namespace ZoEventLoggerFdxProxyLib;
        if (iid == IID_IZoLoggedEventJson && record.json) return static_cast<IZoLoggedEventJson*>(this);
        if (iid == IID_IZoLoggedEvent2 && record.extended) return static_cast<IZoLoggedEvent2*>(this);
        return nullptr;
    }

private:
    friend CountedObject;
    ~LoggedEvent() = default;

    const Snapshot record_;
};

/// A message of a callback. [any thread]
class Message final : public EventObject<Message, ZoEventLoggerFdxProxyLib::IZoMessageJson> {
public:
    explicit Message(Snapshot record) : record_(std::move(record)) {}

    const Snapshot& snapshot() const { return record_; }
    void* find_own_interface(const GUID& iid, const zo_link::EventRecord& record) {
        using namespace ZoEventLoggerFdxProxyLib;
        if (iid == IID_IZoMessage) return static_cast<IZoMessage*>(this);
        if (iid == IID_IZoMessageJson && record.json) return static_cast<IZoMessageJson*>(this);
        return nullptr;
    }

private:
    friend CountedObject;
    ~Message() = default;

    const Snapshot record_;
};

} // namespace zo_logger_proxy
