#pragma once

#include "device/path/symbol_path.h"
#include "device/runtime/lookup_flag.h"

#include <functional>
#include <set>

namespace ZoHmiFdx {

/// The keys of a recursive walk in progress. One thread at a time.
template <class Key>
class RecursionCheck {
public:
    /// Adds the key. Returns true if it was already there: the walk has come back to it.
    bool enter(const Key& key) { return !keys_.insert(key).second; }
    void leave(const Key& key) { keys_.erase(key); }
    [[nodiscard]] bool contains(const Key& key) const { return keys_.contains(key); }

private:
    std::set<Key, std::less<>> keys_;
};

/// The position of a walk over lookup tables.
struct RecursionInfo {
    LookupFdxPath path; ///< the path reached so far
    LookupFlag asked = LookupFlag::None;
    LookupFlag answered = LookupFlag::None; ///< the flags of `asked` that are decided
};

} // namespace ZoHmiFdx
