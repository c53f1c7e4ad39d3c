#include "server/table.h"

#include "console/text.h"
#include "server/describe.h"
#include "server/imports.h"

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

Cells cells_of(const TableRow& row, const std::vector<std::string>& incomplete) {
    Cells cells{row_text(row.row), console::printable(row.texts.text), console::printable(row.texts.class_name),
                console::printable(row.texts.source_name)};
    const std::string target = parameters_of(row.row.event)["targetName"].get_string();
    if (std::find(incomplete.begin(), incomplete.end(), target) != incomplete.end()) cells.target.insert(0, "! ");
    return cells;
}

/// How a column behaves on a narrow screen.
enum class Shrink { never, little_by_little, at_once };
enum class Align { left, right };

struct Column {
    const char* title;
    std::string Cells::*text;
    std::size_t min_width;
    Align align = Align::left;
    Shrink shrink = Shrink::never;
    int turn = 0; ///< columns with a lower turn shrink first
};

/// The time shrinks to the time of day, which is its end.
constexpr std::array table_columns{
    Column{"ID", &Cells::number, 3, Align::right},
    Column{"TARGET", &Cells::target, 8, Align::left, Shrink::little_by_little, 4},
    Column{"TIME", &Cells::time, 12, Align::left, Shrink::at_once, 1},
    Column{"SEV", &Cells::severity, 3, Align::right},
    Column{"STATE", &Cells::state, 7, Align::left, Shrink::little_by_little, 6},
    Column{"TEXT", &Cells::text, 20, Align::left, Shrink::little_by_little, 5},
    Column{"CLASS", &Cells::class_name, 5, Align::left, Shrink::little_by_little, 3},
    Column{"SOURCE", &Cells::source, 6, Align::left, Shrink::little_by_little, 2},
};
constexpr int last_turn = 6;

using Widths = std::array<std::size_t, table_columns.size()>;

Widths column_widths(const std::vector<Cells>& rows, std::size_t width) {
    Widths widths{};
    std::size_t sum = widths.size() - 1; // the blanks between
    for (std::size_t i = 0; i < widths.size(); ++i) {
        widths[i] = console::columns(table_columns[i].title);
        for (const Cells& row : rows)
            widths[i] = std::max(widths[i], console::columns(row.*table_columns[i].text));
        sum += widths[i];
    }
    for (int turn = 1; turn <= last_turn && sum > width; ++turn) {
        const auto column = std::find_if(table_columns.begin(), table_columns.end(),
                                         [turn](const Column& c) { return c.turn == turn; });
        std::size_t& shrinking = widths[static_cast<std::size_t>(column - table_columns.begin())];
        const std::size_t spare = shrinking - std::min(shrinking, column->min_width);
        const std::size_t cut = column->shrink == Shrink::at_once ? spare : std::min(spare, sum - width);
        shrinking -= cut;
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
        const std::size_t used = console::columns(text);
        if (table_columns[i].align == Align::right && used < widths[i]) text.insert(0, widths[i] - used, ' ');
        if (table_columns[i].shrink == Shrink::at_once && text.size() > widths[i])
            text.erase(0, text.size() - widths[i]);
        line += console::fit(text, widths[i]);
    }
    return console::fit(line, width);
}

} // namespace

std::vector<std::string> table_lines(const TableContent& content, std::size_t width, std::size_t height) {
    const EventList::Counts& counts = content.counts;
    std::vector<std::string> lines;
    const std::string incomplete = incomplete_line(content.incomplete);
    lines.push_back(console::fit((incomplete.empty() ? "" : incomplete + " | ") + std::to_string(counts.active_alarms) +
                                     " active of " + std::to_string(counts.alarms) + " alarms, " +
                                     std::to_string(counts.messages) + " messages, " + std::to_string(counts.rows) +
                                     " rows; times in UTC; any key: prompt",
                                 width));
    lines.push_back(console::fit(console::printable(content.note), width));

    std::vector<Cells> rows;
    const std::size_t shown = std::min(content.rows.size(), height - std::min(height, table_header_lines));
    std::transform(content.rows.begin(), content.rows.begin() + static_cast<std::ptrdiff_t>(shown),
                   std::back_inserter(rows), [&](const TableRow& row) { return cells_of(row, content.incomplete); });
    const Widths widths = column_widths(rows, width);
    lines.push_back(table_line(widths, width, [](const Column& column) { return std::string(column.title); }));
    for (const Cells& row : rows) {
        lines.push_back(table_line(widths, width, [&row](const Column& column) { return row.*column.text; }));
    }
    lines.resize(std::min(lines.size(), height));
    return lines;
}

} // namespace server
