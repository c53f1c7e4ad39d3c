#pragma once

#include "targets/event_key.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>

namespace ZoHmiEventLogger {

/// The ids that alarms had when their connection was lost, by which they are known again after it. Kept until an import
/// succeeds; the bound holds off a target whose imports fail for ever. [event mutex held]
class SavedAlarmIds {
public:
    /// Adds the ids of alarms that are live now. An alarm that is there already keeps its older id. Above 65,536, or
    /// the number of `ids` if that is more, those go that were live the longest time ago. Throws as the order of keys
    /// does, and then may have added some.
    void add(const std::map<AlarmKey, int>& ids);
    std::optional<int> find(const AlarmKey& key) const;
    void clear() { saved_.clear(); }
    std::size_t size() const { return saved_.size(); }

private:
    struct Saved {
        int id;
        std::uint64_t last_live; // the number of the `add` that had it last
    };

    void forget_oldest(std::size_t count);

    std::map<AlarmKey, Saved> saved_;
    std::uint64_t adds_ = 0;
};

} // namespace ZoHmiEventLogger
