#pragma once

#include "device/path/symbol_path.h"
#include "device/runtime/lookup_flag.h"

#include <functional>
#include <set>

namespace ZoHmiFdx {

/// The keys that a recursive walk is working on. One thread at a time.
template <class Key>
class RecursionCheck {
public:
    /// Enters the key; returns whether it was there already, which means that the walk came back to it.
    bool enter(const Key& key) { return !keys_.insert(key).second; }
    void leave(const Key& key) { keys_.erase(key); }
    [[nodiscard]] bool contains(const Key& key) const { return keys_.contains(key); }

private:
    std::set<Key, std::less<>> keys_;
};

/// Where a walk over lookup tables stands.
struct RecursionInfo {
    LookupFdxPath path; ///< reached so far
    LookupFlag asked = LookupFlag::None;
    LookupFlag answered = LookupFlag::None; ///< those of `asked` that are decided
};

} // namespace ZoHmiFdx
