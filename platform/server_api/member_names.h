#pragma once

#include "extension/host/value_layout.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>

namespace ZoHmiSrv::Layout {

/// A word turned so that numbers compare as their bytes in memory do.
inline std::uint64_t in_byte_order(std::uint64_t word) noexcept {
    return __builtin_bswap64(word);
}

/// Makes, shares, releases and compares the names of members. A MemberName itself is plain memory: it may be moved
/// byte by byte, and whoever copies it so calls `share` once for each copy.
struct MemberNames {
    /// Throws `std::bad_alloc` for a long name.
    static MemberName make(const NameKey& key);
    static void share(const MemberName& name) noexcept;
    static void release(const MemberName& name) noexcept;

    /// Byte-wise: negative, 0 or positive.
    static int compare(const MemberName& name, const NameKey& key) noexcept {
        for (std::size_t i = 0; i < std::size(key.words); ++i) {
            const std::uint64_t word = NameKey::load(name.bytes_ + 8 * i);
            if (word != key.words[i]) {
                // Only the first word of a long name is part of its text.
                if (i > 0 && (name.is_shared() || key.is_long())) {
                    break;
                }
                return in_byte_order(word) < in_byte_order(key.words[i]) ? -1 : 1;
            }
        }
        return name.is_shared() || key.is_long() ? compare_texts(name, key) : 0;
    }
    static int compare(const MemberName& left, const MemberName& right) noexcept {
        // Long names with a text in common have the same bytes too.
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
