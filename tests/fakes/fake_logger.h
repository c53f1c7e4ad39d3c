#pragma once

#include "platform/logger_proxy/collection.h"
#include "platform/logger_proxy/invoke.h"
#include "tests/fakes/fake_collections.h"
#include "tests/fakes/fake_events.h"

namespace fakes {

using zo_logger_proxy::flag_variant;
using zo_logger_proxy::object_variant;
using zo_logger_proxy::ThreeTexts;

/// The arguments of a GetText call.
struct TextRequest {
    GUID event_class{};
    std::uint32_t event_id = 0;
    std::int32_t language = 0;
    ArgumentDescriptor arguments{};
    std::vector<std::uint8_t> block; ///< types and data, from the block's start to the end of the later range
};

class FakeConnectionSettings final : public ComObject<IZoConnectionSettings> {
public:
    explicit FakeConnectionSettings(std::shared_ptr<CallPlan> plan) : plan_(std::move(plan)) {}
    HRESULT SetPreloadTranslations(VARIANT_BOOL value) override {
        if (const auto planned = plan_->enter("SetPreloadTranslations")) return *planned;
        preload = value;
        return S_OK;
    }

    VARIANT_BOOL preload = 77; ///< until it is set

private:
    void* find_interface(const GUID& iid) override {
        return answers_to<IZoConnectionSettings>(iid) ? static_cast<IZoConnectionSettings*>(this) : nullptr;
    }

    const std::shared_ptr<CallPlan> plan_;
};

using FakeLoggerInterfaces = ComObject<IZoEventLogger5, IZoEventLoggerTimeout, IConnectionPointContainer,
                                       IConnectionPoint, IZoEventLoggerClassName, IZoEventLoggerSourceName>;

/// The event logger of one target. Its calls are logged and planned under the bare names of the operations
/// ("ConnectWithSettings", "Advise", "SetTimeout", ...). `active` and `history` are plain members: while other threads
/// are in calls, change them inside `edit`. [any thread]
class FakeLogger final : public FakeLoggerInterfaces {
public:
    /// `name` stands before the logged texts, with a point, to distinguish two loggers.
    explicit FakeLogger(std::string name = {}) : plan(std::make_shared<CallPlan>(std::move(name))) {}

    /// Events whose reads follow the plan of this logger.
    [[nodiscard]] AlarmPtr make_alarm(EventFields fields = {}) { return new FakeAlarm(std::move(fields), plan); }
    [[nodiscard]] MessagePtr make_message(EventFields fields = {}) { return new FakeMessage(std::move(fields), plan); }
    [[nodiscard]] LoggedEventPtr make_logged_event(EventFields fields = {}) {
        return new FakeLoggedEvent(std::move(fields), plan);
    }
    void edit(const std::function<void()>& change) {
        const std::lock_guard lock(mutex_);
        change();
    }

    const std::shared_ptr<CallPlan> plan;
    std::vector<AlarmPtr> active;
    std::vector<LoggedEventPtr> history; ///< oldest first
    std::optional<std::int32_t> reported_active_count, reported_history_count;
    std::atomic<VARIANT_BOOL> connected = VARIANT_FALSE; ///< set by the connect calls and by Disconnect

    // Optional interfaces.
    std::atomic<bool> has_timeout = true, has_connection_points = true;
    std::atomic<bool> has_class_name = false, has_source_name = false, has_logger4 = false, has_logger5 = false;

    // Answers of the text services; set them before the calls.
    std::function<std::string(const TextRequest&)> text;
    std::function<std::string(const GUID& event_class, std::int32_t language)> class_name;
    std::function<std::string(std::int32_t language, const GUID& source, const std::string& name)> source_name;
    std::vector<ThreeTexts> causes_and_remedies, details;

