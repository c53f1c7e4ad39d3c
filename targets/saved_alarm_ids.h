#pragma once

#include "targets/event_key.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>

namespace ZoHmiEventLogger {

/// The ids that alarms had when their connection was lost, and that they get again. They stay until an import succeeds.
/// The bound limits the memory of a target whose imports never succeed. [event mutex held]
class SavedAlarmIds {
public:
    /// Adds the ids of alarms that are live now. A saved alarm keeps its older id. The maximum is 65,536 ids, or the
    /// number of `ids` if that is more. Drops the ids of the alarms that were live longest ago. Throws as the order of
    /// keys does; some ids may have been added then.
    void add(const std::map<AlarmKey, int>& ids);
    std::optional<int> find(const AlarmKey& key) const;
    void clear() { saved_.clear(); }
    std::size_t size() const { return saved_.size(); }

private:
    struct Saved {
        int id;
        std::uint64_t last_live; // the number of the last `add` with this alarm
    };

    void forget_oldest(std::size_t count);

    std::map<AlarmKey, Saved> saved_;
    std::uint64_t adds_ = 0;
};

} // namespace ZoHmiEventLogger
