#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <unordered_map>

namespace ZoHmiEventLogger {

/// Answers of a logger, kept to spare the link. First in, first out; looking up does not refresh, and storing a key
/// that is there changes nothing. Keys have `hash()` and `==`. The lock is a leaf, held for one operation, and answers
/// are shared, so that none is copied under it. [any thread]
template <class Key, class Answer>
class LocalizationCache {
public:
    using Shared = std::shared_ptr<const Answer>;

    /// At most `bound` answers; with 0 it stores nothing.
    explicit LocalizationCache(std::uint64_t bound = default_bound) : bound_(bound) {}

    /// Null when there is none.
    Shared find(const Key& key) const {
        const std::lock_guard lock(mutex_);
        const auto found = answers_.find(key);
        return found != answers_.end() ? found->second : nullptr;
    }

    void store(const Key& key, const Shared& answer) {
        if (bound_ == 0) return;
        const std::lock_guard lock(mutex_);
        const auto [position, added] = answers_.emplace(key, answer);
        if (!added) return;
        try {
            order_.push_back(&position->first);
        } catch (...) {
            answers_.erase(position);
            throw;
        }
        if (order_.size() > bound_) {
            answers_.erase(*order_.front());
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
    struct Hash {
        std::size_t operator()(const Key& key) const { return key.hash(); }
    };

    mutable std::mutex mutex_;
    std::uint64_t bound_;
    std::unordered_map<Key, Shared, Hash> answers_;
    std::deque<const Key*> order_; // oldest first; the keys of a hash map stay where they are
};

} // namespace ZoHmiEventLogger
