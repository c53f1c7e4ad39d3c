#include "server/table.h"

#include "server/describe.h"
#include "server/text.h"

#include <algorithm>
#include <array>

namespace server {

namespace {

/// A row's texts, all printable.
struct Cells : RowText {
    std::string text;
    std::string class_name;
    std::string source;
};

Cells cells_of(const TableRow& row) {
    return {row_text(row.row), printable(row.texts.text), printable(row.texts.class_name),
            printable(row.texts.source_name)};
}

struct Column {
    const char* title;
    std::string Cells::*text;
    std::size_t least;     ///< columns it keeps when the width is short
    bool right = false;    ///< numbers stand on the right
    bool keep_end = false; ///< gives way at once, and keeps its end: the time of day
};

constexpr std::array table_columns{
    Column{"#", &Cells::number, 3, true},
    Column{"TARGET", &Cells::target, 8},
    Column{"TIME", &Cells::time, 12, false, true},
    Column{"SEV", &Cells::severity, 3, true},
    Column{"STATE", &Cells::state, 7},
    Column{"TEXT", &Cells::text, 20},
    Column{"CLASS", &Cells::class_name, 5},
    Column{"SOURCE", &Cells::source, 6},
};

/// Columns that give way when the width is short, in this order: the date first, the text last but for the state.
constexpr std::array<std::size_t, 6> yielding{2, 7, 6, 1, 5, 4};

using Widths = std::array<std::size_t, table_columns.size()>;

Widths column_widths(const std::vector<Cells>& rows, std::size_t width) {
    Widths widths{};
    std::size_t sum = widths.size() - 1; // the blanks between
    for (std::size_t i = 0; i < widths.size(); ++i) {
        widths[i] = columns(table_columns[i].title);
        for (const Cells& row : rows)
            widths[i] = std::max(widths[i], columns(row.*table_columns[i].text));
        sum += widths[i];
    }
    for (const std::size_t i : yielding) {
        if (sum <= width) break;
        const std::size_t spare = widths[i] - std::min(widths[i], table_columns[i].least);
        const std::size_t cut = table_columns[i].keep_end ? spare : std::min(spare, sum - width);
        widths[i] -= cut;
        sum -= cut;
    }
    return widths;
}

template <class Text>
std::string table_line(const Widths& widths, std::size_t width, Text text_of) {
    std::string line;
    for (std::size_t i = 0; i < widths.size(); ++i) {
        if (i != 0) line += ' ';
        std::string text = text_of(table_columns[i]);
        const std::size_t used = columns(text);
        if (table_columns[i].right && used < widths[i]) text.insert(0, widths[i] - used, ' ');
        if (table_columns[i].keep_end && text.size() > widths[i]) text.erase(0, text.size() - widths[i]);
        line += fit(text, widths[i]);
    }
    return fit(line, width);
}

} // namespace

std::vector<std::string> table_lines(const TableContent& content, std::size_t width, std::size_t height) {
    const EventList::Counts& counts = content.counts;
    std::vector<std::string> lines;
    lines.push_back(fit(std::to_string(counts.active_alarms) + " active of " + std::to_string(counts.alarms) +
                            " alarms, " + std::to_string(counts.messages) + " messages, " +
                            std::to_string(counts.rows) + " rows; times in UTC; any key leads to the prompt",
                        width));
    lines.push_back(fit(printable(content.note), width));

    std::vector<Cells> rows;
    const std::size_t shown = std::min(content.rows.size(), height - std::min(height, table_header_lines));
    std::transform(content.rows.begin(), content.rows.begin() + static_cast<std::ptrdiff_t>(shown),
                   std::back_inserter(rows), cells_of);
    const Widths widths = column_widths(rows, width);
    lines.push_back(table_line(widths, width, [](const Column& column) { return std::string(column.title); }));
    for (const Cells& row : rows) {
        lines.push_back(table_line(widths, width, [&row](const Column& column) { return row.*column.text; }));
    }
    lines.resize(std::min(lines.size(), height));
    return lines;
}

} // namespace server
