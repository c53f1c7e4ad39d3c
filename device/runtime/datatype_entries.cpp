#include "device/runtime/detail/upload_entries.h"

#include "device/runtime/detail/entry_texts.h"
#include "device/type/dialect.h"
#include "device/type/fix_type_description.h"
#include "device/type/type_name.h"

#include <limits>
#include <utility>
#include <vector>

namespace ZoHmiFdx {

namespace {

using ZoHmiSrv::ValueType;

enum EntryFlags : std::uint32_t {
    has_guid = 0x0008,
    size_in_bits = 0x0020,
    has_attributes = 0x1000,
    has_enumerators = 0x2000,
    has_methods = 0x4000,
    has_properties = 0x8000,
};

/// Bits of an entry that a description uses.
constexpr std::uint32_t description_flags = std::uint32_t(DatatypeFlags::Initial) |
                                            std::uint32_t(DatatypeFlags::BitArray) |
                                            (DatatypeFlags::SizeZeroAllowed | DatatypeFlags::Union);
constexpr std::uint32_t max_count = 1u << 31;
constexpr std::uint8_t getter_mark = 1;
constexpr std::uint8_t setter_mark = 2;

/// Fields of types, members and properties.
struct DatatypeHead {
    std::uint32_t for_description;
    std::uint32_t offset;
    std::uint32_t code;
    std::uint32_t size;
    std::uint32_t flags;
    std::string name;
    std::string type;
    std::string comment;
    std::uint16_t dimensions;
    std::uint16_t members;

