#include "extension/target_table.h"

#include "targets/target_system.h"

#include <utility>

namespace ZoHmiEventLogger {

bool TargetTable::insert_or_replace(const std::string& name, std::shared_ptr<TargetSystem> target,
                                    const std::atomic<bool>& stopping) {
    {
        const StripedWriteLock lock(mutex_);
        if (stopping) return false;
        targets_[name].swap(target);
    }
    if (target) target->retire(); // the old target, which this call releases
    return true;
}

std::shared_ptr<TargetSystem> TargetTable::find(const std::string& name) const {
    const StripedReadLock lock(mutex_);
    const auto found = targets_.find(name);
    return found != targets_.end() ? found->second : nullptr;
}

std::vector<std::string> TargetTable::names() const {
    const StripedReadLock lock(mutex_);
    std::vector<std::string> names;
    names.reserve(targets_.size());
    for (const auto& [name, target] : targets_)
        names.push_back(name);
    return names;
}

bool TargetTable::erase(const std::string& name) {
    std::shared_ptr<TargetSystem> erased;
    {
        const StripedWriteLock lock(mutex_);
        const auto found = targets_.find(name);
        if (found == targets_.end()) return false;
        erased = std::move(found->second);
        targets_.erase(found);
    }
    erased->retire();
    return true;
}

void TargetTable::clear() {
    std::map<std::string, std::shared_ptr<TargetSystem>> cleared;
    {
        const StripedWriteLock lock(mutex_);
        cleared.swap(targets_);
    }
    while (!cleared.empty())
        cleared.erase(cleared.begin());
}

} // namespace ZoHmiEventLogger
