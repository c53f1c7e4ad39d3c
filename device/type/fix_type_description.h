#pragma once

#include "support/export.h"

namespace ZoHmiFdx {

struct DatatypeDescription;

/// Completes what the device leaves to the name: the borders of a subrange ("INT (0..7)") become attributes, unless
/// there are some already; a pointer or reference that names itself as its target gets as target what its prefix, if
/// the name has one, points to. [any thread]
ZO_EXPORT void fix_type_description(DatatypeDescription& description);

} // namespace ZoHmiFdx
