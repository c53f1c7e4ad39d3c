#pragma once

#include "support/export.h"
#include "support/extension_result.h"

#include <cstdint>
#include <string>
#include <utility>

/// States of a device and of the connection to it, as readable text. [any thread]
namespace ZoHmiFdx {

struct SymbolsInfo;

/// The state that a device reports. All other numbers may occur too.
enum nFdxState : std::uint16_t {
    FDXSTATE_INVALID = 0,
    FDXSTATE_IDLE = 1,
    FDXSTATE_RESET = 2,
    FDXSTATE_INIT = 3,
    FDXSTATE_START = 4,
    FDXSTATE_RUN = 5,
    FDXSTATE_STOP = 6,
    FDXSTATE_SAVECFG = 7,
    FDXSTATE_LOADCFG = 8,
    FDXSTATE_POWERFAILURE = 9,
    FDXSTATE_POWERGOOD = 10,
    FDXSTATE_ERROR = 11,
    FDXSTATE_SHUTDOWN = 12,
    FDXSTATE_SUSPEND = 13,
    FDXSTATE_RESUME = 14,
    FDXSTATE_CONFIG = 15,
    FDXSTATE_RECONFIG = 16,
    FDXSTATE_STOPPING = 17,
    FDXSTATE_MAXSTATES = 20,
};

/// The reason why a runtime is unavailable. All other numbers may occur too.
enum UnavailabilityReason : std::int32_t {
    UnavailabilityTimedOut = 0,
    UnavailabilityInitialRefresh = 1,
    UnavailabilityRefresh = 2,
    UnavailabilityUnexplained = 3,
};

/// A state as text. Symbols are accessible in a state that is `available`.
struct TranslatedState {
    TranslatedState() = default;
    TranslatedState(std::string text_, bool available_) : text(std::move(text_)), available(available_) {}

    std::string text;
    bool available = false;
};

[[nodiscard]] ZO_EXPORT std::string to_string(nFdxState state);

/// A running and a stopped device are available.
[[nodiscard]] ZO_EXPORT TranslatedState translate_state(nFdxState state);

/// The state after a failed request. Only missing symbol information (0x100031) leaves the target available. Only the
/// text of that code contains `detail`.
[[nodiscard]] ZO_EXPORT TranslatedState connection_state_from_error(int code, const std::string& detail);

/// The failure of an operation on the runtime `name`, which is unavailable for `reason`.
[[nodiscard]] ZO_EXPORT ZoHmiSrv::ExtensionResult
unavailability_reason_to_error(const std::string& name, UnavailabilityReason reason, const SymbolsInfo& symbols);

} // namespace ZoHmiFdx
