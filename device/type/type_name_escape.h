#pragma once

#include "support/export.h"

#include <string>

namespace ZoHmiFdx {

/// A form of a type name without blanks, angle brackets and square brackets, for use inside generated names:
/// "ARRAY [1..3] OF STRING(80)" gives "ARRAY_1..3_OF-STRING-80". A name that has none of them, and no parentheses, is
/// its own form. Different names may give the same form. Takes time linear in the name. [any thread]
[[nodiscard]] ZO_EXPORT std::string escape_datatype_name(const std::string& name);

/// Ends a debug build on a text that cannot come from `escape_datatype_name`; does nothing in a release build.
/// [any thread]
ZO_EXPORT void assert_datatype_name_escaped(const std::string& name);

} // namespace ZoHmiFdx
