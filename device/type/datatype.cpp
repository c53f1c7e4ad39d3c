#include "device/type/datatype.h"

#include "device/path/symbol_path.h"
#include "device/type/type_name.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <string_view>
#include <utility>

namespace ZoHmiFdx {

namespace {

using ZoHmiSrv::ValueType;

constexpr std::uint32_t indirection_strict_flags = DatatypeFlags::Reference | DatatypeFlags::Pointer;
constexpr std::uint32_t indirection_flags =
    indirection_strict_flags | DatatypeFlags::ReferenceByAlias | DatatypeFlags::IndirectionByAlias;

/// Up to this number of members, a walk is quicker than a search by the sorted indices.
constexpr std::size_t few_subitems = 16;

bool is_structure(ValueType type) {
    return type == ValueType::Map || type == ValueType::Struct;
}

/// 0 without elements. The total comes from the device, and may be any number.
int element_size(const DatatypeDescription& description) {
    const std::uint64_t total = description.array_info.total_nr_of_elements();
    if (total == 0 || total > std::uint64_t(std::numeric_limits<std::int64_t>::max())) return 0;
    const std::int64_t size = description.size / static_cast<std::int64_t>(total);
    return static_cast<int>(size); // the magnitude never exceeds that of the whole size
}

/// Elements of a basic type have dialects. Other types have dialects if they have members.
bool can_have_dialects(const DatatypeDescription& description) {
    if (description.array_info.dimensions() != 0) {
        ValueType hmi_type = ValueType::Null;
        FdxDataType fdx_type = FdxDataType::Void;
        const char* const name = description.array_info.element_type_name().c_str();
        if (parse_fdx_type_string(element_size(description), name, &hmi_type, &fdx_type, nullptr) != 0) return false;
        if (hmi_type != ValueType::Null) return true;
    }
    return !description.subitems.empty();
}

bool is_incomplete_write_possible(const DatatypeDescription& description) {
    if ((description.flags & indirection_flags) != 0) return false;
    if (description.hmi_type == ValueType::Vector) return !is_fundamental_type(description.fdx_type);
    const bool composite = is_structure(description.hmi_type) || description.fdx_type == FdxDataType::Composite;
    return composite && !description.subitems.empty();
}

std::uint32_t deduce_details(const DatatypeDescription& description) {
    using enum DatatypeFlags;
    const std::uint32_t given = description.flags;
    const std::pair<bool, DatatypeFlags> details[] = {
        {!description.enum_items.empty() && description.size < 8, DeducedEnumInInt32},
        {(given & indirection_flags) != 0, DeducedIndirection},
        {(given & indirection_strict_flags) != 0, DeducedIndirectionStrict},
        {(given & (Reference | ReferenceByAlias)) != 0, DeducedReference},
        {(given & StructAlias) != 0, DeducedStructAlias},
        {(given & EnumAlias) != 0, DeducedEnumAlias},
        {can_have_dialects(description), DeducedDialects},
        {is_incomplete_write_possible(description), DeducedIncompleteWrite},
        {description.parsed != 0, DeducedParsed},
        {(given & AliasOfAlias) != 0, DeducedAliasOfAlias},
        {(given & AliasIndirection) != 0, DeducedAliasIndirection},
        {(given & BasicAlias) != 0, DeducedBasicAlias},
        {description.fdx_type == FdxDataType::Bit && description.hmi_type != ValueType::Vector &&
             description.item_name == "BIT",
         DeducedPackedBits},
    };
    std::uint32_t deduced = 0;
    for (const auto& [holds, flag] : details)
        if (holds) deduced |= flag;
    return deduced;
}

std::vector<std::uint32_t> sorted_by_name(const std::vector<SubItem>& subitems) {
    std::vector<std::uint32_t> indices(subitems.size());
    std::iota(indices.begin(), indices.end(), 0u);
    std::sort(indices.begin(), indices.end(), [&](std::uint32_t left, std::uint32_t right) {
        const int order = subitems[left].name().compare(subitems[right].name());
        return order != 0 ? order < 0 : left < right;
    });
    return indices;
}

std::string_view without_operators(const std::string& name) {
    return std::string_view(name).substr(0, find_first_dereference_operator(name));
}

template <typename Items>
typename Items::const_iterator find_by_name(const Items& items, const std::string& name) {
    return std::find_if(items.begin(), items.end(),
                        [wanted = without_operators(name)](const auto& item) { return item.name() == wanted; });
}

} // namespace

Datatype::Datatype() : Datatype(DatatypeDescription()) {
}

Datatype::Datatype(const DatatypeDescription& description) : Datatype(DatatypeDescription(description)) {
}

Datatype::Datatype(DatatypeDescription&& description)
    : size_(description.size), hmi_type_(description.hmi_type), fdx_type_(description.fdx_type),
      flags_((description.flags & ~deduced_datatype_flags) | deduce_details(description)),
      item_name_(std::move(description.item_name)), type_name_(std::move(description.type_name)),
      subitems_(std::move(description.subitems)), property_items_(std::move(description.property_items)),
      method_items_(std::move(description.method_items)), attributes_(std::move(description.attributes)),
      enum_items_(std::move(description.enum_items)), subitem_indices_sorted_by_name_(sorted_by_name(subitems_)),
      array_info_(std::move(description.array_info)) {
}

DatatypeDescription Datatype::description() const {
    DatatypeDescription description;
    description.size = size_;
    description.item_name = item_name_;
    description.type_name = type_name_;
    description.array_info = array_info_;
    description.subitems = subitems_;
    description.property_items = property_items_;
    description.method_items = method_items_;
    description.enum_items = enum_items_;
    description.attributes = attributes_;
    description.hmi_type = hmi_type_;
    description.fdx_type = fdx_type_;
    description.flags = flags_ & ~deduced_datatype_flags;
    description.parsed = parsed() ? 1 : 0;
    return description;
}

bool Datatype::sanity_check() const noexcept {
    const bool no_parts = subitems_.empty() && property_items_.empty() && method_items_.empty();
    const bool no_array = array_info_.total_nr_of_elements() == 0 && array_info_.element_type_name().empty();
    if (size_ < 0) return false;
    if (hmi_type_ == ValueType::Vector) return enum_items_.empty() && no_parts;
    if (is_structure(hmi_type_)) return enum_items_.empty() && no_array;
    const ValueType expected = equivalent_hmi_datatype(fdx_type_);
    return (expected == ValueType::Null || hmi_type_ == expected) && no_array && no_parts;
}

Datatype::SubItems::const_iterator Datatype::find_subitem(const std::string& name) const noexcept {
    if (subitems_.size() <= few_subitems) return find_by_name(subitems_, name);
    const std::string_view wanted = without_operators(name);
    const auto found =
        std::lower_bound(subitem_indices_sorted_by_name_.begin(), subitem_indices_sorted_by_name_.end(), wanted,
                         [this](std::uint32_t index, std::string_view text) { return subitems_[index].name() < text; });
    if (found == subitem_indices_sorted_by_name_.end() || subitems_[*found].name() != wanted) return subitems_.end();
    return subitems_.begin() + *found;
}

Datatype::PropertyItems::const_iterator Datatype::find_property(const std::string& name) const noexcept {
    return find_by_name(property_items_, name);
}

Datatype::MethodItems::const_iterator Datatype::find_method(const std::string& name) const noexcept {
    return find_by_name(method_items_, name);
}

bool Datatype::is_alias() const noexcept {
    return is(DatatypeFlags::DeducedStructAlias) || is(DatatypeFlags::DeducedEnumAlias) ||
           is(DatatypeFlags::DeducedBasicAlias);
}

bool Datatype::is_array_of_indirections() const noexcept {
    return is_indirection() && !is_indirection_strict() && !is_alias_indirection();
}

bool Datatype::is_byte_order_reversed(const Attributes& attributes) const noexcept {
    const auto either_has = [&](AttributesFlags flag) { return attributes.has(flag) || attributes_.has(flag); };
    switch (fdx_type_) {
    case FdxDataType::UInt16:
        return either_has(AttributesFlags::SwapWord);
    case FdxDataType::UInt32:
        return either_has(AttributesFlags::SwapDWord);
    default:
        return false;
    }
}

} // namespace ZoHmiFdx
