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

/// The content of the live table.
struct TableContent {
    EventList::Counts counts;
    std::vector<TableRow> rows;
    std::string note;                    ///< the last printed line
    std::vector<std::string> incomplete; ///< targets whose list is incomplete
};

/// Lines above the rows of the list.
inline constexpr std::size_t table_header_lines = 3;

/// Returns the table as at most `height` lines of exactly `width` columns: counts, the note, titles, and the rows that
/// fit. On a narrow screen the widest texts shrink first, then the line is cut. Incomplete targets are named before the
/// counts and have "!" in their rows.
[[nodiscard]] std::vector<std::string> table_lines(const TableContent& content, std::size_t width, std::size_t height);

} // namespace server