    [[nodiscard]] bool has(EntryFlags flag) const noexcept { return (flags & flag) != 0; }
    [[nodiscard]] std::uint32_t size_in_bytes() const noexcept { return size_in_full_bytes(flags, size); }
    /// Bytes from the start of the parent.
    [[nodiscard]] std::uint64_t end_in_bits() const noexcept {
        return (std::uint64_t{offset} + size) * (has(size_in_bits) ? 1 : 8);
    }
};

DatatypeHead read_head(EntryReader& reader, int code_page) {
    DatatypeHead head{};
    reader.skip(sizeof(std::uint32_t));
    head.for_description = reader.number<std::uint32_t>();
    head.offset = reader.number<std::uint32_t>();
    head.code = reader.number<std::uint32_t>();
    head.size = reader.number<std::uint32_t>();
    head.flags = reader.number<std::uint32_t>();
    const auto name_length = reader.number<std::uint16_t>();
    const auto type_length = reader.number<std::uint16_t>();
    const auto comment_length = reader.number<std::uint16_t>();
    head.dimensions = reader.number<std::uint16_t>();
    head.members = reader.number<std::uint16_t>();
    head.name = entry_text(reader.text(name_length), code_page);
    head.type = entry_text(reader.text(type_length), code_page);
    head.comment = entry_text(reader.text(comment_length), code_page);
    return head;
}

ArrayInfo read_dimensions(EntryReader& reader, unsigned count, const std::string& element) {
    std::vector<ArrayInfo::Dimension> dimensions;
    for (unsigned i = 0; i < count && !reader.failed(); ++i) {
        const auto lower_bound = reader.number<std::int32_t>();
        const auto elements = reader.number<std::uint32_t>();
        if (elements > max_count) reader.fail();
        dimensions.push_back({lower_bound, elements});
    }
    if (count == 0) return {};
    return {std::move(dimensions), element};
}

/// Reads a member or property. Of its own parts, only the attributes count.
struct MemberEntry {
    DatatypeHead head;
    Attributes attributes;
};

MemberEntry read_member(EntryReader& parent, int code_page) {
    EntryReader reader = parent.entry(datatype_head_size);
    MemberEntry member{read_head(reader, code_page), {}};
    if (member.head.members != 0) reader.fail();
    (void)read_dimensions(reader, member.head.dimensions, {});
    if (member.head.has(has_guid)) reader.skip(type_guid_size);
    if (member.head.has(has_attributes)) read_attributes(reader, code_page, member.attributes);
    if (reader.failed()) parent.fail();
    return member;
}

bool is_nameable(const std::string& name) {
    return !name.empty() && name.find_first_of(".#[],^`") == std::string::npos;
}

bool fits_int(std::uint32_t number) {
    return number <= std::uint32_t(std::numeric_limits<int>::max());
}

void read_members(EntryReader& reader, const DatatypeHead& type, int code_page, std::vector<SubItem>& members) {
    const std::uint64_t parent_bits = std::uint64_t{type.size} * (type.has(size_in_bits) ? 1 : 8);
    for (unsigned i = 0; i < type.members && !reader.failed(); ++i) {
        MemberEntry member = read_member(reader, code_page);
        const DatatypeHead& head = member.head;
        if (!is_nameable(head.name) || head.end_in_bits() > parent_bits || !fits_int(head.offset) ||
            !fits_int(head.size))
            continue;
        members.emplace_back(head.name, remove_dialect_suffix_copy(head.type), static_cast<int>(head.offset),
                             static_cast<int>(head.size_in_bytes()), head.comment, std::move(member.attributes));
    }
}

void read_enumerators(EntryReader& reader, int code_page, std::vector<EnumItem>& items) {
    const auto count = reader.number<std::uint16_t>();
    for (unsigned i = 0; i < count && !reader.failed(); ++i) {
        const auto length = reader.number<std::uint8_t>();
        std::string name = entry_text(reader.text(length), code_page);
        items.push_back({std::move(name), reader.number<std::int64_t>()});
    }
}

struct Texts {
    std::string name;
    std::string type;
    std::string comment;
};

Texts read_texts(EntryReader& reader, int code_page) {
    const auto name_length = reader.number<std::uint16_t>();
    const auto type_length = reader.number<std::uint16_t>();
    const auto comment_length = reader.number<std::uint16_t>();
    Texts texts;
    texts.name = entry_text(reader.text(name_length), code_page);
    texts.type = entry_text(reader.text(type_length), code_page);
    texts.comment = entry_text(reader.text(comment_length), code_page);
    return texts;
}

void read_methods(EntryReader& reader, int code_page, std::vector<MethodItem>& methods) {
    const auto count = reader.number<std::uint16_t>();
    for (unsigned i = 0; i < count && !reader.failed(); ++i) {
        const auto flags = reader.number<std::uint8_t>();
        Texts texts = read_texts(reader, code_page);
        MethodItem method(std::move(texts.name), std::move(texts.type), std::move(texts.comment), MethodFlags(flags));
        const auto parameters = reader.number<std::uint16_t>();
        for (unsigned p = 0; p < parameters && !reader.failed(); ++p) {
            const auto parameter_flags = reader.number<std::uint32_t>();
            const auto size = reader.number<std::int32_t>();
            Texts names = read_texts(reader, code_page);
            method.add_parameter(
                {std::move(names.name), std::move(names.type), std::move(names.comment), parameter_flags, size});
        }
        if (is_nameable(method.name())) methods.push_back(std::move(method));
    }
}

void read_properties(EntryReader& reader, int code_page, std::vector<PropertyItem>& properties) {
    const auto count = reader.number<std::uint16_t>();
    for (unsigned i = 0; i < count && !reader.failed(); ++i) {
        const auto marks = reader.number<std::uint8_t>();
        const MemberEntry member = read_member(reader, code_page);
        const DatatypeHead& head = member.head;
        if (!is_nameable(head.name) || !fits_int(head.offset) || !fits_int(head.size)) continue;
        PropertyItem& property =
            properties.emplace_back(head.name, remove_dialect_suffix_copy(head.type), static_cast<int>(head.offset),
                                    static_cast<int>(head.size_in_bytes()), head.comment, member.attributes);
        property.set_prefixed_getter_method_exists((marks & getter_mark) != 0);
        property.set_prefixed_setter_method_exists((marks & setter_mark) != 0);
    }
}

/// Corrects the code by name, then by type name. The device sends a composite code for some types that are not
/// composite.
std::uint32_t amended_code(const DatatypeDescription& type, std::uint32_t code) {
    const unsigned by_name = amend_fdx_datatype(type.size, type.item_name.c_str(), code);
    return amend_fdx_datatype(type.size, type.type_name.c_str(), by_name);
}

void classify(DatatypeDescription& type, std::uint32_t code) {
    type.fdx_type = FdxDataType(code);
    if (type.array_info.dimensions() != 0) {
        type.hmi_type = ValueType::Vector;
    } else if (!type.subitems.empty()) {
        type.hmi_type = ValueType::Struct;
    } else {
        type.fdx_type = FdxDataType(amended_code(type, code));
        type.hmi_type = equivalent_hmi_datatype(type.fdx_type);
    }
    type.hmi_type = get_actual_hmi_datatype(type.hmi_type, type.attributes, {});
    fix_type_description(type);
}

} // namespace

std::optional<DatatypeDescription> read_datatype_entry(EntryReader reader, int code_page) {
    const DatatypeHead head = read_head(reader, code_page);
    if (reader.failed() || !fits_int(head.size)) return std::nullopt;
    DatatypeDescription type;
    type.size = static_cast<std::int32_t>(head.size_in_bytes());
    type.item_name = remove_dialect_suffix_copy(head.name);
    type.type_name = remove_dialect_suffix_copy(head.type);
    type.flags |= flags_from_datatype_name(type.item_name) | (head.for_description & description_flags);
    type.parsed = 1;
    type.array_info = read_dimensions(reader, head.dimensions, type.type_name);
    read_members(reader, head, code_page, type.subitems);
    if (head.has(has_guid)) reader.skip(type_guid_size);
    if (head.has(has_attributes)) read_attributes(reader, code_page, type.attributes);
    if (head.has(has_enumerators)) read_enumerators(reader, code_page, type.enum_items);
    if (head.has(has_methods)) read_methods(reader, code_page, type.method_items);
    if (head.has(has_properties)) read_properties(reader, code_page, type.property_items);
    if (reader.failed()) return std::nullopt;
    classify(type, head.code);
    return type;
}

} // namespace ZoHmiFdx
