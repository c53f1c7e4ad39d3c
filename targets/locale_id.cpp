#include "targets/locale_id.h"

#include "targets/locale_table.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <string_view>

namespace ZoHmiEventLogger {

namespace {

constexpr bool in_order(const LocaleRow& a, const LocaleRow& b) {
    return a.tag < b.tag;
}
static_assert(std::is_sorted(std::begin(locale_table), std::end(locale_table), in_order));

struct OldTag {
    std::string_view given;
    std::string_view used;
};

constexpr OldTag old_tags[] = {
    {"az-AZ", "az-Latn-AZ"}, {"bs-BA", "bs-Latn-BA"}, {"en-CB", "en-029"},     {"ps-AR", "ps-AF"},
    {"sr-BA", "sr-Latn-BA"}, {"sr-SP", "sr-Latn-ME"}, {"uz-UZ", "uz-Latn-UZ"},
};

constexpr std::size_t rows = std::size(locale_table);

constexpr std::size_t slot_count = 2048; // at most half of them are taken, so that searches are short
static_assert(2 * rows <= slot_count);

// FNV-1a; the product's high bits, since the low ones of tags have little to tell them apart.
constexpr std::size_t slot_of(std::string_view tag) {
    std::uint32_t hash = 0x811C9DC5;
    for (const char c : tag)
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x01000193;
    return hash * 0x9E3779B9 >> 21;
}

// Each row's number at the slot of its tag or the next free one, `rows` in the others. Every text that is read in a
// language asks here, so the search is short.
constexpr auto slots = [] {
    std::array<std::uint16_t, slot_count> taken{};
    taken.fill(rows);
    for (std::size_t row = 0; row < rows; ++row) {
        std::size_t slot = slot_of(locale_table[row].tag);
        while (taken[slot] != rows)
            slot = (slot + 1) % slot_count;
        taken[slot] = static_cast<std::uint16_t>(row);
    }
    return taken;
}();

// The index of a tag's row, or `rows`.
constexpr std::size_t find(std::string_view tag) {
    std::size_t slot = slot_of(tag);
    while (slots[slot] != rows && locale_table[slots[slot]].tag != tag)
        slot = (slot + 1) % slot_count;
    return slots[slot];
}

constexpr std::size_t fallback = find("en");
static_assert(fallback != rows);
static_assert(std::ranges::all_of(old_tags, [](const OldTag& old) { return find(old.given) == rows; }),
              "an old tag in the list would hide what replaced it");

} // namespace

std::int32_t locale_to_lcid(const std::string& tag) {
    std::size_t row = find(tag);
    if (row == rows) {
        const OldTag* const old = std::ranges::find(old_tags, std::string_view(tag), &OldTag::given);
        row = old != std::end(old_tags) ? find(old->used) : fallback;
    }
    return locale_table[row != rows ? row : fallback].id;
}

} // namespace ZoHmiEventLogger
