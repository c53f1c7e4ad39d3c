#pragma once

#include "support/export.h"

#include <string>

namespace ZoHmiFdx {

/// Returns a text that identifies this server. It is the current directory, directly followed by the system identifier
/// of this machine (upper case) if that can be read. Opens a client port for the call. [any thread]
[[nodiscard]] ZO_EXPORT std::string server_id();

} // namespace ZoHmiFdx
