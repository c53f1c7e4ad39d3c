#include "device/type_name.h"

#include "device/data_type_table.h"
#include "device/datatype_flags.h"
#include "device/indirection.h"
#include "device/method_item.h"
#include "device/type_name_table.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace ZoHmiFdx {

namespace {

/// A name up to its first bracket, its end included, packed for comparing. At most one row has a given stem, so that
/// the stem finds the row, and what follows it in the text decides whether the row matches.
struct Stem {
    static constexpr std::size_t capacity = 16;

    std::uint64_t low = 0;
    std::uint64_t high = 0;
    std::size_t length = 0; ///< `capacity` for every stem that does not fit

    friend constexpr bool operator==(const Stem&, const Stem&) = default;
};

/// Looks at no more of the text than it packs; the text ends with a NUL.
constexpr Stem stem_of(const char* name) {
    Stem stem;
    while (stem.length < Stem::capacity) {
        const char next = name[stem.length];
        if (next == '\0' || next == '(' || next == '[') break;
        const std::uint64_t bits = std::uint64_t(static_cast<unsigned char>(next)) << (stem.length % 8 * 8);
        (stem.length < 8 ? stem.low : stem.high) |= bits;
        ++stem.length;
    }
    return stem;
}

constexpr auto stems = [] {
    std::array<Stem, std::size(type_name_table)> result;
    std::ranges::transform(type_name_table, result.begin(),
                           [](const TypeNameRow& row) { return stem_of(row.name.data()); });
    return result;
}();

constexpr bool are_stems_unique() {
    for (auto stem = stems.begin(); stem != stems.end(); ++stem) {
        if (stem->length == Stem::capacity || std::find(stem + 1, stems.end(), *stem) != stems.end()) return false;
    }
    return true;
}
static_assert(are_stems_unique());

/// The rows of one first letter.
struct Group {
    std::uint8_t begin = 0;
    std::uint8_t end = 0;
};

constexpr auto groups = [] {
    std::array<Group, 'Z' - 'A' + 1> result;
    for (std::size_t i = 0; i < std::size(type_name_table); ++i) {
        Group& group = result[std::size_t(type_name_table[i].name.front() - 'A')];
        if (group.end == 0) group.begin = static_cast<std::uint8_t>(i);
        if (group.end != 0 && group.end != i) throw "the rows of a letter are apart";
        group.end = static_cast<std::uint8_t>(i + 1);
    }
    return result;
}();

constexpr bool is_string(FdxDataType type) {
    return type == FdxDataType::String || type == FdxDataType::WString;
}

/// `name` begins with the row's stem.
bool matches(const TypeNameRow& row, const char* name, std::size_t stem_length) {
    const char* rest = name + stem_length;
    if (row.match == TypeNameMatch::Exact) return std::strcmp(rest, row.name.data() + stem_length) == 0;
    return *rest == '\0' || *rest == '(' || (*rest == '[' && is_string(row.type));
}

/// Null for a name without a row.
const TypeNameRow* find_row(const char* name) {
    const auto letter = static_cast<std::size_t>(static_cast<unsigned char>(*name)) - 'A';
    if (letter >= groups.size() || groups[letter].end == 0) return nullptr;
    const Stem stem = stem_of(name);
    for (std::size_t i = groups[letter].begin; i != groups[letter].end; ++i) {
        if (stems[i] == stem) return matches(type_name_table[i], name, stem.length) ? &type_name_table[i] : nullptr;
    }
    return nullptr;
}

bool starts_with(const char* text, std::string_view prefix) {
    return std::strncmp(text, prefix.data(), prefix.size()) == 0;
}

bool is_indirection(const char* name) {
    return starts_with(name, pointer_prefix) || starts_with(name, reference_prefix);
}

/// The integer of 2, 4 or 8 bytes; Void for any other size.
FdxDataType integer_of_size(int size, bool is_signed) {
    switch (size) {
    case 2:
        return is_signed ? FdxDataType::Int16 : FdxDataType::UInt16;
    case 4:
        return is_signed ? FdxDataType::Int32 : FdxDataType::UInt32;
    case 8:
        return is_signed ? FdxDataType::Int64 : FdxDataType::UInt64;
    default:
        return FdxDataType::Void;
    }
}

/// "BOOL", with or without something in parentheses behind it.
bool is_boolean(const char* name) {
    return std::strncmp(name, "BOOL", 4) == 0 && (name[4] == '\0' || name[4] == '(');
}

bool is_bit_field(std::string_view name) {
    return name.size() == 4 && name.starts_with("BIT") && name[3] >= '2' && name[3] <= '7';
}

} // namespace

