#pragma once

#include "device/type/datatype.h"
#include "support/export.h"

#include <string>

namespace ZoHmiFdx {

/// The type that a name stands for, as far as the name itself tells: elementary types, strings with their length,
/// arrays of them, in any dialect. A name that tells nothing gives a type without size and class; so does a pointer or
/// reference, whose size is the target's affair. An array of such elements has no size. [any thread]
[[nodiscard]] ZO_EXPORT Datatype build_type(const std::string& name);

} // namespace ZoHmiFdx
