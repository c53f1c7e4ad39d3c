#pragma once

#include "device/type/data_type.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace ZoHmiFdx {

struct DataTypeRow {
    FdxDataType type;
    std::string_view item_name;
    std::uint8_t size; ///< bytes, 0 for no fixed size
    ZoHmiSrv::ValueType hmi_type;
};

/// UInt32 is a Double: the server's Int has 32 bits with a sign.
inline constexpr DataTypeRow data_type_table[] = {
    {FdxDataType::Int16, "INT16", 2, ZoHmiSrv::ValueType::Int},
    {FdxDataType::Int32, "INT32", 4, ZoHmiSrv::ValueType::Int},
    {FdxDataType::Real, "REAL", 4, ZoHmiSrv::ValueType::Double},
    {FdxDataType::LReal, "LREAL", 8, ZoHmiSrv::ValueType::Double},
    {FdxDataType::Int8, "INT8", 1, ZoHmiSrv::ValueType::Int},
    {FdxDataType::UInt8, "UINT8", 1, ZoHmiSrv::ValueType::Int},
    {FdxDataType::UInt16, "UINT16", 2, ZoHmiSrv::ValueType::Int},
    {FdxDataType::UInt32, "UINT32", 4, ZoHmiSrv::ValueType::Double},
    {FdxDataType::Int64, "INT64", 8, ZoHmiSrv::ValueType::Int64},
    {FdxDataType::UInt64, "UINT64", 8, ZoHmiSrv::ValueType::UInt64},
    {FdxDataType::String, "", 0, ZoHmiSrv::ValueType::String},
    {FdxDataType::WString, "", 0, ZoHmiSrv::ValueType::String},
    {FdxDataType::Real80, "REAL80", 0, ZoHmiSrv::ValueType::Double},
    {FdxDataType::Bit, "BIT", 1, ZoHmiSrv::ValueType::Bool},
    {FdxDataType::Composite, "", 0, ZoHmiSrv::ValueType::Null},
    {FdxDataType::Int24, "INT24", 3, ZoHmiSrv::ValueType::Int},
    {FdxDataType::UInt24, "UINT24", 3, ZoHmiSrv::ValueType::Int},
    {FdxDataType::Int40, "INT40", 5, ZoHmiSrv::ValueType::Int64},
    {FdxDataType::UInt40, "UINT40", 5, ZoHmiSrv::ValueType::UInt64},
    {FdxDataType::Int48, "INT48", 6, ZoHmiSrv::ValueType::Int64},
    {FdxDataType::UInt48, "UINT48", 6, ZoHmiSrv::ValueType::UInt64},
    {FdxDataType::Int56, "INT56", 7, ZoHmiSrv::ValueType::Int64},
    {FdxDataType::UInt56, "UINT56", 7, ZoHmiSrv::ValueType::UInt64},
    {FdxDataType::Time, "TIME", 4, ZoHmiSrv::ValueType::TimeSpan},
    {FdxDataType::DateAndTime, "DATE_AND_TIME", 4, ZoHmiSrv::ValueType::DateTime},
    {FdxDataType::LTime, "LTIME", 8, ZoHmiSrv::ValueType::TimeSpan},
    {FdxDataType::LDateAndTime, "LDATE_AND_TIME", 8, ZoHmiSrv::ValueType::DateTime},
};

/// The row of all other numbers.
inline constexpr DataTypeRow no_data_type = {FdxDataType::Void, "", 0, ZoHmiSrv::ValueType::Null};

/// Joins the two dense ranges of types. Other numbers may share a position with a type.
constexpr std::size_t data_type_position(FdxDataType type) {
    constexpr std::uint32_t codes = std::uint32_t(FdxDataType::Composite) + 1;
    constexpr auto first_name = std::uint32_t(FdxDataType::Int24);
    const auto number = std::uint32_t(type);
    return number < first_name ? number : std::size_t(number) - first_name + codes;
}

inline constexpr auto data_type_rows_by_position = [] {
    std::array<const DataTypeRow*, data_type_position(FdxDataType::LDateAndTime) + 1> result;
    result.fill(&no_data_type);
    for (const DataTypeRow& row : data_type_table)
        result[data_type_position(row.type)] = &row;
    return result;
}();

constexpr const DataTypeRow& find_data_type(FdxDataType type) {
    const std::size_t position = data_type_position(type);
    if (position >= data_type_rows_by_position.size()) return no_data_type;
    const DataTypeRow& row = *data_type_rows_by_position[position];
    return row.type == type ? row : no_data_type;
}

} // namespace ZoHmiFdx
