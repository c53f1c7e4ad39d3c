#pragma once

#include "extension/host/value.h"
#include "targets/striped_mutex.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <unordered_map>

namespace ZoHmiEventLogger {

/// Caches answers of a logger. First in, first out: a look-up does not refresh, and storing a known key changes
/// nothing. Keys have `hash()` and `==`. A question may be of another type that converts to a key and has the same
/// `hash()` and `==`. The lock is a leaf, locked for one operation; readers share it. Answers are texts or shared
/// trees, so copies take no memory. [any thread]
template <class Key>
class LocalizationCache {
public:
    /// At most `bound` answers; with 0 it stores nothing.
    explicit LocalizationCache(std::uint64_t bound = default_bound) : bound_(bound) {}

    /// Calls `take` with the cached answer under the lock. Returns false when there is none. No shared_ptr is
    /// copied: the contended reference count would cost more than the lock.
    template <class Take, class Question = Key>
    bool find(const Question& key, Take&& take) const {
        const StripedReadLock lock(mutex_);
        const auto found = answers_.find(key);
        if (found == answers_.end()) return false;
        take(found->second);
        return true;
    }

    /// How often it was cleared.
    std::uint64_t clears() const {
        const StripedReadLock lock(mutex_);
        return clears_;
    }

    /// Stores nothing when the cache was cleared since `clears`: an answer that arrives after that belongs to the old
    /// connection.
    template <class Question = Key>
    void store(const Question& key, const ZoHmiSrv::Value& answer, std::uint64_t clears) {
        if (bound_ == 0) return;
        typename Answers::node_type added, dropped; // allocated before the lock, destroyed after it
        {
            Answers made;
            made.emplace(static_cast<Key>(key), answer);
            added = made.extract(made.begin());
        }
        const StripedWriteLock lock(mutex_);
        if (clears != clears_) return;
        const auto stored = answers_.insert(std::move(added));
        if (!stored.inserted) return;
        try {
            order_.push_back(&stored.position->first);
        } catch (...) {
            answers_.erase(stored.position);
            throw;
        }
        if (order_.size() > bound_) {
            dropped = answers_.extract(*order_.front());
            order_.pop_front();
        }
    }

    void clear() {
        Answers dropped; // destroyed after the lock
        const StripedWriteLock lock(mutex_);
        ++clears_;
        order_.clear();
        answers_.swap(dropped);
    }

private:
    static constexpr std::uint64_t default_bound = 65'536;
    struct Hash {
        using is_transparent = void;
        template <class Question>
        std::size_t operator()(const Question& key) const {
            return key.hash();
        }
    };

    using Answers = std::unordered_map<Key, ZoHmiSrv::Value, Hash, std::equal_to<>>;

    mutable StripedMutex mutex_;
    std::uint64_t bound_;
    std::uint64_t clears_ ZO_GUARDED_BY(mutex_) = 0;
    Answers answers_ ZO_GUARDED_BY(mutex_);
    // Oldest first; the keys of a hash map stay where they are.
    std::deque<const Key*> order_ ZO_GUARDED_BY(mutex_);
};

} // namespace ZoHmiEventLogger
