#pragma once

#include "server/event_list.h"
#include "server/event_rows.h"
#include "server/localizer.h"

#include <cstddef>
#include <string>
#include <vector>

namespace server {

struct TableRow {
    EventRow row;
    EventTexts texts;
};

/// What the live table shows.
struct TableContent {
    EventList::Counts counts;
    std::vector<TableRow> rows;
    std::string note; ///< the last thing that was said
};

/// Lines of the table that are not rows of the list.
inline constexpr std::size_t table_header_lines = 3;

/// The table as lines of exactly `width` columns, at most `height` of them: counts, the note, the columns' names, then
/// the rows that fit. Where the width is short, the widest of the texts give way first, then the line is cut.
[[nodiscard]] std::vector<std::string> table_lines(const TableContent& content, std::size_t width, std::size_t height);

} // namespace server
