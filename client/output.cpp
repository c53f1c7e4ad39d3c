#include "client/output.h"

#include "console/text.h"
#include "device/code/result_codes.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace fdx {

namespace {

using nlohmann::ordered_json;

void print(std::FILE* file, std::string line) {
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), file);
    std::fflush(file);
}

std::string dump(const ordered_json& value) {
    return console::json_escaped(value.dump(-1, ' ', false, ordered_json::error_handler_t::replace));
}

int status_of(int code) {
    switch (code & 0xFFFF) {
    case 0x719:
    case 0x745:
        return status::timed_out;
    case 0x7:
    case 0x1B:
    case 0x1F:
    case 0x748:
        return status::not_connected;
    default:
        return status::failed;
    }
}

} // namespace

void Output::begin(std::vector<std::string> columns) {
    columns_ = std::move(columns);
    waiting_.clear();
    if (format_ == Format::csv) print_csv(columns_);
    if (format_ == Format::table) waiting_.push_back(columns_);
}

void Output::row(const Row& row) {
    if (format_ == Format::json) {
        ordered_json object = ordered_json::object();
        for (std::size_t i = 0; i < row.size(); ++i)
            object[columns_[i]] = row[i];
        return print(stdout, dump(object));
    }
    std::vector<std::string> cells(row.size());
    std::ranges::transform(row, cells.begin(), text_of);
    if (format_ == Format::csv) return print_csv(cells);
    if (format_ == Format::table) {
        waiting_.push_back(std::move(cells));
        return;
    }
    std::string line;
    for (const std::string& cell : cells)
        line += (&cell == cells.data() ? "" : "\t") + cell;
    print(stdout, std::move(line));
}

void Output::end() {
    std::vector<std::size_t> widths(columns_.size());
    for (const auto& cells : waiting_)
        for (std::size_t i = 0; i < cells.size(); ++i)
            widths[i] = std::max(widths[i], console::columns(cells[i]));
    for (const auto& cells : waiting_) {
        std::string line;
        for (std::size_t i = 0; i < cells.size(); ++i)
            line += i + 1 == cells.size() ? cells[i] : console::fit(cells[i], widths[i]) + "  ";
        print(stdout, std::move(line));
    }
    waiting_.clear();
}

std::string Output::text_of(const ordered_json& cell) {
    return console::printable(cell.is_string() ? cell.get_ref<const std::string&>() : dump(cell));
}

// A cell with separators or quotes is put in quotes.
void Output::print_csv(const std::vector<std::string>& cells) const {
    std::string line;
    for (const std::string& cell : cells) {
        if (&cell != cells.data()) line += ',';
        if (cell.find_first_of(",\"") == cell.npos) {
            line += cell;
            continue;
        }
        line += '"';
        for (const char c : cell)
            line += c == '"' ? "\"\"" : std::string(1, c);
        line += '"';
    }
    print(stdout, std::move(line));
}

void Output::fail(const std::string& noun, const ZoHmiSrv::ExtensionResult& result) {
    set_status(status_of(result.code()));
    if (quiet_) return;
    std::string line = "zo-fdx: " + noun + ": " + ZoHmiFdx::fdx_error_to_string_with_code(result.code());
    if (!result.text().empty()) line += ": " + result.text();
    print(stderr, console::printable(line));
}

void Output::usage_error(const std::string& text) {
    set_status(status::usage);
    if (!quiet_) print(stderr, console::printable("zo-fdx: " + text + "; see zo-fdx --help"));
}

void Output::set_status(int status) {
    if (status_ == status::done) status_ = status;
}

} // namespace fdx
