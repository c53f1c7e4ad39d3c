#pragma once

#include "device/type/datatype.h"
#include "support/export.h"

#include <string>

namespace ZoHmiFdx {

/// Builds the type of a name from the name alone: elementary types, strings with their length, arrays of them, in any
/// dialect. All other names give a type without size and class. So do pointers and references: their size depends on
/// the target. An array of such elements has no size. [any thread]
[[nodiscard]] ZO_EXPORT Datatype build_type(const std::string& name);

} // namespace ZoHmiFdx
