#pragma once

#include "device/type/datatype_description.h"
#include "support/export.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace ZoHmiFdx {

/// A type of a target, with all properties that can be computed once. `std::shared_ptr<const Datatype>` shares it, and
/// it never changes: a changed description gives a new type. The data comes from the device and is not trusted. [any
/// thread]
class ZO_EXPORT Datatype {
public:
    using SubItems = std::vector<SubItem>;
    using PropertyItems = std::vector<PropertyItem>;
    using MethodItems = std::vector<MethodItem>;

    /// The type of a fresh description.
    Datatype();
    explicit Datatype(const DatatypeDescription& description);
    explicit Datatype(DatatypeDescription&& description);

    /// A description that gives the same type. It has no deduced fields but `parsed`.
    [[nodiscard]] DatatypeDescription description() const;
    /// False for an impossible type: with a negative size, or with parts that its `hmi_type` cannot have.
    [[nodiscard]] bool sanity_check() const noexcept;

    [[nodiscard]] std::int32_t size() const noexcept { return size_; }
    [[nodiscard]] ZoHmiSrv::ValueType hmi_type() const noexcept { return hmi_type_; }
    [[nodiscard]] FdxDataType fdx_type() const noexcept { return fdx_type_; }
    /// The flags of the description, and the deduced flags.
    [[nodiscard]] std::uint32_t flags() const noexcept { return flags_; }
    [[nodiscard]] const std::string& item_name() const noexcept { return item_name_; }
    [[nodiscard]] const std::string& type_name() const noexcept { return type_name_; }
    [[nodiscard]] const SubItems& subitems() const noexcept { return subitems_; }
    [[nodiscard]] const PropertyItems& property_items() const noexcept { return property_items_; }
    [[nodiscard]] const MethodItems& method_items() const noexcept { return method_items_; }
    [[nodiscard]] const Attributes& attributes() const noexcept { return attributes_; }
    [[nodiscard]] const std::vector<EnumItem>& enum_items() const noexcept { return enum_items_; }
    /// Positions in `subitems`, sorted by the bytes of the names. Equal names keep the declared order.
    [[nodiscard]] const std::vector<std::uint32_t>& subitem_indices_sorted_by_name() const noexcept {
        return subitem_indices_sorted_by_name_;
    }
    [[nodiscard]] const ArrayInfo& array_info() const noexcept { return array_info_; }

    [[nodiscard]] std::size_t count_subitems() const noexcept { return subitems_.size(); }
    [[nodiscard]] std::size_t count_enum_items() const noexcept { return enum_items_.size(); }
    [[nodiscard]] std::size_t count_method_items() const noexcept { return method_items_.size(); }
    [[nodiscard]] std::size_t count_property_items() const noexcept { return property_items_.size(); }

    /// Returns the first member declared under the name, or the end. Cuts the name at its first dereference operator.
    [[nodiscard]] SubItems::const_iterator find_subitem(const std::string& name) const noexcept;
    [[nodiscard]] PropertyItems::const_iterator find_property(const std::string& name) const noexcept;
    [[nodiscard]] MethodItems::const_iterator find_method(const std::string& name) const noexcept;

    [[nodiscard]] bool is_enum_and_fits_in_int32() const noexcept { return is(DatatypeFlags::DeducedEnumInInt32); }
    /// True for a reference or pointer, and for a type with such a base type.
    [[nodiscard]] bool is_indirection() const noexcept { return is(DatatypeFlags::DeducedIndirection); }
    /// True for a reference or pointer itself.
    [[nodiscard]] bool is_indirection_strict() const noexcept { return is(DatatypeFlags::DeducedIndirectionStrict); }
    [[nodiscard]] bool is_reference() const noexcept { return is(DatatypeFlags::DeducedReference); }
    [[nodiscard]] bool is_struct_alias() const noexcept { return is(DatatypeFlags::DeducedStructAlias); }
    [[nodiscard]] bool is_enum_alias() const noexcept { return is(DatatypeFlags::DeducedEnumAlias); }
    /// True if a dialect suffix on its name, or on the name of its elements, gives another type.
    [[nodiscard]] bool can_have_dialects() const noexcept { return is(DatatypeFlags::DeducedDialects); }
    /// True if a written value may omit members or elements.
    [[nodiscard]] bool is_incomplete_write_possible() const noexcept {
        return is(DatatypeFlags::DeducedIncompleteWrite);
    }
    [[nodiscard]] bool parsed() const noexcept { return is(DatatypeFlags::DeducedParsed); }
    [[nodiscard]] bool is_alias_of_alias() const noexcept { return is(DatatypeFlags::DeducedAliasOfAlias); }
    [[nodiscard]] bool is_alias_indirection() const noexcept { return is(DatatypeFlags::DeducedAliasIndirection); }
    [[nodiscard]] bool is_basic_alias() const noexcept { return is(DatatypeFlags::DeducedBasicAlias); }
    /// True if several values may share a byte.
    [[nodiscard]] bool bits_may_be_packed() const noexcept { return is(DatatypeFlags::DeducedPackedBits); }

    /// True for an alias of a structure, an enumeration or a basic type.
    [[nodiscard]] bool is_alias() const noexcept;
    [[nodiscard]] bool is_array_of_indirections() const noexcept;

    /// True if these attributes, or the attributes of the type, swap the bytes of a 16- or 32-bit number.
    [[nodiscard]] bool is_byte_order_reversed(const Attributes& attributes) const noexcept;

private:
    [[nodiscard]] bool is(DatatypeFlags flag) const noexcept { return (flags_ & flag) != 0; }

    std::int32_t size_;
    ZoHmiSrv::ValueType hmi_type_;
    FdxDataType fdx_type_;
    std::uint32_t flags_;
    std::string item_name_;
    std::string type_name_;
    SubItems subitems_;
    PropertyItems property_items_;
    MethodItems method_items_;
    Attributes attributes_;
    std::vector<EnumItem> enum_items_;
    std::vector<std::uint32_t> subitem_indices_sorted_by_name_;
    ArrayInfo array_info_;
};

} // namespace ZoHmiFdx
