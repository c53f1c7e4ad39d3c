#pragma once

#include "extension/host/export.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

// The memory that values are made of: private to the library, shown here so that walking it costs no calls, and so that
// of a look-up by a name that the compiler knows only the comparing is left.
namespace ZoHmiSrv::Layout {

/// Heads every block on the heap. Blocks of one Map are chained in name order through `next`.
struct Block {
    Block* next;
    std::size_t size;     ///< elements in use
    std::size_t capacity; ///< elements that fit; of bytes, which never change: the values that share them
    std::uint32_t kind;
    std::uint32_t owners; ///< of a tree: the values that share it
};

/// A name of a Map's member, or another short text. Up to 23 bytes lie here, padded with zeros, so that three words
/// compare as the bytes do; of a longer one the first eight bytes lie here, and the whole in a counted block that
/// copies share.
class ZOHMISRV_API MemberName {
public:
    static constexpr std::size_t inline_limit = 23;

    const char* c_str() const noexcept { return is_shared() ? shared() : bytes_; }
    bool is_shared() const noexcept { return bytes_[inline_limit] != 0; }

private:
    friend struct MemberNames;

    const char* shared() const noexcept { return std::bit_cast<Tail>(*this).text; }
    struct Tail {
        char head[8];
        const char* text;
        char rest[8];
    };

    alignas(8) char bytes_[inline_limit + 1] = {};
};

template <class T>
struct Member {
    MemberName name;
    T value;
};

static_assert(std::endian::native == std::endian::little, "names are read as words whose first byte is the lowest");

/// A name to look for, with its bytes as three words, padded with zeros, as they lie in a MemberName; of a long name
/// only the first word is there. Parts of words are put together without a loop, so that a name that the compiler knows
/// becomes three constants.
struct NameKey {
    using Words = std::uint64_t[3]; // no std::array, whose checks keep the compiler from seeing through

    [[gnu::always_inline]] explicit NameKey(const char* name) noexcept
        : text(name == nullptr ? "" : name), length(std::strlen(text)) {
        if (length < 8) {
            words[0] = short_word();
        } else if (is_long()) {
            words[0] = load(text);
        } else if (length > 16) {
            words[0] = load(text);
            words[1] = load(text + 8);
            words[2] = last_bytes(length - 16);
        } else {
            words[0] = load(text);
            words[1] = last_bytes(length - 8);
        }
    }

    [[gnu::always_inline]] bool is_long() const noexcept { return length > MemberName::inline_limit; }

    /// One byte that tells most names apart. Long ones are told apart by their ends too.
    [[gnu::always_inline]] std::uint8_t tag() const noexcept {
        const std::uint64_t last = is_long() ? load(text + length - 8) + length : words[2];
        const std::uint64_t mixed = (words[0] ^ std::rotl(words[1], 21) ^ std::rotl(last, 42)) * 0xD6E8FEB86659FD93U;
        return static_cast<std::uint8_t>(mixed >> 56);
    }

    template <class Word = std::uint64_t>
    [[gnu::always_inline]] static std::uint64_t load(const void* bytes) noexcept {
        Word word = 0;
        std::memcpy(&word, bytes, sizeof word);
        return word;
    }

    const char* text;
    std::size_t length;
    Words words = {};

private:
    /// The last `count` bytes, 0 to 8, of a name that has 8 or more. What is read before them is shifted out, in two
    /// steps, since one by a whole word would leave it as it is.
    [[gnu::always_inline]] std::uint64_t last_bytes(std::size_t count) const noexcept {
        const std::size_t half = 4 * (8 - count);
        return load(text + length - 8) >> half >> half;
    }
    /// All of a name with less than 8 bytes, from parts that overlap.
    [[gnu::always_inline]] std::uint64_t short_word() const noexcept {
        if (length >= 4) {
            return load<std::uint32_t>(text) | load<std::uint32_t>(text + length - 4) << (8 * (length - 4));
        }
        if (length == 0) {
            return 0;
        }
        return load<std::uint8_t>(text) | load<std::uint8_t>(text + length / 2) << (8 * (length / 2)) |
               load<std::uint8_t>(text + length - 1) << (8 * (length - 1));
    }
};

template <class T>
Member<T>* members_of(Block* run) noexcept {
    return reinterpret_cast<Member<T>*>(run + 1);
}

/// Behind the room for its members, a run has a tag for each of them, see `NameKey::tag`: a look-up compares this many
/// at a time, and reads up to `tag_padding` bytes too far.
inline constexpr std::size_t tags_at_once = 16;
inline constexpr std::size_t tag_padding = tags_at_once - 1;
template <class T>
unsigned char* tags_of(Block* run) noexcept {
    return reinterpret_cast<unsigned char*>(members_of<T>(run) + run->capacity);
}

/// Whether a member has the name of a short key. A long name never does: its last byte is not zero.
[[gnu::always_inline]] inline bool has_name(const MemberName& name, const NameKey::Words& words) noexcept {
    const char* bytes = reinterpret_cast<const char*>(&name);
    return ((NameKey::load(bytes) ^ words[0]) | (NameKey::load(bytes + 8) ^ words[1]) |
            (NameKey::load(bytes + 16) ^ words[2])) == 0;
}

/// Which of the next `tags_at_once` tags are the same as this one: a bit for each.
[[gnu::always_inline]] inline unsigned same_tags(const unsigned char* tags, std::uint8_t tag) noexcept {
#ifdef __SSE2__
    const __m128i compared = _mm_loadu_si128(reinterpret_cast<const __m128i*>(tags));
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(compared, _mm_set1_epi8(static_cast<char>(tag)))));
#else
    unsigned same = 0;
    for (std::size_t i = 0; i < tags_at_once; ++i) {
        same |= static_cast<unsigned>(tags[i] == tag) << i;
    }
    return same;
#endif
}

/// The member of a name in a run, or null: compares the tags of several members at a time, and the names where the tags
/// are the same.
template <class T, class Equal>
[[gnu::always_inline]] inline Member<T>* search_run(Block* run, std::uint8_t tag, Equal equal) noexcept {
    Member<T>* members = members_of<T>(run);
    const unsigned char* tags = tags_of<T>(run);
    for (std::size_t first = 0; first < run->size; first += tags_at_once) {
        for (unsigned same = same_tags(tags + first, tag); same != 0; same &= same - 1) {
            const std::size_t at = first + static_cast<std::size_t>(std::countr_zero(same));
            // What lies behind the last member is no tag.
            if (at < run->size && equal(members[at].name)) {
                return members + at;
            }
        }
    }
    return nullptr;
}

} // namespace ZoHmiSrv::Layout
