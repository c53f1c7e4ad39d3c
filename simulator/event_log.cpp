#include "simulator/event_log.h"

#include <algorithm>
#include <chrono>
#include <tuple>

namespace zo_sim {

namespace {

constexpr FileTime unix_epoch = 116444736000000000;

constexpr std::int32_t number_of(Confirmation state) {
    return static_cast<std::int32_t>(state);
}

auto identity(const zo_link::EventRecord& record) {
    return std::tie(record.event_class, record.event_id, record.source_id, record.source_guid, record.source_name);
}

zo_link::EventRecord logged_view(const Occurrence& occurrence) {
    zo_link::EventRecord record = occurrence.record;
    record.active = occurrence.listed ? -1 : 0;
    record.handle = 0;
    return record;
}

} // namespace

FileTime file_time_now() {
    using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10000000>>;
    return unix_epoch + std::chrono::duration_cast<Ticks>(std::chrono::system_clock::now().time_since_epoch()).count();
}

EventLog::EventLog(std::size_t max_size) : max_size_(std::max<std::size_t>(max_size, 1)) {
}

void EventLog::restore(std::vector<Occurrence> occurrences, std::uint64_t next_number) {
    next_number_ = std::max(next_number_, next_number);
    for (Occurrence& occurrence : occurrences) {
        const zo_link::EventRecord& record = occurrence.record;
        next_number_ = std::max(next_number_, occurrence.number + 1);
        latest_ = std::max({latest_, record.raised, record.cleared, record.confirmed});
        insert(std::move(occurrence));
    }
}

Outcome EventLog::raise(zo_link::EventRecord alarm, FileTime now) {
    Occurrence occurrence;
    if (const std::uint64_t handle = find_active(alarm)) {
        const auto old = active_.find(handle);
        if (log_.at(old->second).record.active != 0) return Outcome::already_raised;
        // The alarm still waits for its confirmation: it keeps its number and gets a new time.
        occurrence.number = handle;
        log_.erase(old->second);
        active_.erase(old);
    } else {
        occurrence.number = next_number_++;
    }
    alarm.type = 1;
    alarm.raised = stamp(now);
    alarm.cleared = 0;
    alarm.confirmed = 0;
    alarm.active = -1;
    alarm.confirmation = number_of(alarm.with_confirmation != 0 ? Confirmation::waits : Confirmation::none);
    alarm.uid = static_cast<std::uint32_t>(occurrence.number);
    alarm.handle = occurrence.number;
    occurrence.record = std::move(alarm);
    occurrence.listed = true;
    note(ChangeKind::raised, occurrence);
    insert(std::move(occurrence));
    return Outcome::done;
}

Outcome EventLog::clear(std::uint64_t handle, FileTime now) {
    Occurrence* alarm = find(handle);
    if (alarm == nullptr) return Outcome::unknown_alarm;
    if (alarm->record.active == 0) return Outcome::not_raised;
    alarm->record.active = 0;
    alarm->record.cleared = stamp(now);
    if (alarm->record.confirmation != number_of(Confirmation::waits)) leave_list(*alarm);
    note(ChangeKind::cleared, *alarm);
    keep_size();
    return Outcome::done;
}

Outcome EventLog::confirm(std::uint64_t handle, FileTime now) {
    Occurrence* alarm = find(handle);
    if (alarm == nullptr) return Outcome::unknown_alarm;
    if (alarm->record.with_confirmation == 0) return Outcome::no_confirmation_needed;
    if (alarm->record.confirmation == number_of(Confirmation::confirmed)) return Outcome::already_confirmed;
    alarm->record.confirmation = number_of(Confirmation::confirmed);
    alarm->record.confirmed = stamp(now);
    if (alarm->record.active == 0) leave_list(*alarm);
    note(ChangeKind::confirmed, *alarm);
    keep_size();
    return Outcome::done;
}

Outcome EventLog::reset(std::uint64_t handle, FileTime now) {
    Occurrence* alarm = find(handle);
    if (alarm == nullptr) return Outcome::unknown_alarm;
    zo_link::EventRecord& record = alarm->record;
    if (record.active != 0) record.cleared = stamp(now);
    record.active = 0;
    if (record.confirmation == number_of(Confirmation::waits))
        record.confirmation = number_of(Confirmation::left_without);
    leave_list(*alarm);
    note(ChangeKind::cleared, *alarm);
    keep_size();
    return Outcome::done;
}

void EventLog::send(zo_link::EventRecord message, FileTime now) {
    Occurrence occurrence;
    occurrence.number = next_number_++;
    message.type = 0;
    message.raised = stamp(now);
    message.with_confirmation = 0;
    message.uid = static_cast<std::uint32_t>(occurrence.number);
    occurrence.record = std::move(message);
    note(ChangeKind::message, occurrence);
    insert(std::move(occurrence));
    keep_size();
}

void EventLog::clear_log(std::int32_t reason) {
    erase_finished(log_.size(), reason);
}

std::uint64_t EventLog::find_active(const zo_link::EventRecord& like) const {
    for (const auto& [handle, key] : active_) {
        if (identity(log_.at(key).record) == identity(like)) return handle;
    }
    return 0;
}

std::vector<zo_link::EventRecord> EventLog::logged(std::size_t count) const {
    std::vector<zo_link::EventRecord> records;
    auto first = log_.end();
    for (std::size_t i = std::min(count, log_.size()); i > 0; --i)
        --first;
    for (; first != log_.end(); ++first)
        records.push_back(logged_view(first->second));
    return records;
}

std::vector<zo_link::EventRecord> EventLog::active_alarms() const {
    std::vector<zo_link::EventRecord> records;
    for (const auto& [handle, key] : active_)
        records.push_back(log_.at(key).record);
    return records;
}

std::vector<Change> EventLog::take_changes() {
    return std::exchange(changes_, {});
}

std::vector<Occurrence> EventLog::occurrences() const {
    std::vector<Occurrence> all;
    all.reserve(log_.size());
    for (const auto& [key, occurrence] : log_)
        all.push_back(occurrence);
    return all;
}

FileTime EventLog::stamp(FileTime now) {
    return latest_ = std::max(now, latest_ + 1);
}

Occurrence* EventLog::find(std::uint64_t handle) {
    const auto key = active_.find(handle);
    return key == active_.end() ? nullptr : &log_.at(key->second);
}

void EventLog::leave_list(Occurrence& alarm) {
    alarm.listed = false;
    active_.erase(alarm.number);
}

void EventLog::insert(Occurrence occurrence) {
    const Key key{occurrence.record.raised, occurrence.number};
    if (occurrence.listed) active_[occurrence.number] = key;
    log_.insert_or_assign(key, std::move(occurrence));
}

void EventLog::note(ChangeKind kind, const Occurrence& occurrence) {
    changes_.push_back({kind, occurrence, 0, {}});
}

void EventLog::keep_size() {
    constexpr std::int32_t maximum_size_reached = 2;
    const std::size_t finished = log_.size() - active_.size();
    if (finished > max_size_) erase_finished(std::max<std::size_t>(max_size_ / 4, 1), maximum_size_reached);
}

void EventLog::erase_finished(std::size_t count, std::int32_t reason) {
    Change change;
    change.kind = ChangeKind::database;
    change.reason = reason;
    for (auto entry = log_.begin(); entry != log_.end() && change.erased.size() < count;) {
        if (entry->second.listed) {
            ++entry;
            continue;
        }
        change.erased.push_back(entry->first.second);
        entry = log_.erase(entry);
    }
    changes_.push_back(std::move(change));
}

} // namespace zo_sim
