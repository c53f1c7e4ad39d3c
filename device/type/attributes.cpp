#include "device/type/attributes.h"

#include "device/type/detail/attribute_table.h"
#include "extension/host/algorithm.h"

#include <algorithm>
#include <string_view>
#include <unordered_set>

namespace ZoHmiFdx {

namespace {

/// Up to this number of entries in both lists, a comparison of all pairs is quicker than a set.
constexpr std::size_t few_entries = 16;

} // namespace

AttributesFlags Attributes::add(const std::string& key, const std::string& value) {
    const AttributesFlags key_flags = flags_by_key(key);
    const auto bit = [&](AttributesFlags flag) { return (key_flags & flag) != AttributesFlags::None; };
    const std::size_t position = entries_.size();
    const bool is_utf8 = bit(AttributesFlags::Encoding) && value == "UTF-8";
    entries_.emplace_back(key, value);
    flags_ = flags_ | key_flags | (is_utf8 ? AttributesFlags::Utf8 : AttributesFlags::None);
    if (position < none) {
        const auto index = static_cast<std::uint16_t>(position);
        if (bit(AttributesFlags::LowerBorder))
            lower_border_index_ = index;
        else if (bit(AttributesFlags::UpperBorder))
            upper_border_index_ = index;
        else if (bit(AttributesFlags::Encoding))
            encoding_index_ = index;
    }
    return key_flags;
}

AttributesFlags Attributes::flags_by_key(const std::string& key) noexcept {
    if (key.empty() || (key[0] != 'Z' && key[0] != 'L' && key[0] != 'U')) return AttributesFlags::None;
    for (const AttributeKey& known : attribute_keys)
        if (known.key == key) return known.flags;
    return AttributesFlags::None;
}

bool Attributes::has(const std::string& key) const noexcept {
    const AttributesFlags key_flags = flags_by_key(key);
    // Without the flag there is no entry. A set flag does not prove an entry: several keys share the flag.
    return (key_flags == AttributesFlags::None || has(key_flags)) && has_entry(key);
}

bool Attributes::has_entry(const std::string& key) const noexcept {
    return std::any_of(entries_.begin(), entries_.end(), [&](const Entry& entry) { return entry.first == key; });
}

std::optional<std::reference_wrapper<const std::string>> Attributes::value_at(std::uint16_t index) const noexcept {
    if (index >= entries_.size() || index == none) return std::nullopt;
    return entries_[index].second;
}

std::optional<std::reference_wrapper<const std::string>> Attributes::value_of_lower_border() const noexcept {
    return value_at(lower_border_index_);
}

std::optional<std::reference_wrapper<const std::string>> Attributes::value_of_upper_border() const noexcept {
    return value_at(upper_border_index_);
}

AddSymbolAttributeInfo Attributes::analyze_add_symbol_attribute() const {
    AddSymbolAttributeInfo info;
    const auto add_groups = [&info](const std::string& names, int access) {
        for (const std::string& name : ZoHmiSrv::Algorithm::split(names, ","))
            if (!name.empty()) info.user_groups[name] |= access;
    };
    if (!has(AttributesFlags::AddSymbol)) return info;
    for (const auto& [key, value] : entries_)
        if (key == add_symbol_key)
            info.add = true;
        else if (key == add_symbol_hidden_key)
            info.hidden = true;
        else if (key == add_symbol_user_groups_key)
            add_groups(value, AddSymbolAttributeInfo::full_access);
        else if (key == add_symbol_read_user_groups_key)
            add_groups(value, AddSymbolAttributeInfo::read_access);
    return info;
}

void Attributes::merge(const Attributes& other) {
    if (&other == this) return;
    flags_ = flags_ | other.flags_;
    // The space is reserved, so views of the keys stay valid while entries are appended.
    entries_.reserve(entries_.size() + other.entries_.size());
    std::unordered_set<std::string_view> keys;
    const bool use_set = other.entries_.size() > 1 && entries_.size() + other.entries_.size() > few_entries;
    if (use_set) {
        keys.reserve(entries_.size() + other.entries_.size());
        for (const Entry& entry : entries_)
            keys.insert(entry.first);
    }
    for (std::size_t position = 0; position < other.entries_.size(); ++position) {
        const Entry& entry = other.entries_[position];
        if (use_set ? !keys.insert(entry.first).second : has_entry(entry.first)) continue;
        const std::size_t index = entries_.size();
        entries_.push_back(entry);
        if (index < none && position < none) { // a larger position would equal `none`
            if (position == other.lower_border_index_)
                lower_border_index_ = static_cast<std::uint16_t>(index);
            else if (position == other.upper_border_index_)
                upper_border_index_ = static_cast<std::uint16_t>(index);
        }
    }
}

void Attributes::merge_keep_duplicates(const Attributes& other) {
    const std::size_t own = entries_.size();
    const std::size_t count = other.entries_.size();
    const auto take_over = [own](std::uint16_t& mine, std::uint16_t others) {
        if (own + others < none) mine = static_cast<std::uint16_t>(own + others);
    };
    flags_ = flags_ | other.flags_;
    // Both may be the same list, which grows in this loop.
    entries_.reserve(own + count);
    for (std::size_t i = 0; i < count; ++i)
        entries_.push_back(other.entries_[i]);
    take_over(lower_border_index_, other.lower_border_index_);
    take_over(upper_border_index_, other.upper_border_index_);
    take_over(encoding_index_, other.encoding_index_);
}

Attributes merge_attributes(const Attributes& from, Attributes into) {
    into.merge(from);
    return into;
}

Attributes merge_attributes_keep_duplicates(const Attributes& from, Attributes into) {
    into.merge_keep_duplicates(from);
    return into;
}

ZoHmiSrv::ValueType get_actual_hmi_datatype(ZoHmiSrv::ValueType type, const Attributes& first,
                                            const Attributes& second) noexcept {
    const bool binary = first.has(AttributesFlags::Blob) || second.has(AttributesFlags::Blob);
    return binary ? ZoHmiSrv::ValueType::Binary : type;
}

} // namespace ZoHmiFdx
