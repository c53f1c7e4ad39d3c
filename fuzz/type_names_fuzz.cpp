// Type names as a device may send them. The input is a size in one byte, a name up to the first line feed, and behind
// it a second name, for the base name and the target.

#include "device/type/data_type.h"
#include "device/type/datatype_description.h"
#include "device/type/dialect.h"
#include "device/type/fix_type_description.h"
#include "device/type/indirection.h"
#include "device/type/type_name.h"
#include "device/type/type_name_escape.h"
#include "fuzz/require.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

using namespace ZoHmiFdx;
using ZoHmiSrv::ValueType;

namespace {

void parse(int size, const std::string& name, const std::string& base_name) {
    constexpr auto untouched_type = FdxDataType(0xABCD);
    auto value = ValueType::Event;
    auto type = untouched_type;
    const int result = parse_fdx_type_string(size, name.c_str(), &value, &type, base_name.c_str());
    require(result == 0 || result == FDXERR_DEVICE_INVALIDDATA);
    require(result == 0 || type == untouched_type);
    require((type == untouched_type) == (value == ValueType::Event));
    if (type != untouched_type) {
        require(value == equivalent_hmi_datatype(type) && value != ValueType::Null);
        require(size == -1 || type == FdxDataType::Bit || !is_fundamental_type(type) ||
                calculate_size(type) == std::size_t(size));
    }
    const unsigned amended = amend_fdx_datatype(size, name.c_str(), 0x41);
    require(amended == 0x41 || equivalent_hmi_datatype(FdxDataType(amended)) != ValueType::Null);
    (void)is_known_general_itemname(name);
    (void)is_direct_access_supported_for_type(name);
    (void)flags_from_method_name(name);
    (void)parse_size_from_string_typename(name, FdxDataType(unsigned(size)));
}

void analyze(const std::string& name, const std::string& target) {
    const auto result = analyze_indirection_type_names(name, target);
    require(result.dereference_operators.size() <= name.size() / pointer_prefix.size());
    require(name.ends_with(result.remainder));
    require(name == target || result.remainder.empty());
    require(is_indirection_strict(name) == (flags_from_datatype_name(name) != 1));
    require(is_indirection_strict(name) == !result.dereference_operators.empty());
}

void change_dialect(const std::string& name) {
    for (std::uint32_t bits = 0; bits < 4; ++bits) {
        const auto flags = DatatypeDialectFlags(bits);
        const std::string added = add_dialect_suffix(name, flags);
        require(bits == 0 || has_dialect_suffix(added));
        require((bits & 1) == 0 || has_readonly_dialect_suffix(added));
    }
    const std::string removed = remove_dialect_suffix_copy(name);
    require(name.starts_with(removed));
    require((removed != name) == has_dialect_suffix(name));
}

void escape(const std::string& name) {
    const std::string escaped = escape_datatype_name(name);
    require(escaped.find_first_of(" <>[]") == std::string::npos);
    require(escaped.size() <= name.size());
    require(escaped == name || name.find_first_of(" <>()[]") != std::string::npos);
}

void repair(const std::string& name) {
    DatatypeDescription description;
    description.fdx_type = FdxDataType::Int32;
    description.flags = flags_from_datatype_name(name);
    description.item_name = name;
    description.type_name = name;
    fix_type_description(description);
    require(description.attributes.size() == 0 || description.attributes.size() == 2);
    // Each repair of an indirection to itself shortens the name, so the repetition ends.
    for (std::size_t last = name.size() + 1; description.type_name.size() < last;) {
        last = description.type_name.size();
        description.item_name = description.type_name;
        fix_type_description(description);
        require(description.type_name.size() <= last);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const int type_size = int(*data) - 1;
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string name = text.substr(0, end);
    const std::string second = text.substr(std::min(end + 1, text.size()));

    parse(type_size, name, second);
    analyze(name, second);
    analyze(name, name);
    change_dialect(name);
    escape(name);
    repair(name);
    return 0;
}
