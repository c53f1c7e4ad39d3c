#pragma once

#include "support/export.h"

#include <cstdint>
#include <string>

/// A type may exist in dialects. The library tells them apart by a suffix on the type's name: " ReadOnly",
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

/// Removes both suffixes, also in the wrong order; the text may become empty.
ZO_EXPORT void remove_dialect_suffix(std::string& name);
[[nodiscard]] ZO_EXPORT std::string remove_dialect_suffix_copy(std::string name);

[[nodiscard]] ZO_EXPORT bool has_dialect_suffix(const std::string& name);
/// " ReadOnly" stands at the end, or before " ShowRecursively".
[[nodiscard]] ZO_EXPORT bool has_readonly_dialect_suffix(const std::string& name);
/// Nothing stands before the suffix. False for " ShowRecursively" alone, which is not told from a name.
[[nodiscard]] ZO_EXPORT bool empty_or_only_dialect_suffix(const std::string& name);

/// The name with exactly the suffixes of `flags`, whatever it had before.
[[nodiscard]] ZO_EXPORT std::string add_dialect_suffix(std::string name, DatatypeDialectFlags flags);

} // namespace ZoHmiFdx
