#pragma once

#include "extension/host/value.h"
#include "targets/striped_mutex.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <unordered_map>

namespace ZoHmiEventLogger {

/// Answers of a logger, kept to spare the link. First in, first out; looking up does not refresh, and storing a key
/// that is there changes nothing. Keys have `hash()` and `==`, and may be asked for in another form that has the same
/// and converts to them. The lock is a leaf, held for one operation, shared by those who look up. Answers are texts, or
/// trees that share themselves, of which a copy takes no memory. [any thread]
template <class Key>
class LocalizationCache {
public:
    /// At most `bound` answers; with 0 it stores nothing.
    explicit LocalizationCache(std::uint64_t bound = default_bound) : bound_(bound) {}

    /// Shows an answer to `take`, under the lock: what needs no copy of it spares the threads counting its holders,
    /// which is most of what they would wait for each other. False when there is none.
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

    /// Stores nothing when it was cleared since `clears`: an answer that was on its way meanwhile is that of another
    /// connection.
    template <class Question = Key>
    void store(const Question& key, const ZoHmiSrv::Value& answer, std::uint64_t clears) {
        if (bound_ == 0) return;
        typename Answers::node_type added, dropped; // made before the lock, and let go behind it
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
        Answers dropped; // let go behind the lock
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
