#pragma once

#include "binding/hresult.h"

namespace ZoAtlCom::detail {

/// Returns the text of a code that the proxy's library does not know; never null. [any thread]
[[nodiscard]] const char* table_text(HRESULT code);

} // namespace ZoAtlCom::detail
