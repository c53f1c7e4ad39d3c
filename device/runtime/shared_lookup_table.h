#pragma once

#include "device/path/fdx_path.h"
#include "support/mutex.h"

#include <array>
#include <cstddef>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace ZoHmiFdx {

template <class Key, class Value, bool shared_pointers>
class SharedLookupTable;

/// Records behind shared pointers, with a text key (a path or a string). Each operation is atomic. A record is
/// replaced, never changed. Each shard has a lock, which is a leaf. Under it, only the function of `for_each` is
/// called. [any thread]
template <class Key, class Value>
class SharedLookupTable<Key, Value, true> {
public:
    using Pointer = std::shared_ptr<Value>;

    /// Returns null if there is no record.
    [[nodiscard]] Pointer get(std::string_view key) const {
        Shard& shard = shard_of(key);
        const ZoHmiSrv::MutexLock lock(shard.mutex);
        const auto found = shard.records.find(key);
        return found == shard.records.end() ? nullptr : found->second;
    }
    template <class Derived>
    [[nodiscard]] Pointer get(const FdxPath<Derived>& key) const {
        return get(std::string_view(key.str()));
    }

    [[nodiscard]] bool contains(std::string_view key) const {
        Shard& shard = shard_of(key);
        const ZoHmiSrv::MutexLock lock(shard.mutex);
        return shard.records.contains(key);
    }

    void set(const Key& key, const Value& value) { set_impl(key, value); }
    void set(const Key& key, Pointer pointer) { set_impl_ptr(key, std::move(pointer)); }
    /// Stores a copy.
    void set_impl(const Key& key, const Value& value) { set_impl_ptr(key, std::make_shared<Value>(value)); }
    /// Adds or replaces the record.
    void set_impl_ptr(const Key& key, Pointer pointer) {
        Shard& shard = shard_of(text_of(key));
        const ZoHmiSrv::MutexLock lock(shard.mutex);
        shard.records.insert_or_assign(key, std::move(pointer));
    }
    /// Adds an empty record if there is none. Returns the record.
    Pointer set_default_construct_impl(const Key& key) {
        Shard& shard = shard_of(text_of(key));
        const ZoHmiSrv::MutexLock lock(shard.mutex);
        Pointer& pointer = shard.records[key];
        if (!pointer) pointer = std::make_shared<Value>();
        return pointer;
    }
    /// Adds the record if there is none. Returns whether it did.
    bool add(Key key, Pointer pointer) {
        Shard& shard = shard_of(text_of(key));
        const ZoHmiSrv::MutexLock lock(shard.mutex);
        return shard.records.try_emplace(std::move(key), std::move(pointer)).second;
    }
    void erase(const Key& key) {
        Shard& shard = shard_of(text_of(key));
        const ZoHmiSrv::MutexLock lock(shard.mutex);
        shard.records.erase(key);
    }

    void reserve(std::size_t count) {
        for (Shard& shard : *shards_) {
            const ZoHmiSrv::MutexLock lock(shard.mutex);
            shard.records.reserve(count / shards_->size());
        }
    }
    [[nodiscard]] std::size_t size() const {
        std::size_t count = 0;
        for (Shard& shard : *shards_) {
            const ZoHmiSrv::MutexLock lock(shard.mutex);
            count += shard.records.size();
        }
        return count;
    }
    void clear() {
        for (Shard& shard : *shards_) {
            const ZoHmiSrv::MutexLock lock(shard.mutex);
            shard.records.clear();
        }
    }
    /// Calls `visit(key, pointer)` for each record, in any order. The lock of the shard is locked, so `visit` must not
    /// use this table.
    template <class Visit>
    void for_each(Visit visit) const {
        for (Shard& shard : *shards_) {
            const ZoHmiSrv::MutexLock lock(shard.mutex);
            for (const auto& [key, pointer] : shard.records)
                visit(key, pointer);
        }
    }
    /// Does the same, but `visit` may replace the pointer.
    template <class Visit>
    void update_each(Visit visit) {
        for (Shard& shard : *shards_) {
            const ZoHmiSrv::MutexLock lock(shard.mutex);
            for (auto& [key, pointer] : shard.records)
                visit(key, pointer);
        }
    }
    /// Returns a copy of all records.
    [[nodiscard]] std::vector<std::pair<Key, Pointer>> snapshot() const {
        std::vector<std::pair<Key, Pointer>> records;
        records.reserve(size());
        for_each([&](const Key& key, const Pointer& pointer) { records.emplace_back(key, pointer); });
        return records;
    }

private:
    struct Shard {
        ZoHmiSrv::Mutex mutex;
        std::unordered_map<Key, Pointer, FdxPathHash, FdxPathEqual> records ZO_GUARDED_BY(mutex);
    };
    using Shards = std::array<Shard, 16>;

    template <class Derived>
    static std::string_view text_of(const FdxPath<Derived>& key) {
        return key.str();
    }
    static std::string_view text_of(std::string_view key) { return key; }
    Shard& shard_of(std::string_view key) const {
        return (*shards_)[(FdxPathHash()(key) >> 32) % std::tuple_size_v<Shards>];
    }

    const std::unique_ptr<Shards> shards_ = std::make_unique<Shards>();
};

} // namespace ZoHmiFdx
