#include "support/error_text.h"

#include "extension/host/algorithm.h"
#include "extension/host/value.h"
#include "support/detail/error_text_table.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <string>
#include <utility>

namespace ZoHmiSrv {

namespace {

static_assert(std::ranges::adjacent_find(error_text_table, std::ranges::greater_equal(), &ErrorTextRow::number) ==
                  std::end(error_text_table),
              "the rows are searched by their number");

/// Null for a number without a row.
const ErrorTextRow* find_row(ErrorValue error) {
    const auto* row = std::ranges::lower_bound(error_text_table, error, {}, &ErrorTextRow::number);
    return row != std::end(error_text_table) && row->number == error ? row : nullptr;
}

} // namespace

String get_error_string(ErrorValue error) {
    const ErrorTextRow* row = find_row(error);
    return String(row != nullptr ? row->name : "");
}

std::string get_error_string_pretty(ErrorValue error, ErrorMessageDetails /*details*/) {
    const ErrorTextRow* row = find_row(error);
    if (row == nullptr) return {};
    return std::string(row->sentence).append(" (HMI_E_").append(row->name).append(")");
}

void add_error(Value& value, const char* name, ErrorValue error, const char* message, const char* reason) {
    Value entry;
    entry.set_type(ValueType::Struct);
    entry.insert("code", static_cast<int>(error));
    if (Algorithm::empty(message))
        entry.insert("message", get_error_string_pretty(error, ErrorMessageDetails::standard).c_str());
    else
        entry.insert("message", message);
    if (!Algorithm::empty(reason)) entry.insert("reason", reason);
    value.insert_or_update(name, std::move(entry));
}

} // namespace ZoHmiSrv
