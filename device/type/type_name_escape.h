#pragma once

#include "support/export.h"

#include <string>

namespace ZoHmiFdx {

/// Returns a type name without blanks, angle brackets and square brackets, for generated names:
/// "ARRAY [1..3] OF STRING(80)" gives "ARRAY_1..3_OF-STRING-80". A name without them, and without parentheses, is
/// unchanged. Different names may give the same result. Takes linear time. [any thread]
[[nodiscard]] ZO_EXPORT std::string escape_datatype_name(const std::string& name);

/// Asserts in debug builds that the text may come from `escape_datatype_name`. Does nothing in others. [any thread]
ZO_EXPORT void assert_datatype_name_escaped(const std::string& name);

} // namespace ZoHmiFdx
