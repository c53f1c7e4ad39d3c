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

// The name of an alarm for the life of the proxy: the target's instance and the alarm's handle within it.
struct AlarmKey {
    std::uint64_t instance = 0;
    std::uint64_t handle = 0;

    friend auto operator<=>(const AlarmKey&, const AlarmKey&) = default;
};

// A live alarm. It outlives the logger; its fields change while others read them.
class Alarm final : public EventObject<Alarm, ZoEventLoggerFdxProxyLib::IZoAlarmJson> {
public:
    Alarm(std::shared_ptr<AlarmTable> table, AlarmKey key);

    HRESULT GetIsRaised(VARIANT_BOOL* out) override { return put(out, snapshot()->active); }
    HRESULT GetTimeCleared(std::int64_t* out) override { return put(out, snapshot()->cleared); }
    HRESULT GetConfirmationState(std::int32_t* out) override { return put(out, snapshot()->confirmation); }
    HRESULT GetTimeConfirmed(std::int64_t* out) override { return put(out, snapshot()->confirmed); }
    // Asks the target, if it is still there. [any thread]
    HRESULT Confirm() override;

    Snapshot snapshot() const;
    void* find_own_interface(const GUID& iid, const zo_link::EventRecord& record);

    // Takes over fields unless newer ones are there: `sequence` is the position in the stream of callbacks.
    // [any thread]
    void update(Snapshot record, std::uint64_t sequence);

private:
    friend CountedObject;
    ~Alarm() = default;
    void destroy();

    const std::shared_ptr<AlarmTable> table_;
    const AlarmKey key_;
    mutable std::mutex mutex_; // guards what follows
    Snapshot record_;
    std::uint64_t sequence_ = 0;
};

// Knows the alarms that someone holds, so that one alarm is one object. Holds none of them itself, but while a list is
// on its way: a callback behind the list must not find and lose the object whose newer fields the list is to keep.
class AlarmTable : public std::enable_shared_from_this<AlarmTable> {
public:
    explicit AlarmTable(std::weak_ptr<LoggerLink> link) : link_(std::move(link)) {}

    // The alarm's object with its fields brought up to date; a new one when nobody holds it. [any thread]
    ZoAtlCom::CComPtr<Alarm> get(AlarmKey key, Snapshot record, std::uint64_t sequence);

    // Holds every alarm that `get` hands out during its life.
    class Pin {
    public:
        explicit Pin(AlarmTable& table);
        ~Pin();
        Pin(const Pin&) = delete;
        Pin& operator=(const Pin&) = delete;

    private:
        AlarmTable& table_;
    };

    // The logger's connection, while the logger lives. [any thread]
    std::shared_ptr<LoggerLink> link() const { return link_.lock(); }

private:
    friend class Alarm;
    void remove(AlarmKey key, const Alarm* alarm);

    const std::weak_ptr<LoggerLink> link_;
    std::mutex mutex_;
    std::map<AlarmKey, Alarm*> alarms_; // an entry goes before its alarm does
    int pins_ = 0;
    std::vector<ZoAtlCom::CComPtr<Alarm>> pinned_;
};

} // namespace zo_logger_proxy
