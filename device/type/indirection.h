#pragma once

#include "support/export.h"

#include <string>
#include <string_view>

/// The prefixes "REFERENCE TO " and "POINTER TO " of a type name. [any thread]
namespace ZoHmiFdx {

inline constexpr std::string_view pointer_prefix = "POINTER TO ";
inline constexpr std::string_view reference_prefix = "REFERENCE TO ";

struct AnalyzeIndirectionTypeNamesResult {
    std::string dereference_operators; ///< in the order of the prefixes: "^" for a pointer, "`" for a reference
    bool target_found = false;
    std::string remainder;
};

/// True if the name begins with one of the prefixes.
[[nodiscard]] ZO_EXPORT bool is_indirection_strict(const std::string& name);

/// The operators from a type to its target. Strips prefixes until the rest begins with the target's name, or no prefix
/// is left. A name equal to its target loses one prefix, and the rest becomes the remainder. In all other cases the
/// remainder is empty.
[[nodiscard]] ZO_EXPORT AnalyzeIndirectionTypeNamesResult analyze_indirection_type_names(const std::string& name,
                                                                                         const std::string& target);
/// The operators of that result.
[[nodiscard]] ZO_EXPORT std::string infer_dereference_operators(const std::string& name, const std::string& target);

} // namespace ZoHmiFdx
