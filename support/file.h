#pragma once

#include "support/export.h"

#include <string>

namespace ZoHmiSrv::File {

/// Returns the current directory of the process, or "" if it is not available. [any thread]
[[nodiscard]] ZO_EXPORT std::string current_directory();

} // namespace ZoHmiSrv::File
