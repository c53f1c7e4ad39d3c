#pragma once

#include "support/export.h"

namespace ZoHmiFdx {

struct DatatypeDescription;

/// Completes a description from its name. The borders of a subrange ("INT (0..7)") become attributes if it has no
/// border. A pointer or reference with its own name as target gets the target of its prefix. [any thread]
ZO_EXPORT void fix_type_description(DatatypeDescription& description);

} // namespace ZoHmiFdx
