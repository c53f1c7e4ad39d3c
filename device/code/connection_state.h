#pragma once

#include "support/export.h"
#include "support/extension_result.h"

#include <cstdint>
#include <string>
#include <utility>

/// States of a device and of the connection to it, as text for a person. All functions are [any thread].
namespace ZoHmiFdx {

struct SymbolsInfo;

/// The state that a device reports of itself. Foreign numbers may appear.
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

/// Why a runtime cannot be used right now. Foreign numbers may appear.
enum UnavailabilityReason : std::int32_t {
    UnavailabilityTimedOut = 0,
    UnavailabilityInitialRefresh = 1,
    UnavailabilityRefresh = 2,
    UnavailabilityUnexplained = 3,
};

/// A state as text, and whether symbols can be reached in it.
struct TranslatedState {
    TranslatedState() = default;
    TranslatedState(std::string text_, bool available_) : text(std::move(text_)), available(available_) {}

    std::string text;
    bool available = false;
};

[[nodiscard]] ZO_EXPORT std::string to_string(nFdxState state);

/// Symbols can be reached while the device runs and while it is stopped.
[[nodiscard]] ZO_EXPORT TranslatedState translate_state(nFdxState state);

/// The state that a failed request shows. `detail` explains missing symbol information (0x100031), the one failure that
/// leaves the target available, and is not read for any other code.
[[nodiscard]] ZO_EXPORT TranslatedState connection_state_from_error(int code, const std::string& detail);

/// The failure of an operation on the runtime `name` that is unavailable for `reason`.
[[nodiscard]] ZO_EXPORT ZoHmiSrv::ExtensionResult
unavailability_reason_to_error(const std::string& name, UnavailabilityReason reason, const SymbolsInfo& symbols);

} // namespace ZoHmiFdx
