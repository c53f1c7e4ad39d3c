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

/// The keys that the library acts on.
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
    Encoding = 1024, ///< whatever the encoding is
    Utf8 = 2048,     ///< only together with `Encoding`
    AddSymbol = 4096,
};

[[nodiscard]] constexpr AttributesFlags operator|(AttributesFlags left, AttributesFlags right) noexcept {
    return AttributesFlags(std::uint16_t(left) | std::uint16_t(right));
}
[[nodiscard]] constexpr AttributesFlags operator&(AttributesFlags left, AttributesFlags right) noexcept {
    return AttributesFlags(std::uint16_t(left) & std::uint16_t(right));
}

/// What the keys for the server's own symbols ask for.
struct AddSymbolAttributeInfo {
    static constexpr int full_access = 1;
    static constexpr int read_access = 2;

    std::map<std::string, int> user_groups; ///< by name, the access that the group has: one bit or both
    bool add = false;
    bool hidden = false;
};

/// The text attributes of a symbol or type, pairs of a key and a value in UTF-8, in the order of adding. A key may
/// stand there several times. A plain value; no operation fails. [any thread]
class ZO_EXPORT Attributes {
public:
    using Entry = std::pair<std::string, std::string>;

    Attributes() = default;

    /// Room for `count` entries in all; never give it a count that nobody checked.
    void reserve(std::size_t count) { entries_.reserve(count); }
    /// Appends an entry and gives the flags of the key alone: `Encoding` for every encoding.
    AttributesFlags add(const std::string& key, const std::string& value);

    /// `None` for a key that the library does not act on. Case matters.
    [[nodiscard]] static AttributesFlags flags_by_key(const std::string& key) noexcept;

    /// At least one of the flags is set. Ask for `Utf8` alone: together with `Encoding` any encoding would do.
    [[nodiscard]] bool has(AttributesFlags flags) const noexcept { return (flags_ & flags) != AttributesFlags::None; }
    [[nodiscard]] bool has(const std::string& key) const noexcept;

    /// The value added last. The reference holds until the list is changed.
    [[nodiscard]] std::optional<std::reference_wrapper<const std::string>> value_of_lower_border() const noexcept;
    [[nodiscard]] std::optional<std::reference_wrapper<const std::string>> value_of_upper_border() const noexcept;

    [[nodiscard]] AddSymbolAttributeInfo analyze_add_symbol_attribute() const;
    /// A Map of texts with the attributes that the state does not keep back. Of equal keys the last one counts.
    [[nodiscard]] ZoHmiSrv::Value public_attributes_as_value(const State& state) const;

    /// Appends the entries of another list whose keys are not here yet. The flags of all of them are taken over: `Utf8`
    /// also from an encoding that was left out. The index of the encoding is not taken over.
    void merge(const Attributes& other);
    /// Appends all entries; borders and encoding of the other list count from now on, where it has them.
    void merge_keep_duplicates(const Attributes& other);

    [[nodiscard]] std::size_t size() const noexcept { return entries_.size(); }
    [[nodiscard]] bool empty() const noexcept { return entries_.empty(); }
    [[nodiscard]] const std::vector<Entry>& entries() const noexcept { return entries_; }
    [[nodiscard]] AttributesFlags flags() const noexcept { return flags_; }

    /// No entry, or one too far behind for its position to be kept.
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

/// `into` with the entries of `from` merged into it: on equal keys those of `into` stay. [any thread]
[[nodiscard]] ZO_EXPORT Attributes merge_attributes(const Attributes& from, Attributes into);
/// `into` with all entries of `from` behind its own. [any thread]
[[nodiscard]] ZO_EXPORT Attributes merge_attributes_keep_duplicates(const Attributes& from, Attributes into);

/// The server's type for a value under both lists: Binary where one of them asks for it, else `type`. [any thread]
[[nodiscard]] ZO_EXPORT ZoHmiSrv::ValueType get_actual_hmi_datatype(ZoHmiSrv::ValueType type, const Attributes& first,
                                                                    const Attributes& second) noexcept;

} // namespace ZoHmiFdx