int parse_fdx_type_string(int size, const char* name, ZoHmiSrv::ValueType* hmi_type, FdxDataType* fdx_type,
                          const char* base_name) {
    if (name == nullptr) return FDXERR_DEVICE_INVALIDDATA;
    if (*name == '\0' && base_name != nullptr) name = base_name;

    FdxDataType type = FdxDataType::Void;
    TypeNameSize rule = TypeNameSize::PicksUnsigned;
    if (const TypeNameRow* row = find_row(name)) {
        type = row->type;
        rule = row->size;
        // An alias of a Boolean stays one, although "BIT8" and "BYTE" name a number.
        if (type == FdxDataType::UInt8 && *name == 'B' && base_name != nullptr && is_boolean(base_name)) {
            type = FdxDataType::Bit;
        }
    } else if (!is_indirection(name)) {
        return 0;
    }

    const DataTypeRow* data_type = &find_data_type(type);
    switch (rule) {
    case TypeNameSize::Ignored:
        break;
    case TypeNameSize::Checked:
        if (size != -1 && size != data_type->size) return FDXERR_DEVICE_INVALIDDATA;
        break;
    case TypeNameSize::PicksSigned:
    case TypeNameSize::PicksUnsigned:
        data_type = &find_data_type(integer_of_size(size, rule == TypeNameSize::PicksSigned));
        if (data_type->type == FdxDataType::Void) return FDXERR_DEVICE_INVALIDDATA;
        break;
    }

    if (hmi_type != nullptr && *hmi_type != ZoHmiSrv::ValueType::Vector) *hmi_type = data_type->hmi_type;
    if (fdx_type != nullptr) *fdx_type = data_type->type;
    return 0;
}

unsigned amend_fdx_datatype(int size, const char* name, unsigned type) {
    if (FdxDataType(type) != FdxDataType::Composite) return type;
    auto fdx_type = FdxDataType::Void;
    const int result = parse_fdx_type_string(size, name, nullptr, &fdx_type, nullptr);
    return result == 0 && fdx_type != FdxDataType::Void ? unsigned(fdx_type) : type;
}

bool is_known_general_itemname(const std::string& name) {
    return std::ranges::binary_search(general_item_names, std::string_view(name));
}

std::uint32_t flags_from_datatype_name(const std::string& name) {
    if (name.starts_with(reference_prefix)) return std::uint32_t(DatatypeFlags::Reference);
    return std::uint32_t(name.starts_with(pointer_prefix) ? DatatypeFlags::Pointer : DatatypeFlags::PlainType);
}

MethodFlags flags_from_method_name(const std::string& name) {
    if (name.starts_with("__get")) return MethodFlags::OfProperty | MethodFlags::Getter;
    if (name.starts_with("__set")) return MethodFlags::OfProperty | MethodFlags::Setter;
    return MethodFlags::None;
}

bool is_direct_access_supported_for_type(const std::string& name) {
    return !is_bit_field(name);
}

std::optional<unsigned> parse_size_from_string_typename(const std::string& name, FdxDataType type) {
    constexpr std::size_t mark_length = 7;
    std::size_t mark = name.find("STRING(");
    if (mark == std::string::npos) mark = name.find("STRING[");
    if (mark == std::string::npos) return std::nullopt;
    // Unsigned, since the number may be the greatest one of its type already.
    const unsigned characters = unsigned(std::strtol(name.c_str() + mark + mark_length, nullptr, 10)) + 1;
    return type == FdxDataType::WString ? characters * 2 : characters;
}

} // namespace ZoHmiFdx
