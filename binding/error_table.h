#pragma once

#include "binding/hresult.h"

namespace ZoAtlCom::detail {

// The text for a code that the proxy's library has none for; never null. [any thread]
[[nodiscard]] const char* table_text(HRESULT code);

} // namespace ZoAtlCom::detail
