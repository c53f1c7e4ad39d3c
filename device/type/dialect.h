#pragma once

#include "support/export.h"

#include <cstdint>
#include <string>

/// A type may exist in dialects. A suffix of the type's name marks them: " ReadOnly",
/// " ShowRecursively", or both in this order. [any thread]
namespace ZoHmiFdx {

enum class DatatypeDialectFlags : std::uint32_t {
    None = 0,
    ReadOnly = 1,
    ShowRecursively = 2,
};

[[nodiscard]] constexpr DatatypeDialectFlags operator|(DatatypeDialectFlags left, DatatypeDialectFlags right) {
    return DatatypeDialectFlags(std::uint32_t(left) | std::uint32_t(right));
}
[[nodiscard]] constexpr DatatypeDialectFlags operator&(DatatypeDialectFlags left, DatatypeDialectFlags right) {
    return DatatypeDialectFlags(std::uint32_t(left) & std::uint32_t(right));
}

/// Removes both suffixes, also in the wrong order. The text may become empty.
ZO_EXPORT void remove_dialect_suffix(std::string& name);
[[nodiscard]] ZO_EXPORT std::string remove_dialect_suffix_copy(std::string name);

[[nodiscard]] ZO_EXPORT bool has_dialect_suffix(const std::string& name);
/// True if the name ends in " ReadOnly", or in " ReadOnly ShowRecursively".
[[nodiscard]] ZO_EXPORT bool has_readonly_dialect_suffix(const std::string& name);
/// True if the name is empty or only a suffix. False for " ShowRecursively" alone: that text counts as a name.
[[nodiscard]] ZO_EXPORT bool empty_or_only_dialect_suffix(const std::string& name);

/// Returns the name with the suffixes of `flags` in place of its own.
[[nodiscard]] ZO_EXPORT std::string add_dialect_suffix(std::string name, DatatypeDialectFlags flags);

} // namespace ZoHmiFdx
