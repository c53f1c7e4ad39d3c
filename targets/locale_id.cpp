#include "targets/locale_id.h"

#include "targets/locale_table.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <string_view>

namespace ZoHmiEventLogger {

namespace {

static_assert(std::ranges::is_sorted(locale_table, {}, &LocaleRow::tag));

struct OldTag {
    std::string_view given;
    std::string_view used;
};

constexpr OldTag old_tags[] = {
    {"az-AZ", "az-Latn-AZ"}, {"bs-BA", "bs-Latn-BA"}, {"en-CB", "en-029"},     {"ps-AR", "ps-AF"},
    {"sr-BA", "sr-Latn-BA"}, {"sr-SP", "sr-Latn-ME"}, {"uz-UZ", "uz-Latn-UZ"},
};

/// The first row of each letter from 'a' on; the last entry is the end of the table.
constexpr auto first_rows = [] {
    std::array<std::uint16_t, 'z' - 'a' + 2> result{};
    for (std::size_t i = 0; i < result.size(); ++i) {
        const char letter = static_cast<char>('a' + i);
        const LocaleRow* row =
            std::ranges::lower_bound(locale_table, std::string_view(&letter, 1), {}, &LocaleRow::tag);
        result[i] = static_cast<std::uint16_t>(row - std::begin(locale_table));
    }
    return result;
}();
static_assert(first_rows.front() == 0 && first_rows.back() == std::size(locale_table));

/// Returns null for a tag without a row. Every localization calls this: the rows of one letter take half of the steps.
constexpr const LocaleRow* find(std::string_view tag) {
    const auto letter = static_cast<unsigned char>(tag.empty() ? '\0' : tag.front() - 'a');
    if (letter + 1U >= first_rows.size()) return nullptr;
    const LocaleRow* const end = locale_table + first_rows[letter + 1U];
    const LocaleRow* const row =
        std::ranges::lower_bound(locale_table + first_rows[letter], end, tag, {}, &LocaleRow::tag);
    return row != end && row->tag == tag ? row : nullptr;
}

constexpr const LocaleRow& fallback = *find("en");
static_assert(std::ranges::all_of(old_tags, [](const OldTag& old) { return find(old.given) == nullptr; }),
              "a row of an old tag would hide its replacement");

} // namespace

std::int32_t locale_to_lcid(const std::string& tag) {
    const LocaleRow* row = find(tag);
    if (row == nullptr) {
        const OldTag* const old = std::ranges::find(old_tags, std::string_view(tag), &OldTag::given);
        row = old != std::end(old_tags) ? find(old->used) : nullptr;
    }
    return row != nullptr ? row->id : fallback.id;
}

} // namespace ZoHmiEventLogger
