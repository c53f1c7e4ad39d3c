#pragma once

#include "support/extension_result.h"

namespace ZoHmiFdx {

/// The symbol information of one runtime.
struct SymbolsInfo {
    /// The result of the last refresh.
    ZoHmiSrv::ExtensionResult last_refresh;
};

} // namespace ZoHmiFdx
