#pragma once

#include "device/runtime/path_metadata.h"
#include "device/type/attributes.h"
#include "support/extension_result.h"

#include <cstddef>
#include <string>

namespace ZoHmiFdx {

/// The translation of a client's path. A failure has a result and nothing else.
struct TranslatePathResult {
    ZoHmiSrv::ExtensionResult result;
    PathMetadata path;
    std::string type_name;        ///< without dialect; of a method the type that it returns
    Attributes attributes;        ///< of the last part alone
    std::string method_name;      ///< empty for a path that is no method
    std::size_t dereferences = 0; ///< operators at the end of the unique path
};

} // namespace ZoHmiFdx
