#pragma once

#include "targets/striped_mutex.h"
#include "targets/target_system_base.h"

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace ZoHmiEventLogger {

class TargetSystem;

/// A target in use, with the lock that keeps its live callbacks waiting. The lock goes first.
struct HeldTarget {
    std::shared_ptr<TargetSystem> target;
    LockHolder holder;
};

/// The targets by name. Its mutex is held for single operations only: a target that leaves the table is let go after
/// it, since that can disconnect. [any thread]
class TargetTable {
public:
    TargetTable() = default;
    ~TargetTable() { clear(); }
    TargetTable(const TargetTable&) = delete;
    TargetTable& operator=(const TargetTable&) = delete;

    /// Does nothing and gives false once `stopping` is set.
    bool insert_or_replace(const std::string& name, std::shared_ptr<TargetSystem> target,
                           const std::atomic<bool>& stopping);
    /// Null when there is none.
    std::shared_ptr<TargetSystem> find(const std::string& name) const;
    /// In byte-wise order.
    std::vector<std::string> names() const;
    /// False when there was none.
    bool erase(const std::string& name);
    /// Lets the targets go in the order of their names.
    void clear();

private:
    mutable StripedMutex mutex_; // targets_mutex in the picture of the locks
    std::map<std::string, std::shared_ptr<TargetSystem>> targets_;
};

} // namespace ZoHmiEventLogger
