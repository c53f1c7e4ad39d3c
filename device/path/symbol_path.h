#pragma once

#include "device/path/fdx_path.h"
#include "support/export.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace ZoHmiSrv {
class Command;
}

/// The spellings of a symbol's path. Each has its own type, and a named conversion leads from one to the next. For
/// "MAIN.arr[2,3].p^.r`.v":
///
///     UniqueFdxPath           MAIN.arr[2,3].p^.r`.v
///     NativeFdxPath           MAIN.arr[2,3].p^.r.v
///     SanitizedUniqueFdxPath  MAIN.arr[].p^.r`.v
///     LookupFdxPath           MAIN.arr.p.r.v
///
/// All are plain values. [any thread]
namespace ZoHmiFdx {

struct FdxSymbolEntry;

/// The unchecked text of a client. Its spelling and aliases may differ from those of the device.
class ZO_EXPORT UnqualifiedFdxPath : public FdxPath<UnqualifiedFdxPath> {
public:
    UnqualifiedFdxPath() = default;
    explicit UnqualifiedFdxPath(std::string text) noexcept : FdxPath(std::move(text)) {}
    /// The mapping of the command.
    explicit UnqualifiedFdxPath(const ZoHmiSrv::Command& command);
};

/// The one exact text of a location: true names, index values and all operators of both kinds.
class ZO_EXPORT UniqueFdxPath : public UniqueFdxPathBase<UniqueFdxPath> {
public:
    UniqueFdxPath() = default;
    /// The name in a device's entry, converted to UTF-8 and cut at the first zero byte. Requires that `entry_length`
    /// bytes are readable. Empty for null and for a name that exceeds the entry.
    UniqueFdxPath(const FdxSymbolEntry* entry, int code_page);
    /// The same for an entry of which only `available` bytes are readable.
    UniqueFdxPath(const FdxSymbolEntry* entry, int code_page, std::size_t available);
};

/// The form for the device: with every "^", without "`".
class ZO_EXPORT NativeFdxPath : public FdxPath<NativeFdxPath> {
public:
    NativeFdxPath() = default;
    /// Appends `n` times "^".
    void append_dereference_operators(std::size_t n);
};

/// A position in the tree of types: all elements of an array share one text.
class ZO_EXPORT SanitizedUniqueFdxPath : public UniqueFdxPathBase<SanitizedUniqueFdxPath> {
public:
    SanitizedUniqueFdxPath() = default;
};

/// The form without marks of arrays and indirections.
class ZO_EXPORT LookupFdxPath : public UniqueFdxPathBase<LookupFdxPath> {
public:
    LookupFdxPath() = default;
    /// Replaces `from` at the start of the text by `to`. `from` need not end with a part, and may be empty. Both may be
    /// this path.
    void replace_start(const LookupFdxPath& from, const LookupFdxPath& to);
    [[nodiscard]] LookupFdxPath replace_start_copy(const LookupFdxPath& from, const LookupFdxPath& to) const;
};

[[nodiscard]] ZO_EXPORT NativeFdxPath to_native(const UniqueFdxPath& path);
[[nodiscard]] ZO_EXPORT SanitizedUniqueFdxPath sanitize(const UniqueFdxPath& path);
[[nodiscard]] ZO_EXPORT LookupFdxPath simplify(const SanitizedUniqueFdxPath& path);
/// `simplify(sanitize(path))` in one pass.
[[nodiscard]] ZO_EXPORT LookupFdxPath to_lookup(const UniqueFdxPath& path);

/// The text with every index group emptied to "[]". An unclosed bracket and the text behind it are unchanged.
[[nodiscard]] ZO_EXPORT std::string sanitize_path(const UniqueFdxPath& path);
/// The same, but "" for a path without a complete group. Then nothing is copied.
[[nodiscard]] ZO_EXPORT std::string sanitized_path_if_contaminated(const UniqueFdxPath& path);
/// The text without "^", "`", "[" and "]".
[[nodiscard]] ZO_EXPORT std::string simplify_path(const SanitizedUniqueFdxPath& path);

/// Treats the text as exact, without a request to the device. Returns no value for a path with indices.
[[nodiscard]] ZO_EXPORT std::optional<UniqueFdxPath> unsafe_to_unique(const UnqualifiedFdxPath& path);

/// @name Texts of parts, as the pops of a path return them
/// The separator of the part does not matter.
/// @{
[[nodiscard]] ZO_EXPORT std::size_t find_first_dereference_operator(const std::string& part) noexcept;
[[nodiscard]] ZO_EXPORT bool path_part_is_array_access(const std::string& part, char separator) noexcept;
/// The indices of all groups in a row: "1][2]" gives 1 and 2. Stops at the first index that is no number, so the result
/// may have fewer indices than the part.
[[nodiscard]] ZO_EXPORT std::vector<std::int64_t> parse_indices_from_path_part(const std::string& part, char separator);
/// Asserts in debug builds, does nothing in others.
ZO_EXPORT void assert_no_dereference_operators(const std::string& part);
/// @}

} // namespace ZoHmiFdx
