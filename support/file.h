#pragma once

#include "support/export.h"

#include <string>

namespace ZoHmiSrv::File {

/// Returns the current directory of the process, "" when it cannot be found out. [any thread]
[[nodiscard]] ZO_EXPORT std::string current_directory();

} // namespace ZoHmiSrv::File
