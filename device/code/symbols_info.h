#pragma once

#include "support/extension_result.h"

namespace ZoHmiFdx {

/// What is known about the symbol information of one runtime.
struct SymbolsInfo {
    /// How the last refresh ended.
    ZoHmiSrv::ExtensionResult last_refresh;
};

} // namespace ZoHmiFdx
