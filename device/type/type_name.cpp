#include "device/type/type_name.h"

#include "device/type/datatype_flags.h"
#include "device/type/detail/data_type_table.h"
#include "device/type/detail/type_name_table.h"
#include "device/type/indirection.h"
#include "device/type/method_item.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace ZoHmiFdx {

namespace {

/// The role of a character in a type name.
enum class Character : std::uint8_t { Foreign, Stem, End };

constexpr auto characters = [] {
    std::array<Character, 256> result{};
    for (const TypeNameRow& row : type_name_table)
        for (const char character : row.name)
            result[static_cast<unsigned char>(character)] = Character::Stem;
    for (const char character : {'\0', '(', '['})
        result[static_cast<unsigned char>(character)] = Character::End;
    return result;
}();

/// A name up to its first bracket or its end, packed for comparison. At most one row has a given stem. The rest of the
/// text is compared with that row.
struct Stem {
    std::uint64_t words[2] = {};
    std::size_t length = 0; ///< 0 for a stem that no row has: empty, with a foreign character, or too long

    friend constexpr bool operator==(const Stem&, const Stem&) = default;
};

/// Requires a text that ends with a NUL. Reads nothing behind the stem.
constexpr Stem stem_of(const char* name) {
    Stem stem;
    std::size_t length = 0;
    for (std::uint64_t& word : stem.words) {
        for (unsigned shift = 0; shift < 64; shift += 8, ++length) {
            const auto next = static_cast<unsigned char>(name[length]);
            if (characters[next] != Character::Stem) {
                if (characters[next] == Character::End) stem.length = length;
                return stem;
            }
            word |= std::uint64_t(next) << shift;
        }
    }
    return stem;
}

constexpr auto stems = [] {
    std::array<Stem, std::size(type_name_table)> result;
    std::ranges::transform(type_name_table, result.begin(),
                           [](const TypeNameRow& row) { return stem_of(row.name.data()); });
    return result;
}();

/// The first row of each letter from 'A' on; the last entry is the end of the table.
constexpr auto first_rows = [] {
    std::array<std::uint8_t, 'Z' - 'A' + 2> result{};
    const auto letter_of = [](const TypeNameRow& row) { return row.name.front(); };
    for (std::size_t i = 0; i < result.size(); ++i) {
        const char letter = static_cast<char>('A' + i);
        const auto* row = std::ranges::lower_bound(type_name_table, letter, {}, letter_of);
        result[i] = static_cast<std::uint8_t>(row - std::begin(type_name_table));
    }
    return result;
}();

constexpr bool is_string(FdxDataType type) {
    return type == FdxDataType::String || type == FdxDataType::WString;
}

/// Requires a name that begins with the row's stem.
bool matches(const TypeNameRow& row, const char* name, std::size_t stem_length) {
    const char* rest = name + stem_length;
    if (row.match == TypeNameMatch::Exact) {
        const char* rest_of_row = row.name.data() + stem_length; // is empty for most rows
        return *rest == *rest_of_row && (*rest == '\0' || std::strcmp(rest, rest_of_row) == 0);
    }
    return *rest == '\0' || *rest == '(' || (*rest == '[' && is_string(row.type));
}

/// Returns null for a name without a row.
const TypeNameRow* find_row(const char* name) {
    const Stem stem = stem_of(name);
    const auto letter = static_cast<unsigned char>(*name - 'A');
    if (stem.length == 0 || letter + 1U >= first_rows.size()) return nullptr;
    for (std::size_t i = first_rows[letter]; i < first_rows[letter + 1U]; ++i) {
        const TypeNameRow& row = type_name_table[i];
        if (stems[i] == stem) return matches(row, name, stem.length) ? &row : nullptr;
    }
    return nullptr;
}

bool starts_with(const char* text, std::string_view prefix) {
    return *text == prefix.front() && std::strncmp(text, prefix.data(), prefix.size()) == 0;
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

/// "BOOL", or "BOOL(" with any text behind it.
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
        // An alias of a Boolean stays a Boolean, although "BIT8" and "BYTE" name a number.
        if (type == FdxDataType::UInt8 && *name == 'B' && base_name != nullptr && is_boolean(base_name))
            type = FdxDataType::Bit;
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
    // Unsigned: the number may be the maximum of its type.
    const unsigned length = unsigned(std::strtol(name.c_str() + mark + mark_length, nullptr, 10)) + 1;
    return type == FdxDataType::WString ? length * 2 : length;
}

} // namespace ZoHmiFdx
