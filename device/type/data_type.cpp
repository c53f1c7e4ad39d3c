#include "device/type/data_type.h"

#include "device/type/detail/data_type_table.h"

namespace ZoHmiFdx {

std::size_t calculate_size(FdxDataType type) {
    return find_data_type(type).size;
}

bool is_fundamental_type(FdxDataType type) {
    return calculate_size(type) != 0;
}

ZoHmiSrv::ValueType equivalent_hmi_datatype(FdxDataType type) {
    return find_data_type(type).hmi_type;
}

std::string default_itemname(FdxDataType type) {
    return std::string(find_data_type(type).item_name);
}

bool fdx_type_can_have_subrange(FdxDataType type) {
    return type == FdxDataType::Int16 || type == FdxDataType::Int32 ||
           (type >= FdxDataType::Int8 && type <= FdxDataType::UInt64) ||
           (type >= FdxDataType::Int24 && type <= FdxDataType::UInt56 && type != FdxDataType::Int56);
}

bool is_potential_memory_address(FdxDataType type, std::size_t size) {
    return (type == FdxDataType::UInt16 && size == 2) || (type == FdxDataType::UInt32 && size == 4) ||
           (type == FdxDataType::UInt64 && size == 8);
}

bool is_safe_integer(long value) {
    constexpr long limit = (1L << 53) - 1;
    return value >= -limit && value <= limit;
}

unsigned size_in_full_bytes(unsigned flags, unsigned size) {
    constexpr unsigned size_in_bits = 1U << 5;
    return (flags & size_in_bits) == 0 ? size : size / 8 + (size % 8 != 0);
}

} // namespace ZoHmiFdx
