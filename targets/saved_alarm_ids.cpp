#include "targets/saved_alarm_ids.h"

#include <algorithm>
#include <vector>

namespace ZoHmiEventLogger {

namespace {

constexpr std::size_t default_bound = 65'536;

} // namespace

void SavedAlarmIds::add(const std::map<AlarmKey, int>& ids) {
    ++adds_;
    for (const auto& [key, id] : ids)
        saved_.try_emplace(key, Saved{id, adds_}).first->second.last_live = adds_;
    const std::size_t bound = std::max(default_bound, ids.size());
    if (saved_.size() > bound) forget_oldest(saved_.size() - bound);
}

std::optional<int> SavedAlarmIds::find(const AlarmKey& key) const {
    const auto found = saved_.find(key);
    return found != saved_.end() ? std::optional(found->second.id) : std::nullopt;
}

void SavedAlarmIds::forget_oldest(std::size_t count) {
    using Entry = std::map<AlarmKey, Saved>::iterator;
    std::vector<Entry> entries;
    entries.reserve(saved_.size());
    for (auto entry = saved_.begin(); entry != saved_.end(); ++entry)
        entries.push_back(entry);
    const auto last = entries.begin() + static_cast<std::ptrdiff_t>(count);
    std::nth_element(entries.begin(), last, entries.end(),
                     [](Entry a, Entry b) { return a->second.last_live < b->second.last_live; });
    for (auto entry = entries.begin(); entry != last; ++entry)
        saved_.erase(*entry);
}

} // namespace ZoHmiEventLogger
