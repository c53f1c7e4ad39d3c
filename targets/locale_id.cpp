#include "targets/locale_id.h"

#include "targets/locale_table.h"

#include <algorithm>
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

// The index of a tag's row, or `rows`.
constexpr std::size_t find(std::string_view tag) {
    const LocaleRow* const row =
        std::lower_bound(std::begin(locale_table), std::end(locale_table), LocaleRow{tag, 0}, in_order);
    return row != std::end(locale_table) && row->tag == tag ? static_cast<std::size_t>(row - locale_table) : rows;
}

constexpr std::size_t fallback = find("en");
static_assert(fallback != rows);

} // namespace

std::int32_t locale_to_lcid(const std::string& tag) {
    std::string_view used = tag;
    for (const OldTag& old : old_tags)
        if (old.given == tag) used = old.used;
    const std::size_t row = find(used);
    return locale_table[row != rows ? row : fallback].id;
}

} // namespace ZoHmiEventLogger
