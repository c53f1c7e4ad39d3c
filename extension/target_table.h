#pragma once

#include "targets/striped_mutex.h"
#include "targets/target_system_base.h"

#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace ZoHmiEventLogger {

class TargetSystem;

/// A target in use and the lock that blocks its live callbacks. The lock is released before the target.
struct LockedTarget {
    std::shared_ptr<TargetSystem> target;
    LockHolder holder;
};

/// The targets by name. The mutex is locked for single operations only. A target is destroyed after the unlock, because
/// that can disconnect.
///
/// The mutex has stripes because each localization looks a target up. With a single mutex, two threads localize slower
/// than one thread. [any thread]
class TargetTable {
public:
    TargetTable() = default;
    ~TargetTable() { clear(); }
    TargetTable(const TargetTable&) = delete;
    TargetTable& operator=(const TargetTable&) = delete;

    /// Returns false and changes nothing once `stopping` is set.
    bool insert_or_replace(const std::string& name, std::shared_ptr<TargetSystem> target,
                           const std::atomic<bool>& stopping);
    /// Returns null for an unknown name.
    std::shared_ptr<TargetSystem> find(const std::string& name) const;
    /// Returns the names in byte-wise order.
    std::vector<std::string> names() const;
    /// Returns false for an unknown name.
    bool erase(const std::string& name);
    /// Removes the targets in the order of their names.
    void clear();

private:
    mutable StripedMutex mutex_; ///< targets_mutex in the picture of the locks
    std::map<std::string, std::shared_ptr<TargetSystem>> targets_ ZO_GUARDED_BY(mutex_);
};

} // namespace ZoHmiEventLogger
