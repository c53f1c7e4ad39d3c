#pragma once

#include "extension/host/value_type.h"
#include "support/export.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace ZoHmiSrv {
class Value;
}

namespace ZoHmiFdx {

class State;

/// The flags of the keys that the library uses.
enum class AttributesFlags : std::uint16_t {
    None = 0,
    Show = 1,
    ShowRecursively = 2,
    Hide = 4,
    ReadOnly = 8,
    Blob = 16, ///< the value is handled as binary
    LowerBorder = 64,
    UpperBorder = 128,
    SwapWord = 256,  ///< a 16-bit value is stored with its bytes swapped
    SwapDWord = 512, ///< a 32-bit value is stored with its bytes swapped
    Encoding = 1024, ///< of any encoding
    Utf8 = 2048,     ///< only together with `Encoding`
    AddSymbol = 4096,
};

[[nodiscard]] constexpr AttributesFlags operator|(AttributesFlags left, AttributesFlags right) noexcept {
    return AttributesFlags(std::uint16_t(left) | std::uint16_t(right));
}
[[nodiscard]] constexpr AttributesFlags operator&(AttributesFlags left, AttributesFlags right) noexcept {
    return AttributesFlags(std::uint16_t(left) & std::uint16_t(right));
}

/// The content of the keys for the server's own symbols.
struct AddSymbolAttributeInfo {
    static constexpr int full_access = 1;
    static constexpr int read_access = 2;

    std::map<std::string, int> user_groups; ///< the access of each group by the group's name: one bit or both
    bool add = false;
    bool hidden = false;
};

/// The text attributes of a symbol or type: pairs of a key and a value in UTF-8, in the order of adding. A key may
/// repeat. A plain value; no operation fails. [any thread]
class ZO_EXPORT Attributes {
public:
    using Entry = std::pair<std::string, std::string>;

    Attributes() = default;

    /// Makes room for `count` entries in all. Requires a checked count.
    void reserve(std::size_t count) { entries_.reserve(count); }
    /// Appends an entry. Returns the flags of the key alone: `Encoding` for any encoding.
    AttributesFlags add(const std::string& key, const std::string& value);

    /// `None` for a key that the library does not use. Case-sensitive.
    [[nodiscard]] static AttributesFlags flags_by_key(const std::string& key) noexcept;

    /// True if at least one of the flags is set. Test `Utf8` alone: `Utf8` with `Encoding` is true for any encoding.
    [[nodiscard]] bool has(AttributesFlags flags) const noexcept { return (flags_ & flags) != AttributesFlags::None; }
    [[nodiscard]] bool has(const std::string& key) const noexcept;

    /// The value added last. The reference is valid until the list changes.
    [[nodiscard]] std::optional<std::reference_wrapper<const std::string>> value_of_lower_border() const noexcept;
    [[nodiscard]] std::optional<std::reference_wrapper<const std::string>> value_of_upper_border() const noexcept;

    [[nodiscard]] AddSymbolAttributeInfo analyze_add_symbol_attribute() const;
    /// A Map of texts with the attributes that the state does not ignore. The last of equal keys counts.
    [[nodiscard]] ZoHmiSrv::Value public_attributes_as_value(const State& state) const;

    /// Appends the entries of another list with keys that are new here. Adds the flags of all its entries, `Utf8` also
    /// from an encoding that is not appended. The index of the encoding is unchanged.
    void merge(const Attributes& other);
    /// Appends all entries. Borders and encoding of the other list replace those of this list.
    void merge_keep_duplicates(const Attributes& other);

    [[nodiscard]] std::size_t size() const noexcept { return entries_.size(); }
    [[nodiscard]] bool empty() const noexcept { return entries_.empty(); }
    [[nodiscard]] const std::vector<Entry>& entries() const noexcept { return entries_; }
    [[nodiscard]] AttributesFlags flags() const noexcept { return flags_; }

    /// No entry, or an entry with a position that exceeds the index.
    static constexpr std::uint16_t none = 0xFFFF;
    /// Positions in `entries`, or `none`.
    [[nodiscard]] std::uint16_t lower_border_index() const noexcept { return lower_border_index_; }
    [[nodiscard]] std::uint16_t upper_border_index() const noexcept { return upper_border_index_; }
    [[nodiscard]] std::uint16_t encoding_index() const noexcept { return encoding_index_; }

private:
    [[nodiscard]] bool has_entry(const std::string& key) const noexcept;
    [[nodiscard]] std::optional<std::reference_wrapper<const std::string>> value_at(std::uint16_t index) const noexcept;

    std::vector<Entry> entries_;
    AttributesFlags flags_ = AttributesFlags::None;
    std::uint16_t lower_border_index_ = none;
    std::uint16_t upper_border_index_ = none;
    std::uint16_t encoding_index_ = none;
};

/// Returns `into` with the entries of `from` that have new keys. [any thread]
[[nodiscard]] ZO_EXPORT Attributes merge_attributes(const Attributes& from, Attributes into);
/// Returns `into` with all entries of `from` behind its own. [any thread]
[[nodiscard]] ZO_EXPORT Attributes merge_attributes_keep_duplicates(const Attributes& from, Attributes into);

/// Binary if one of the lists has `Blob`, else `type`. [any thread]
[[nodiscard]] ZO_EXPORT ZoHmiSrv::ValueType get_actual_hmi_datatype(ZoHmiSrv::ValueType type, const Attributes& first,
                                                                    const Attributes& second) noexcept;

} // namespace ZoHmiFdx
