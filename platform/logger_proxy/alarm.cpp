#include "platform/logger_proxy/alarm.h"

#include "platform/logger_proxy/logger_link.h"

namespace zo_logger_proxy {

Alarm::Alarm(std::shared_ptr<AlarmTable> table, AlarmKey key)
    : table_(std::move(table)), key_(key), record_(std::make_shared<const zo_link::EventRecord>()) {
}

HRESULT Alarm::Confirm() {
    return guarded([&] {
        const auto link = table_->link();
        return to_com(link ? link->confirm(key_) : zo_link::code::not_connected);
    });
}

Snapshot Alarm::snapshot() const {
    const std::lock_guard lock(mutex_);
    return record_;
}

void* Alarm::find_own_interface(const GUID& iid, const zo_link::EventRecord& record) {
    using namespace ZoEventLoggerFdxProxyLib;
    if (iid == IID_IZoAlarm) return static_cast<IZoAlarm*>(this);
    if (iid == IID_IZoAlarmJson && record.json) return static_cast<IZoAlarmJson*>(this);
    return nullptr;
}

void Alarm::update(Snapshot record, std::uint64_t sequence) {
    const std::lock_guard lock(mutex_);
    if (sequence < sequence_) return;
    record_.swap(record);
    sequence_ = sequence;
}

void Alarm::destroy() {
    table_->remove(key_, this);
    delete this;
}

ZoAtlCom::CComPtr<Alarm> AlarmTable::get(AlarmKey key, Snapshot record, std::uint64_t sequence) {
    ZoAtlCom::CComPtr<Alarm> alarm;
    {
        const std::lock_guard lock(mutex_);
        const auto [it, added] = alarms_.try_emplace(key, nullptr);
        // An object without references is waiting for this lock to remove its entry. Its alarm needs a new object.
        if (it->second == nullptr || !it->second->try_add_ref()) {
            try {
                it->second = new Alarm(shared_from_this(), key);
            } catch (...) {
                if (added) alarms_.erase(it);
                throw;
            }
        }
        alarm.attach(it->second);
        if (pins_ != 0) pinned_.push_back(alarm);
    }
    alarm->update(std::move(record), sequence);
    return alarm;
}

AlarmTable::Pin::Pin(AlarmTable& table) : table_(table) {
    const std::lock_guard lock(table_.mutex_);
    ++table_.pins_;
}

AlarmTable::Pin::~Pin() {
    // Destroyed after the unlock: the destruction of an alarm locks this mutex.
    std::vector<ZoAtlCom::CComPtr<Alarm>> unpinned;
    const std::lock_guard lock(table_.mutex_);
    if (--table_.pins_ == 0) unpinned.swap(table_.pinned_);
}

void AlarmTable::remove(AlarmKey key, const Alarm* alarm) {
    const std::lock_guard lock(mutex_);
    const auto it = alarms_.find(key);
    if (it != alarms_.end() && it->second == alarm) alarms_.erase(it);
}

} // namespace zo_logger_proxy
