#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "extension/host/value_type.h"
#include "support/guid.h"

namespace ZoHmiEventLogger {

/// Answers of a logger, kept to spare the link. First in, first out; looking up does not refresh, and storing a key
/// that is there changes nothing. Its lock is a leaf, held for one operation. [any thread]
template <class Key, class Answer>
class LocalizationCache {
public:
    /// At most `bound` answers; with 0 it stores nothing.
    explicit LocalizationCache(std::uint64_t bound = default_bound) : bound_(bound) {}

    std::optional<Answer> find(const Key& key) const {
        const std::lock_guard lock(mutex_);
        const auto found = answers_.find(key);
        return found == answers_.end() ? std::nullopt : std::optional<Answer>(found->second);
    }

    void store(const Key& key, const Answer& answer) {
        const std::lock_guard lock(mutex_);
        if (bound_ == 0) return;
        const auto [position, added] = answers_.emplace(key, answer);
        if (!added) return;
        try {
            order_.push_back(position);
        } catch (...) {
            answers_.erase(position);
            throw;
        }
        if (order_.size() > bound_) {
            answers_.erase(order_.front());
            order_.pop_front();
        }
    }

    void clear() {
        const std::lock_guard lock(mutex_);
        order_.clear();
        answers_.clear();
    }

private:
    static constexpr std::uint64_t default_bound = 65'536;
    using Answers = std::map<Key, Answer>;

    mutable std::mutex mutex_;
    std::uint64_t bound_;
    Answers answers_;
    std::deque<typename Answers::iterator> order_;
};

/// What an answer depends on; the language is a locale id.
struct ClassNameKey {
    GUID event_class;
    std::int32_t language;
    auto operator<=>(const ClassNameKey&) const = default;
};

struct SourceNameKey {
    GUID event_class;
    std::string source_name;
    std::int32_t language;
    auto operator<=>(const SourceNameKey&) const = default;
};

/// For causes, remedies and details, which do not depend on the arguments.
struct EventKindKey {
    GUID event_class;
    std::uint32_t event_id;
    std::int32_t language;
    auto operator<=>(const EventKindKey&) const = default;
};

struct TextKey {
    std::uint32_t event_id;
    std::string argument_data;
    GUID event_class;
    ZoHmiSrv::ValueType payload_type;
    std::int32_t language;
    auto operator<=>(const TextKey&) const = default;
};

struct CauseRemedy {
    std::string id;
    std::string cause;
    std::string remedy;
};

struct Detail {
    std::string id;
    std::string text;
    std::string comment;
};

} // namespace ZoHmiEventLogger
