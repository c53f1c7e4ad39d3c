#pragma once

#include "support/export.h"

#include <string>

namespace ZoHmiFdx {

/// Returns what tells this server from others: the current directory, and right behind it the identifier of this
/// machine's system (upper case), where that can be read. Opens a client port for the call. [any thread]
[[nodiscard]] ZO_EXPORT std::string server_id();

} // namespace ZoHmiFdx
