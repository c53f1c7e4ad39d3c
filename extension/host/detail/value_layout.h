#pragma once

#include "extension/host/export.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

// The memory of values. The library owns it. The layout is public so that a walk costs no calls. A look-up by a name
// that the compiler knows costs only the comparison.
namespace ZoHmiSrv::Layout {

struct MemberIndex;

/// Heads every block on the heap. Blocks of one Map are chained in name order through `next`.
struct Block {
    Block* next;
    std::size_t size;     ///< elements in use
    std::size_t capacity; ///< elements that fit
    std::uint32_t kind;
    std::uint32_t owners; ///< values that share these bytes, or the tree that begins here
};

/// The content of a Value. On the heap it is one block, or a chain of runs for a Map or Struct. Two or more runs have
/// an index.
union Payload {
    static constexpr std::size_t inline_limit = 15;

    bool boolean;
    std::int32_t int32;
    std::int64_t int64 = 0; ///< DateTime and TimeSpan too
    std::uint64_t uint64;
    double real;
    char bytes[inline_limit + 1]; ///< a short text with its zero, or a short Binary
    struct {
        Block* block;
        MemberIndex* index;
    } heap;
};

/// The name of a member, or another short text. Up to 23 bytes lie inside, padded with zeros, so that three words
/// compare as the bytes do. A longer name has its first eight bytes inside, and its whole text in a counted block that
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

/// The result of a look-up.
template <class T>
struct FoundMember {
    Block* run = nullptr;
    Member<T>* member = nullptr; ///< null for a missing member
};

static_assert(std::endian::native == std::endian::little, "names are read as words whose first byte is the lowest");

/// A name to look up. Its bytes are three words, padded with zeros, as in a MemberName; a long name has only the first
/// word. No loop combines the parts of a word. So the compiler reduces a known name to three constants.
struct NameKey {
    using Words = std::uint64_t[3]; // the checks of std::array would prevent constants

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

    /// One byte that differs for most names. The end of a long name counts too.
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
    /// The last `count` bytes, 0 to 8, of a name with 8 or more. The bytes before them are shifted out in two steps:
    /// one shift by a whole word is undefined.
    [[gnu::always_inline]] std::uint64_t last_bytes(std::size_t count) const noexcept {
        const std::size_t half = 4 * (8 - count);
        return load(text + length - 8) >> half >> half;
    }
    /// A name with less than 8 bytes, from parts that overlap.
    [[gnu::always_inline]] std::uint64_t short_word() const noexcept {
        if (length >= 4)
            return load<std::uint32_t>(text) | load<std::uint32_t>(text + length - 4) << (8 * (length - 4));
        if (length == 0) return 0;
        return load<std::uint8_t>(text) | load<std::uint8_t>(text + length / 2) << (8 * (length / 2)) |
               load<std::uint8_t>(text + length - 1) << (8 * (length - 1));
    }
};

template <class T>
Member<T>* members_of(Block* run) noexcept {
    return reinterpret_cast<Member<T>*>(run + 1);
}

/// A run has a tag for each member (see `NameKey::tag`) behind the space for its members. A look-up compares
/// `tags_at_once` tags at a time, and reads up to `tag_padding` bytes beyond the last tag.
inline constexpr std::size_t tags_at_once = 16;
inline constexpr std::size_t tag_padding = tags_at_once - 1;
template <class T>
unsigned char* tags_of(Block* run) noexcept {
    return reinterpret_cast<unsigned char*>(members_of<T>(run) + run->capacity);
}

/// True if a member has the name of a short key. A long name never matches: its last byte is not zero.
[[gnu::always_inline]] inline bool has_name(const MemberName& name, const NameKey::Words& words) noexcept {
    const char* bytes = reinterpret_cast<const char*>(&name);
    return ((NameKey::load(bytes) ^ words[0]) | (NameKey::load(bytes + 8) ^ words[1]) |
            (NameKey::load(bytes + 16) ^ words[2])) == 0;
}

/// Returns a bit for each of the next `tags_at_once` tags, set if the tag is the same.
[[gnu::always_inline]] inline unsigned same_tags(const unsigned char* tags, std::uint8_t tag) noexcept {
#ifdef __SSE2__
    const __m128i compared = _mm_loadu_si128(reinterpret_cast<const __m128i*>(tags));
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(compared, _mm_set1_epi8(static_cast<char>(tag)))));
#else
    unsigned same = 0;
    for (std::size_t i = 0; i < tags_at_once; ++i)
        same |= static_cast<unsigned>(tags[i] == tag) << i;
    return same;
#endif
}

/// Returns the member of a name in a run, or null. Compares several tags at a time, and the names of equal tags.
template <class T, class Equal>
[[gnu::always_inline]] inline Member<T>* search_run(Block* run, std::uint8_t tag, Equal equal) noexcept {
    Member<T>* members = members_of<T>(run);
    const unsigned char* tags = tags_of<T>(run);
    for (std::size_t first = 0; first < run->size; first += tags_at_once) {
        for (unsigned same = same_tags(tags + first, tag); same != 0; same &= same - 1) {
            const std::size_t at = first + static_cast<std::size_t>(std::countr_zero(same));
            // The bytes behind the last tag are no tags.
            if (at < run->size && equal(members[at].name)) return members + at;
        }
    }
    return nullptr;
}

} // namespace ZoHmiSrv::Layout
