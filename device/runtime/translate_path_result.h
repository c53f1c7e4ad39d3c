#pragma once

#include "device/runtime/path_metadata.h"
#include "device/type/attributes.h"
#include "support/extension_result.h"

#include <cstddef>
#include <string>

namespace ZoHmiFdx {

/// The translation of a client's path. On failure, only `result` is set.
struct TranslatePathResult {
    ZoHmiSrv::ExtensionResult result;
    PathMetadata path;
    std::string type_name;        ///< without dialect; for a method its return type
    Attributes attributes;        ///< only of the last part
    std::string method_name;      ///< empty if the path is not a method
    std::size_t dereferences = 0; ///< operators at the end of the unique path
};

} // namespace ZoHmiFdx
