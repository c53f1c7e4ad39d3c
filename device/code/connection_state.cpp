#include "device/code/connection_state.h"

#include "device/code/result_codes.h"
#include "device/code/symbols_info.h"
#include "support/numeric.h"

#include <iterator>

namespace ZoHmiFdx {

using ZoHmiSrv::ExtensionResult;
using ZoHmiSrv::ExtensionResultStream;

namespace {

/// Indexed by the number of the state. 18 and 19 have no text of their own.
constexpr const char* state_texts[] = {
    "Invalid",    "Idle",       "Reset",        "init",      "Start", "Run",      "Stop",
    "SaveConfig", "LoadConfig", "PowerFailure", "PowerGood", "Error", "Shutdown", "Suspend",
    "Resume",     "Config",     "Reconfig",     "Stopping",  "Error", "Error",    "Max states",
};
static_assert(std::size(state_texts) == FDXSTATE_MAXSTATES + 1);

std::string hex(int code) {
    return ZoHmiSrv::Algorithm::integer_to_hex(code, true, false, true);
}

/// `text` ends in an opening parenthesis.
std::string closed(const char* text, const std::string& detail) {
    return text + detail + ")";
}

} // namespace

std::string to_string(nFdxState state) {
    return state < std::size(state_texts) ? state_texts[state] : "Error";
}

TranslatedState translate_state(nFdxState state) {
    return {to_string(state), state == FDXSTATE_RUN || state == FDXSTATE_STOP};
}

TranslatedState connection_state_from_error(int code, const std::string& detail) {
    switch (code) {
    case FDX_TARGET_PORT_NOT_FOUND:
        return {closed("Target Port Not Found (", hex(code)), false};
    case FDX_TARGET_MACHINE_NOT_FOUND:
        return {closed("Target Machine Not Found (", hex(code)), false};
    case FDX_PORT_DISABLED:
        return {closed("Stop (", hex(code)), false}; // a stopped target disables its port
    case FDX_HOST_UNREACHABLE:
        return {closed("Host Unreachable (", hex(code)), false};
    case FDX_SERVICE_NOT_SUPPORTED:
    case FDX_INVALID_INDEX_GROUP:
    case FDX_SYMBOL_NOT_FOUND:
        return {closed("No Symbol Information (", hex(code)), false};
    case FDX_SYNC_TIMEOUT:
        return {closed("Timeout (", hex(code)), false};
    // The target responds, and is usable without symbols.
    case HMI_FDX_E_UPLOAD_DATA:
        return {closed("No Symbol Information (", detail.empty() ? hex(code) : detail), true};
    default:
        break;
    }
    if ((code & 0x100000) != 0) return {fdx_error_to_string_with_code(code), false};
    return {closed("FDX Error (", hex(code)), false};
}

ExtensionResult unavailability_reason_to_error(const std::string& name, UnavailabilityReason reason,
                                               const SymbolsInfo& symbols) {
    const ExtensionResult& refresh = symbols.last_refresh;
    switch (reason) {
    case UnavailabilityTimedOut:
        return ExtensionResultStream(HMI_FDX_E_SYNC_TIMEOUT)
               << "Symbol information is out of date and currently cannot be updated because the connection timed out";
    case UnavailabilityInitialRefresh:
        if (!is_error(refresh))
            return ExtensionResultStream(HMI_FDX_E_UPLOAD_DATA, name)
                   << "Initial refresh of symbol information hasn't finished, yet";
        return ExtensionResultStream(refresh.code(), name)
               << "Initial refresh of symbol information hasn't finished, yet. " << refresh.text().c_str();
    case UnavailabilityRefresh:
        return ExtensionResultStream(is_error(refresh) ? refresh.code() : HMI_FDX_E_PENDING_ONLINE_CHANGE, name)
               << "Refresh of symbol information hasn't finished, yet";
    case UnavailabilityUnexplained:
        return ExtensionResultStream(HMI_FDX_E_UNEXPECTED, name)
               << "Runtime is unavailable but no explicit reason is known";
    default:
        return ExtensionResultStream(HMI_FDX_E_UNEXPECTED, name) << "Runtime unavailable for an unknown reason";
    }
}

} // namespace ZoHmiFdx
