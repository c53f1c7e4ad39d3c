#pragma once

#include "binding/connection_points.h"
#include "binding/error.h"
#include "extension/host/error_value.h"
#include "extension/host/result.h"
#include "extension/host/timestamp.h"
#include "targets/target_system_platform_specific.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace ZoHmiSrv {
class Alarm;
class Message;
class String;
class Value;
} // namespace ZoHmiSrv

namespace ZoHmiEventLogger {

struct EventReference;

/// One configured target: the connection to its event logger, and the store of its events.
///
/// It has no thread of its own. The extension's tick calls `poll`, which alone reconnects; the proxy calls the five
/// event methods. A change of configuration replaces the object. Exceptions of the proxy are reported to the listener;
/// an operation that throws them says so.
class TargetSystem : public TargetSystemPlatformSpecific<TargetSystem> {
public:
    using IZoAlarm = ZoEventLoggerFdxProxyLib::IZoAlarm;
    using IZoMessage = ZoEventLoggerFdxProxyLib::IZoMessage;
    using DatabaseChangeReason = ZoEventLoggerFdxProxyLib::tagDatabaseChangeReasonEnum;

    /// Creates the proxy and subscribes to its events, but does not connect. Throws CAtlException when the proxy cannot
    /// take the timeout (whole milliseconds, negative ones as 0).
    TargetSystem(std::string domain, ILoggingFunctions* listener, std::string name, std::string net_id,
                 const ZoHmiSrv::Timespan& timeout, std::uint32_t event_limit,
                 std::shared_ptr<const std::atomic<bool>> stopping,
                 std::shared_ptr<std::atomic<std::uint32_t>> next_event_id);
    /// Disconnects, and waits until no callback is inside the object. Must not run inside one: see `destroy`.
    virtual ~TargetSystem();

    /// Deletes a target. On a thread that is inside a callback of any target, deletes it after that callback has
    /// returned. The deleter of shared pointers to targets. [any thread]
    static void destroy(TargetSystem* target);

    /// False when there is no proxy; such a target stays disabled. [any thread]
    bool proxy_created() const { return connection_.proxy() != nullptr; }
    /// True until the first `connect` of the target. [any thread]
    bool disabled() const { return connection_.disabled(); }
    /// Drops all later live callbacks: the target has left the table and lives until its last user is done. Blocks
    /// while a callback is being handled, so that no event reaches the server later. Returns at once on a thread that
    /// is inside a callback. [any thread]
    void retire() { callbacks_.retire(); }
    /// The resolved net id. [any thread]
    std::string net_id() const { return connection_.net_id(); }

    /// Connects unless connected, and imports the logger's events. After an import `holder` keeps live callbacks
    /// waiting, so that the caller can make the server list the events first. Returns true when already connected or
    /// imported. Throws CAtlException when the connection's state cannot be queried. [tick, server thread]
    bool connect(LockHolder& holder);
    /// One step of the connection: detects a loss, and tries to reconnect once. Returns true when the server must list
    /// the events again; after an import or a loss `holder` keeps live callbacks waiting until then. Blocks while a
    /// live callback is handled, so no host call may wait for a tick inside one. Throws as `connect` does; the next
    /// poll then detects the loss again. [tick]
    bool poll(LockHolder& holder);
    /// Ends the connection and the subscription for good. [any thread]
    void disconnect();
    /// Asks the proxy. Throws CAtlException when that fails. [any thread]
    ConnectionStatus connection_status();
    /// Drops the link; the next `poll` connects again. Returns 0 or above on success, else E_FAIL. [any thread]
    HRESULT force_disconnect();
    /// Empties the log of the target. Returns the same codes. [any thread]
    HRESULT clear_logged_events();

    /// Confirms the live alarm with this id at its logger. Returns the logger's code; E_FAIL when it refuses or no live
    /// alarm has the id. [any thread]
    HRESULT confirm_alarm(const ZoHmiSrv::Alarm& alarm);
    /// Appends a copy of each stored event, oldest first. [any thread]
    void list_events(ZoHmiSrv::Value& out);
    /// The numbers of stored and imported events. [any thread]
    EventStore::Counters counters();

