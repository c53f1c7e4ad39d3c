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

/// The spellings of a symbol's path, one type each; the way from one to the next is a named conversion. For
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

/// What a client typed, unchecked: spelling and aliases may differ from the device's.
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
    /// The name in a device's entry, converted to UTF-8 and cut at a zero inside it. All the bytes that the entry says
    /// it has must be readable. Empty for null and for a name that does not fit into them.
    UniqueFdxPath(const FdxSymbolEntry* entry, int code_page);
    /// The same for an entry of which only `available` bytes are at hand.
    UniqueFdxPath(const FdxSymbolEntry* entry, int code_page, std::size_t available);
};

/// The form for the device: every "^", no "`".
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

/// The plainest form: no mark of an array or of an indirection is left.
class ZO_EXPORT LookupFdxPath : public UniqueFdxPathBase<LookupFdxPath> {
public:
    LookupFdxPath() = default;
    /// Where the text begins with `from`, puts `to` in its place. It need not be a whole part, and an empty `from`
    /// begins every text. Both may be this path.
    void replace_start(const LookupFdxPath& from, const LookupFdxPath& to);
    [[nodiscard]] LookupFdxPath replace_start_copy(const LookupFdxPath& from, const LookupFdxPath& to) const;
};

[[nodiscard]] ZO_EXPORT NativeFdxPath to_native(const UniqueFdxPath& path);
[[nodiscard]] ZO_EXPORT SanitizedUniqueFdxPath sanitize(const UniqueFdxPath& path);
[[nodiscard]] ZO_EXPORT LookupFdxPath simplify(const SanitizedUniqueFdxPath& path);
/// `simplify(sanitize(path))` in one pass.
[[nodiscard]] ZO_EXPORT LookupFdxPath to_lookup(const UniqueFdxPath& path);

/// The text with every index group emptied to "[]". A bracket that is never closed stays with all that follows it.
[[nodiscard]] ZO_EXPORT std::string sanitize_path(const UniqueFdxPath& path);
/// The same, but "" for a path without a complete group, which is not copied.
[[nodiscard]] ZO_EXPORT std::string sanitized_path_if_contaminated(const UniqueFdxPath& path);
/// The text without "^", "`", "[" and "]".
[[nodiscard]] ZO_EXPORT std::string simplify_path(const SanitizedUniqueFdxPath& path);

/// Takes the text for exact without asking the device; no value for a path with indices.
[[nodiscard]] ZO_EXPORT std::optional<UniqueFdxPath> unsafe_to_unique(const UnqualifiedFdxPath& path);

/// @name Texts of parts, as the pops of a path give them
/// The separator belongs to the part and makes no difference.
/// @{
[[nodiscard]] ZO_EXPORT std::size_t find_first_dereference_operator(const std::string& part) noexcept;
[[nodiscard]] ZO_EXPORT bool path_part_is_array_access(const std::string& part, char separator) noexcept;
/// The indices of all groups in a row: "1][2]" gives 1 and 2. Ends at the first that is no number, so that the result
/// may hold fewer indices than the part.
[[nodiscard]] ZO_EXPORT std::vector<std::int64_t> parse_indices_from_path_part(const std::string& part, char separator);
/// Holds a programming error in debug builds, does nothing in others.
ZO_EXPORT void assert_no_dereference_operators(const std::string& part);
/// @}

} // namespace ZoHmiFdx
