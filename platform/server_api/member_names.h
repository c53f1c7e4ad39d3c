#pragma once

#include "extension/host/detail/value_layout.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>

namespace ZoHmiSrv::Layout {

/// Compares two words by their bytes in memory.
inline int compare_words(std::uint64_t left, std::uint64_t right) noexcept {
    return left == right ? 0 : __builtin_bswap64(left) < __builtin_bswap64(right) ? -1 : 1;
}

/// Makes, shares, releases and compares the names of members. A MemberName is plain memory. Code that copies its bytes
/// calls `share` once for each copy.
struct MemberNames {
    /// Throws `std::bad_alloc` for a long name.
    static MemberName make(const NameKey& key);
    static void share(const MemberName& name) noexcept;
    static void release(const MemberName& name) noexcept;

    /// Byte-wise: negative, 0 or positive.
    static int compare(const MemberName& name, const NameKey& key) noexcept {
        // The first eight bytes usually decide. The other words of a long name are not part of its text.
        if (const int order = compare_words(NameKey::load(name.bytes_), key.words[0]); order != 0) return order;
        if (name.is_shared() || key.is_long()) return compare_texts(name, key);
        const int order = compare_words(NameKey::load(name.bytes_ + 8), key.words[1]);
        return order != 0 ? order : compare_words(NameKey::load(name.bytes_ + 16), key.words[2]);
    }
    static int compare(const MemberName& left, const MemberName& right) noexcept {
        if (const int order = compare_words(NameKey::load(left.bytes_), NameKey::load(right.bytes_)); order != 0)
            return order;
        // Long names that share a text have the same bytes too.
        const NameKey::Words words = {NameKey::load(right.bytes_), NameKey::load(right.bytes_ + 8),
                                      NameKey::load(right.bytes_ + 16)};
        return has_name(left, words) ? 0 : std::strcmp(left.c_str(), right.c_str());
    }

    /// Quicker than `compare`.
    static bool equal(const MemberName& name, const NameKey& key) noexcept {
        return key.is_long() ? compare_texts(name, key) == 0 : has_name(name, key.words);
    }

private:
    static int compare_texts(const MemberName& name, const NameKey& key) noexcept;
};

} // namespace ZoHmiSrv::Layout
