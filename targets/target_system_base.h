#pragma once

#include "targets/callback_recorder.h"
#include "targets/event_key.h"
#include "targets/limited_event_container.h"
#include "targets/localization_cache.h"
#include "targets/localization_keys.h"
#include "targets/logger_connection.h"
#include "targets/saved_alarm_ids.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace ZoHmiEventLogger {

class ILoggingFunctions;

/// The state of one target. docs/architecture.md shows the order of its locks.
class TargetSystemBase {
protected:
    TargetSystemBase(std::string domain, ILoggingFunctions* listener, std::string name, std::string net_id,
                     std::uint32_t event_limit, std::shared_ptr<const std::atomic<bool>> stopping,
                     std::shared_ptr<std::atomic<std::uint32_t>> next_event_id)
        : name_(std::move(name)), listener_(listener), event_limit_(event_limit), callbacks_(std::move(stopping)),
          connection_(listener, name_, std::move(net_id)), texts_(std::uint64_t{event_limit} * 8),
          next_event_id_(std::move(next_event_id)), domain_(std::move(domain)) {}
    ~TargetSystemBase() = default;
    TargetSystemBase(const TargetSystemBase&) = delete;
    TargetSystemBase& operator=(const TargetSystemBase&) = delete;

    const std::string name_;
    ILoggingFunctions* const listener_;
    const std::uint32_t event_limit_;

    ZoHmiSrv::Mutex import_mutex_; // one import at a time
    CallbackRecorder callbacks_;
    LoggerConnection connection_;
    // The server may still list events of a lost link. `Seen`: the last poll saw the link and its loss; the next poll
    // treats the link as previously connected. `Failed`: an exception ended a poll that had to handle a loss.
    enum class Loss : std::uint8_t { None, Seen, Failed };
    Loss loss_due_ ZO_GUARDED_BY(connection_.mutex()) = Loss::None;

    ZoHmiSrv::Mutex event_mutex_;
    EventStore events_ ZO_GUARDED_BY(event_mutex_);
    SavedAlarmIds saved_alarm_ids_ ZO_GUARDED_BY(event_mutex_);
    std::vector<ZoHmiSrv::Event> evicted_ ZO_GUARDED_BY(event_mutex_); // not yet reported to the listener

    // Answers of the logger. A lost connection empties all caches but the texts.
    LocalizationCache<ClassNameKey> class_names_;
    LocalizationCache<TextKey> texts_;

    const std::shared_ptr<std::atomic<std::uint32_t>> next_event_id_;
    const std::string domain_;
};

} // namespace ZoHmiEventLogger
