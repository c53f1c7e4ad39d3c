#pragma once

#include "device/path/symbol_path.h"
#include "support/extension_result.h"

#include <cstdint>

namespace ZoHmiFdx {

/// A request for the handle of a path, and its answer.
struct HandleRequest {
    UniqueFdxPath path;
    bool as_target = false; ///< the path is the target of a pointer
    ZoHmiSrv::ExtensionResult result;
    std::uint32_t handle = 0; ///< 0 on failure
};

} // namespace ZoHmiFdx
