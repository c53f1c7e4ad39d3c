#include "device/request/symbol_info.h"

#include "device/code/result_codes.h"

namespace ZoHmiFdx {

std::int32_t SymbolInfo::get_handle_error() const noexcept {
    switch (handle_state) {
    case handle_valid:
        return HMI_FDX_SUCCESS;
    case handle_failed:
    case handle_failed_as_target:
        return handle_error;
    default:
        return HMI_FDX_E_INVALID_SYMBOL_HANDLE;
    }
}

bool SymbolInfo::fetch_handle_worth_trying(bool second_kind) const noexcept {
    const auto failed = second_kind ? handle_failed_as_target : handle_failed;
    return handle_error != FDX_SYMBOL_NOT_FOUND || handle_state != failed;
}

std::string SymbolInfo::method_name_without_dereference_operators() const {
    const std::size_t mark = method_name.rfind('#');
    const std::string name = mark == std::string::npos ? method_name : method_name.substr(mark + 1);
    return name.substr(0, name.find_first_of("^`"));
}

} // namespace ZoHmiFdx
