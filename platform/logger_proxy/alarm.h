#pragma once

#include "binding/com_ptr.h"
#include "platform/logger_proxy/event_object.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace zo_logger_proxy {

class AlarmTable;
class LoggerLink;

/// Identifies an alarm for the life of the proxy: the instance of the target and the handle within it.
struct AlarmKey {
    std::uint64_t instance = 0;
    std::uint64_t handle = 0;

    friend auto operator<=>(const AlarmKey&, const AlarmKey&) = default;
};

/// A live alarm. It may outlive the logger. Its fields change while other threads read them.
class Alarm final : public EventObject<Alarm, ZoEventLoggerFdxProxyLib::IZoAlarmJson> {
public:
    Alarm(std::shared_ptr<AlarmTable> table, AlarmKey key);

    HRESULT GetIsRaised(VARIANT_BOOL* out) override { return put(out, snapshot()->active); }
    HRESULT GetTimeCleared(std::int64_t* out) override { return put(out, snapshot()->cleared); }
    HRESULT GetConfirmationState(std::int32_t* out) override { return put(out, snapshot()->confirmation); }
    HRESULT GetTimeConfirmed(std::int64_t* out) override { return put(out, snapshot()->confirmed); }
    /// Sends the confirmation to the target; fails after the destruction of the logger. [any thread]
    HRESULT Confirm() override;

    Snapshot snapshot() const;
    void* find_own_interface(const GUID& iid, const zo_link::EventRecord& record);

    /// Stores the fields unless newer ones were stored. `sequence` is the position in the stream of callbacks.
    /// [any thread]
    void update(Snapshot record, std::uint64_t sequence);

private:
    friend CountedObject;
    ~Alarm() = default;
    void destroy();

    const std::shared_ptr<AlarmTable> table_;
    const AlarmKey key_;
    mutable std::mutex mutex_; ///< guards the next two members
    Snapshot record_;
    std::uint64_t sequence_ = 0;
};

/// Finds the object of each referenced alarm, so that one alarm is one object. The table itself references no alarm,
/// except while a list is being read. Then a callback sent after the list cannot destroy an object with newer fields.
class AlarmTable : public std::enable_shared_from_this<AlarmTable> {
public:
    explicit AlarmTable(std::weak_ptr<LoggerLink> link) : link_(std::move(link)) {}

    /// Returns the updated object of an alarm; a new object when there is none with a reference. [any thread]
    ZoAtlCom::CComPtr<Alarm> get(AlarmKey key, Snapshot record, std::uint64_t sequence);

    /// References every alarm that `get` returns during its life. [any thread]
    class Pin {
    public:
        explicit Pin(AlarmTable& table);
        ~Pin();
        Pin(const Pin&) = delete;
        Pin& operator=(const Pin&) = delete;

    private:
        AlarmTable& table_;
    };

    /// Returns the logger's connection; null once the logger is destroyed. [any thread]
    std::shared_ptr<LoggerLink> link() const { return link_.lock(); }

private:
    friend class Alarm;
    void remove(AlarmKey key, const Alarm* alarm);

    const std::weak_ptr<LoggerLink> link_;
    std::mutex mutex_;
    std::map<AlarmKey, Alarm*> alarms_; ///< an entry is removed before its alarm is destroyed
    int pins_ = 0;
    std::vector<ZoAtlCom::CComPtr<Alarm>> pinned_;
};

} // namespace zo_logger_proxy
