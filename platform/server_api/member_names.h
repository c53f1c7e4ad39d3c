#pragma once

#include "extension/host/iterator.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace ZoHmiSrv::Layout {

/// A name to look for, with its bytes as big-endian words: comparing the words compares the bytes.
struct NameKey {
    explicit NameKey(const char* name) noexcept : text(name == nullptr ? "" : name), length(std::strlen(text)) {
        std::array<char, 24> padded{};
        std::memcpy(padded.data(), text, is_long() ? sizeof words[0] : length);
        for (std::size_t i = 0; i < words.size(); ++i) {
            words[i] = big_endian(padded.data() + 8 * i);
        }
    }

    bool is_long() const noexcept { return length > MemberName::inline_limit; }

    static std::uint64_t big_endian(const char* bytes) noexcept {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes, sizeof word);
        if constexpr (std::endian::native == std::endian::little) {
            word = __builtin_bswap64(word);
        }
        return word;
    }

    const char* text;
    std::size_t length;
    std::array<std::uint64_t, 3> words;
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
            const std::uint64_t word = NameKey::big_endian(name.bytes_ + 8 * i);
            if (word != key.words[i]) {
                // Only the first word of a long name is part of its text.
                if (i > 0 && (name.is_shared() || key.is_long())) {
                    break;
                }
                return word < key.words[i] ? -1 : 1;
            }
        }
        return name.is_shared() || key.is_long() ? std::strcmp(name.c_str(), key.text) : 0;
    }
    static int compare(const MemberName& left, const MemberName& right) noexcept;
};

} // namespace ZoHmiSrv::Layout