    /// Arguments of the calls.
    struct Record {
        std::vector<std::string> addresses;            ///< of both connects
        std::vector<VARIANT_BOOL> preloads;            ///< of ConnectWithSettings
        std::vector<std::uint32_t> timeouts;           ///< of SetTimeout
        std::vector<std::uint32_t> history_counts;     ///< of GetLoggedEvents
        std::vector<std::uint32_t> advised, unadvised; ///< cookies
        std::vector<TextRequest> text_requests;
    };
    [[nodiscard]] Record record() const {
        const std::lock_guard lock(mutex_);
        return record_;
    }

    /// Returns the subscribed sink, or null.
    [[nodiscard]] IDispatch* sink() const {
        const std::lock_guard lock(mutex_);
        return sink_;
    }
    /// Call the sink on this thread, as the logger does. Return S_FALSE without a sink.
    HRESULT fire_message(const MessagePtr& message) {
        return fire(Events::OnMessageSent, {object_variant(message.get())});
    }
    HRESULT fire_raised(const AlarmPtr& alarm) { return fire(Events::OnAlarmRaised, {object_variant(alarm.get())}); }
    HRESULT fire_cleared(const AlarmPtr& alarm, VARIANT_BOOL removed = VARIANT_FALSE) {
        return fire(Events::OnAlarmCleared, {flag_variant(removed), object_variant(alarm.get())});
    }
    HRESULT fire_confirmed(const AlarmPtr& alarm, VARIANT_BOOL removed = VARIANT_FALSE) {
        return fire(Events::OnAlarmConfirmed, {flag_variant(removed), object_variant(alarm.get())});
    }
    HRESULT fire_database_changed(std::int32_t reason) {
        return fire(Events::OnDatabaseChanged, {zo_logger_proxy::number_variant(reason)});
    }

    HRESULT Connect(const char* address) override { return connect("Connect", address, nullptr); }
    HRESULT Disconnect() override;
    HRESULT IsConnected(VARIANT_BOOL* out) override;
    HRESULT GetActiveAlarms(IZoAlarmCollection** out) override;
    HRESULT GetLoggedEvents(std::uint32_t count, IZoLoggedEventCollection** out) override;
    HRESULT ClearLoggedEvents() override;
    HRESULT GetText(const GUID& event_class, std::uint32_t event_id, std::int32_t language,
                    const ArgumentDescriptor* arguments, const std::uint8_t* block, char** out) override;
    // The product passes back the settings that the fake library made.
    HRESULT ConnectWithSettings(IZoConnectionSettings* settings, const char* address) override {
        return connect("ConnectWithSettings", address, static_cast<FakeConnectionSettings*>(settings));
    }
    HRESULT GetCausesAndRemedies(const GUID& event_class, std::uint32_t event_id, std::int32_t language,
                                 IZoCauseRemedyCollection** out) override;
    HRESULT GetDetails(const GUID& event_class, std::uint32_t event_id, std::int32_t language,
                       IZoDetailCollection** out) override;
    HRESULT GetEventClassName(const GUID& event_class, std::int32_t language, char** out) override;
    HRESULT GetSourceNameText(std::int32_t language, const GUID& source, const char* name, char** out) override;
    HRESULT SetTimeout(std::uint32_t milliseconds) override;
    HRESULT FindConnectionPoint(const GUID& iid, IConnectionPoint** out) override;
    HRESULT Advise(IUnknown* sink, std::uint32_t* cookie) override;
    HRESULT Unadvise(std::uint32_t cookie) override;

private:
    using Events = _IZoEventLoggerEvents;

    void* find_interface(const GUID& iid) override;
    HRESULT fire(std::int32_t id, std::vector<VARIANT> reversed) {
        IDispatch* const target = sink();
        return target ? zo_logger_proxy::invoke(*target, id, reversed) : S_FALSE;
    }
    HRESULT connect(const char* call, const char* address, const FakeConnectionSettings* settings);

    mutable std::mutex mutex_;
    Record record_;
    IDispatch* sink_ = nullptr;
    std::uint32_t cookie_ = 40;
};

using LoggerPtr = ZoAtlCom::CComPtr<FakeLogger>;

} // namespace fakes
