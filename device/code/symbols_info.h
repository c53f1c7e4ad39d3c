#pragma once

#include "support/extension_result.h"

#include <cstddef>
#include <cstdint>

namespace ZoHmiFdx {

/// The symbol information of one runtime.
struct SymbolsInfo {
    /// The result of the last refresh.
    ZoHmiSrv::ExtensionResult last_refresh;
    /// The number of the upload in use; the target changes it after each online change.
    std::uint32_t revision = 0;
    std::size_t symbols = 0;   ///< that are stored
    std::size_t datatypes = 0; ///< that are stored, inferred ones included
};

} // namespace ZoHmiFdx
