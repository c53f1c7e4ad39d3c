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

// Where the rows of each first character begin. Every text that is read in a language asks here, so the search is
// short.
constexpr auto starts = [] {
    std::array<std::uint16_t, 257> counts{};
    for (const LocaleRow& row : locale_table)
        ++counts[static_cast<unsigned char>(row.tag[0]) + 1U];
    for (std::size_t i = 1; i < counts.size(); ++i)
        counts[i] = static_cast<std::uint16_t>(counts[i] + counts[i - 1]);
    return counts;
}();

// The index of a tag's row, or `rows`.
constexpr std::size_t find(std::string_view tag) {
    if (tag.empty()) return rows;
    const auto first = static_cast<unsigned char>(tag[0]);
    const LocaleRow* const end = locale_table + starts[first + 1U];
    const LocaleRow* const row = std::lower_bound(locale_table + starts[first], end, LocaleRow{tag, 0}, in_order);
    return row != end && row->tag == tag ? static_cast<std::size_t>(row - locale_table) : rows;
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