    /// @name Localization
    /// Each asks the logger unless a cache has the answer. Returns HMI_E_CONNECT when the target is disabled or away,
    /// and HMI_E_UNEXPECTED, after a report, when the logger raised an error. On success the last argument is unchanged
    /// if the event has no key or the logger no interface for the question. It is also unchanged if the answer equals
    /// `present`, the answer in the event. [any thread]
    /// @{
    ZoHmiSrv::ErrorValue localize_text(const EventReference& event, ZoHmiSrv::String& text);
    /// Sets "" where the event has no class or the logger no interface.
    ZoHmiSrv::ErrorValue localize_class_name(const EventReference& event, const ZoHmiSrv::Value& present,
                                             ZoHmiSrv::Value& name);
    ZoHmiSrv::ErrorValue localize_source_name(const EventReference& event, const ZoHmiSrv::Value& present,
                                              ZoHmiSrv::Value& name);
    /// A Vector of Structs with "id", "cause" and "remedy".
    ZoHmiSrv::ErrorValue list_causes_and_remedies(const EventReference& event, const ZoHmiSrv::Value& present,
                                                  ZoHmiSrv::Value& list);
    /// A Struct of Structs with "text" and "comment", by the details' ids.
    ZoHmiSrv::ErrorValue list_details(const EventReference& event, const ZoHmiSrv::Value& present,
                                      ZoHmiSrv::Value& list);
    /// @}

    /// The logger's events, called by the sink. An exception becomes the sink's result. [proxy callback]
    void OnMessageSent(IZoMessage* message);
    void OnAlarmRaised(IZoAlarm* alarm);
    void OnAlarmCleared(IZoAlarm* alarm, std::int16_t removed);
    void OnAlarmConfirmed(IZoAlarm* alarm, std::int16_t removed);
    void OnDatabaseChanged(DatabaseChangeReason reason);

private:
    friend struct TargetSystemTestAccess;
    struct AlarmChange;
    class Import;
    enum class Opening { Failed, AlreadyOpen, Opened };

    // target_connection.cpp
    Opening open_connection();
    bool clear_lost_link(std::optional<std::uint64_t> link, CallbackLock& callbacks, LockHolder& holder);
    void disconnect_step() ZO_REQUIRES(connection_.mutex());
    void clear_events() ZO_REQUIRES(event_mutex_);
    void save_alarm_ids() ZO_REQUIRES(event_mutex_);
    void empty_store() ZO_REQUIRES(event_mutex_);
    void clear_events_and_report() ZO_EXCLUDES(event_mutex_);

    // target_import.cpp
    LockHolder import_events();
    bool import_events(CallbackLock& callbacks, CallbackRecorder::Records& recorded);

    // target_intake.cpp
    template <class Change>
    void change_events(Change&& change) ZO_EXCLUDES(event_mutex_);
    void handle_message(IZoMessage* message, bool replay);
    void handle_alarm_raised(IZoAlarm* alarm, bool replay);
    void handle_alarm_cleared(IZoAlarm* alarm, std::int16_t removed, bool replay);
    void handle_alarm_confirmed(IZoAlarm* alarm, std::int16_t removed, bool replay);
    void handle_alarm_changed(IZoAlarm* alarm, std::int16_t removed, bool replay, const AlarmChange& change);
    void handle_database_changed(DatabaseChangeReason reason, bool replay);
    void forget_event(long key, const ZoHmiSrv::Event& event) ZO_REQUIRES(event_mutex_);
    int take_event_id();

    // target_localization.cpp
    template <class Cache, class Key, class Take, class Question, class Keep>
    ZoHmiSrv::ErrorValue localize(Cache& cache, const Key& key, Take&& take, Question&& question, Keep&& keep);
    template <class Question>
    ZoHmiSrv::ResultPair call_connected(Question&& question);
    template <class Logger, class Collection>
    ZoHmiSrv::ErrorValue list_for(const EventReference& event, LocalizationCache<EventKindKey>& cache,
                                  HRESULT (Logger::*get)(const GUID&, std::uint32_t, std::int32_t, Collection**),
                                  ZoHmiSrv::Value (*read)(Collection*), const ZoHmiSrv::Value& present,
                                  ZoHmiSrv::Value& list);
};

} // namespace ZoHmiEventLogger
