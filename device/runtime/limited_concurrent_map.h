#pragma once

#include "device/path/fdx_path.h"
#include "support/mutex.h"

#include <cstddef>
#include <deque>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace ZoHmiFdx {

/// A map from path to shared pointer that evicts its oldest entries. Its lock is a leaf. [any thread]
template <class Key, class Value>
class LimitedConcurrentMap {
public:
    using Pointer = std::shared_ptr<const Value>;

    /// Returns null if there is no entry.
    [[nodiscard]] Pointer get(const Key& key) const {
        const ZoHmiSrv::MutexLock lock(mutex_);
        const auto found = entries_.find(key);
        return found == entries_.end() ? nullptr : found->second;
    }
    /// Adds or replaces the value. A replaced entry keeps its age.
    void set(const Key& key, Pointer value) {
        const ZoHmiSrv::MutexLock lock(mutex_);
        const auto [entry, is_new] = entries_.try_emplace(key);
        if (is_new) {
            try {
                by_age_.push_back(&entry->first);
            } catch (...) {
                entries_.erase(entry);
                throw;
            }
        }
        entry->second = std::move(value);
    }
    /// Evicts the oldest entries until at most `n` are left.
    void enforce_limit(std::size_t n) {
        const ZoHmiSrv::MutexLock lock(mutex_);
        for (; entries_.size() > n; by_age_.pop_front())
            entries_.erase(entries_.find(*by_age_.front()));
    }
    [[nodiscard]] std::size_t size() const {
        const ZoHmiSrv::MutexLock lock(mutex_);
        return entries_.size();
    }
    void clear() { enforce_limit(0); }

private:
    mutable ZoHmiSrv::Mutex mutex_;
    std::unordered_map<Key, Pointer, FdxPathHash, FdxPathEqual> entries_ ZO_GUARDED_BY(mutex_);
    std::deque<const Key*> by_age_ ZO_GUARDED_BY(mutex_); // keys of entries_, oldest first
};

} // namespace ZoHmiFdx
