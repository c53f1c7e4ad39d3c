#pragma once

#include "extension/host/iterator.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace ZoHmiSrv::Layout {

inline std::uint64_t big_endian(const char* bytes) noexcept {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return std::endian::native == std::endian::little ? __builtin_bswap64(word) : word;
}

inline std::uint64_t little_endian(const char* bytes) noexcept {
    return __builtin_bswap64(big_endian(bytes));
}

/// A name to look for, with its bytes as big-endian words, padded with zeros: comparing the words compares the bytes.
/// Of a long name only the first word is there.
struct NameKey {
    [[gnu::always_inline]] explicit NameKey(const char* name) noexcept
        : text(name == nullptr ? "" : name), length(std::strlen(text)) {
        if (length < 8) {
            for (std::size_t i = 0; i < length; ++i) {
                words[0] |= std::uint64_t{static_cast<unsigned char>(text[i])} << (56 - 8 * i);
            }
            return;
        }
        words[0] = big_endian(text);
        if (length > MemberName::inline_limit) {
            return;
        }
        // The last word is read so that it ends with the name, then what is in the words before it is shifted out.
        if (length > 16) {
            words[1] = big_endian(text + 8);
            words[2] = big_endian(text + length - 8) << (8 * (24 - length));
        } else if (length > 8) {
            words[1] = big_endian(text + length - 8) << (8 * (16 - length));
        }
    }

    bool is_long() const noexcept { return length > MemberName::inline_limit; }

    /// One byte that tells most names apart. Long ones are told apart by their ends too.
    std::uint8_t tag() const noexcept {
        const std::uint64_t last = is_long() ? big_endian(text + length - 8) + length : words[2];
        const std::uint64_t mixed =
            words[0] * 0xD6E8FEB86659FD93U + words[1] * 0x9E3779B97F4A7C15U + last * 0xC2B2AE3D27D4EB4FU;
        return static_cast<std::uint8_t>(mixed >> 56);
    }

    const char* text;
    std::size_t length;
    std::array<std::uint64_t, 3> words{};
};

/// Makes, shares, releases and compares the names of members. A MemberName itself is plain memory: it may be moved
/// byte by byte, and whoever copies it so calls `share` once for each copy.
struct MemberNames {
    /// Throws `std::bad_alloc` for a long name.
    static MemberName make(const NameKey& key);
    static void share(const MemberName& name) noexcept;
    static void release(const MemberName& name) noexcept;

    /// Byte-wise: negative, 0 or positive.
    static int compare(const MemberName& name, const NameKey& key) noexcept {
        for (std::size_t i = 0; i < key.words.size(); ++i) {
            const std::uint64_t word = big_endian(name.bytes_ + 8 * i);
            if (word != key.words[i]) {
                // Only the first word of a long name is part of its text.
                if (i > 0 && (name.is_shared() || key.is_long())) {
                    break;
                }
                return word < key.words[i] ? -1 : 1;
            }
        }
        return name.is_shared() || key.is_long() ? compare_texts(name, key) : 0;
    }
    static int compare(const MemberName& left, const MemberName& right) noexcept;

    /// Quicker than `compare`.
    static bool equal(const MemberName& name, const NameKey& key) noexcept {
        return key.is_long() ? compare_texts(name, key) == 0 : equal(name, key.words);
    }
    /// The same for the words of a short key, which a long name never has: its last byte is not zero.
    static bool equal(const MemberName& name, const std::array<std::uint64_t, 3>& words) noexcept {
        return ((big_endian(name.bytes_) ^ words[0]) | (big_endian(name.bytes_ + 8) ^ words[1]) |
                (big_endian(name.bytes_ + 16) ^ words[2])) == 0;
    }

private:
    static int compare_texts(const MemberName& name, const NameKey& key) noexcept;
};

} // namespace ZoHmiSrv::Layout
