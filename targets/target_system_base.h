#pragma once

#include "binding/com_ptr.h"
#include "binding/identifiers.h"
#include "binding/logger.h"
#include "targets/event_key.h"
#include "targets/limited_event_container.h"
#include "targets/localization_cache.h"
#include "targets/localization_keys.h"
#include "targets/recorded_callback.h"
#include "targets/saved_alarm_ids.h"

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace ZoHmiEventLogger {

class ILoggingFunctions;

/// Keeps a target's live callbacks waiting for as long as it exists. It must be released on the thread that got it.
using LockHolder = std::shared_ptr<std::scoped_lock<std::mutex>>;

/// What a target remembers of its connection. `error` is the code of the last failed connect, and means something only
/// with `has_error`; 0 then means that none is known.
struct ConnectionStatus {
    bool connected = false;
    std::int32_t error = 0;
    bool has_error = false;
};

/// The state of one target. What the locks guard, and their order, is drawn in docs/architecture.md.
class TargetSystemBase {
protected:
    TargetSystemBase(std::string domain, ILoggingFunctions* listener, std::string name, std::string net_id,
                     std::uint32_t event_limit, std::shared_ptr<const std::atomic<bool>> stopping,
                     std::shared_ptr<std::atomic<std::uint32_t>> next_event_id)
        : name_(std::move(name)), net_id_(std::move(net_id)), listener_(listener), event_limit_(event_limit),
          texts_(std::uint64_t{event_limit} * 8), stopping_(std::move(stopping)),
          next_event_id_(std::move(next_event_id)), domain_(std::move(domain)) {}
    ~TargetSystemBase() = default;
    TargetSystemBase(const TargetSystemBase&) = delete;
    TargetSystemBase& operator=(const TargetSystemBase&) = delete;

    const std::string name_;
    const std::string net_id_; // resolved
    ILoggingFunctions* const listener_;
    const std::uint32_t event_limit_;
    bool proxy_created_ = false;
    std::optional<ConnectionStatus> status_; // [connection_mutex]

    std::mutex import_mutex_;
    // Shared with the lock holder, which may outlive the target.
    const std::shared_ptr<std::mutex> callback_mutex_ = std::make_shared<std::mutex>();
    bool recording_ = false;                                       // [callback_mutex]
    std::deque<std::shared_ptr<const RecordedCallback>> recorded_; // [callback_mutex]

    std::mutex handling_mutex_; // a live callback while it is handled
    std::mutex connection_mutex_;

    std::mutex event_mutex_;
    EventStore events_;                    // [event_mutex]
    SavedAlarmIds saved_alarm_ids_;        // [event_mutex]
    std::vector<ZoHmiSrv::Event> evicted_; // [event_mutex] still to be told to the listener

    // Answers of the logger: class_names with class_name_mutex and texts with text_mutex inside. All but the texts go
    // with the connection.
    LocalizationCache<ClassNameKey> class_names_;
    LocalizationCache<TextKey> texts_;

    ZoAtlCom::CComPtr<ZoEventLoggerFdxProxyLib::IZoEventLogger> proxy_;
    // True until the first connect: the target was never asked to connect. Never set again.
    std::atomic<bool> disabled_ = true;
    std::atomic<bool> retired_ = false; // out of the table: nothing that comes live is told any more
    const std::shared_ptr<const std::atomic<bool>> stopping_;
    const std::shared_ptr<std::atomic<std::uint32_t>> next_event_id_;
    const std::string domain_;
};

} // namespace ZoHmiEventLogger
