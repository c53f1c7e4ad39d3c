#include "device/code/result_codes.h"

#include "device/code/detail/result_code_table.h"
#include "extension/host/command.h"
#include "support/numeric.h"

#include <algorithm>
#include <functional>
#include <iterator>

namespace ZoHmiFdx {

namespace {

constexpr std::uint32_t hresult_form = 0x98110000;
constexpr std::uint32_t library_bit = 0x100000;

template <std::size_t size>
constexpr bool is_ascending(const ResultCodeRow (&table)[size]) {
    return std::ranges::adjacent_find(table, std::ranges::greater_equal(), &ResultCodeRow::code) == std::end(table);
}
static_assert(is_ascending(native_code_table) && is_ascending(library_code_table), "both are searched by the code");

/// Returns null for a code without a row.
template <std::size_t size>
const char* find_name(const ResultCodeRow (&table)[size], int code) {
    const auto* row = std::ranges::lower_bound(table, code, {}, &ResultCodeRow::code);
    return row != std::end(table) && row->code == code ? row->name : nullptr;
}

} // namespace

const char* native_fdx_error_to_string(int code) {
    const char* name = find_name(native_code_table, code);
    return name != nullptr ? name : "FDX_API_UNKNOWN_RETURN_CODE";
}

const char* fdx_error_to_string(int code) {
    if (code == HMI_FDX_SUCCESS) return "HMI_FDX_SUCCESS";
    if (const char* name = find_name(library_code_table, code)) return name;
    // The HRESULT form first: the bit of the library is set in it too.
    const auto bits = static_cast<std::uint32_t>(code);
    if ((bits & hresult_form) == hresult_form) return native_fdx_error_to_string(static_cast<int>(bits & 0xFFFF));
    if ((bits & library_bit) != 0) return "HMI_FDX_IMPL_UNREGISTERED_ERROR_CODE";
    return native_fdx_error_to_string(code);
}

std::string fdx_error_to_string_with_code(int code) {
    return std::string(fdx_error_to_string(code)) + " (" +
           ZoHmiSrv::Algorithm::integer_to_hex(code, true, false, true) + ")";
}

int translate_fdx_error_code(int code, bool remove_high_word) {
    return remove_high_word ? code & 0xFFFF : code;
}

bool is_error(int code) {
    return code != HMI_FDX_SUCCESS;
}

bool is_error(const ZoHmiSrv::ExtensionResult& result) {
    return is_error(result.code());
}

bool is_error(const PathErrors& errors) {
    return is_error(errors.first) || is_error(errors.second);
}

bool is_not_supported(int code) {
    const int low = code & 0xFFFF;
    return low == FDX_SERVICE_NOT_SUPPORTED || low == FDX_INVALID_INDEX_GROUP;
}

bool is_not_supported(const ZoHmiSrv::ExtensionResult& result) {
    return is_not_supported(result.code());
}

void set_result_or_ignore(ZoHmiSrv::Command& command, const ZoHmiSrv::ExtensionResult& result) {
    if (command.extension_result() != 0) return;
    command.set_extension_result(static_cast<unsigned>(result.code()));
    if (!is_error(result) || !result.text().empty()) command.set_result_string(result.text().c_str());
}

} // namespace ZoHmiFdx
