#pragma once

#include "device/type/data_type.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string_view>

namespace ZoHmiFdx {

enum class TypeNameMatch : std::uint8_t {
    Exact,
    Prefix, ///< a "(" may follow the name, and a "[" the two names of strings
};

/// The rule for the size that the device sends with a type name.
enum class TypeNameSize : std::uint8_t {
    Checked,       ///< must be the size of the type
    Ignored,       ///< may be any number
    PicksSigned,   ///< 2, 4 or 8 picks the type
    PicksUnsigned, ///< 2, 4 or 8 picks the type
};

struct TypeNameRow {
    std::string_view name;
    TypeNameMatch match;
    TypeNameSize size;
    FdxDataType type; ///< Void if the size picks the type
};

/// Sorted by the first letter; within a letter, names that programs use often come first.
inline constexpr TypeNameRow type_name_table[] = {
    {"BIT", TypeNameMatch::Exact, TypeNameSize::Checked, FdxDataType::Bit},
    {"BOOL", TypeNameMatch::Exact, TypeNameSize::Ignored, FdxDataType::Bit},
    {"BOOL (VAR_IN_OUT)", TypeNameMatch::Exact, TypeNameSize::Ignored, FdxDataType::Bit},
    {"BIT8", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::UInt8},
    {"BYTE", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::UInt8},
    {"BIT2", TypeNameMatch::Exact, TypeNameSize::Checked, FdxDataType::Int8},
    {"BIT3", TypeNameMatch::Exact, TypeNameSize::Checked, FdxDataType::Int8},
    {"BIT4", TypeNameMatch::Exact, TypeNameSize::Checked, FdxDataType::Int8},
    {"BIT5", TypeNameMatch::Exact, TypeNameSize::Checked, FdxDataType::Int8},
    {"BIT6", TypeNameMatch::Exact, TypeNameSize::Checked, FdxDataType::Int8},
    {"BIT7", TypeNameMatch::Exact, TypeNameSize::Checked, FdxDataType::Int8},
    {"DWORD", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::UInt32},
    {"DINT", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::Int32},
    {"DOUBLE", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::LReal},
    {"DATE_AND_TIME", TypeNameMatch::Exact, TypeNameSize::Checked, FdxDataType::DateAndTime},
    {"DATE", TypeNameMatch::Exact, TypeNameSize::Checked, FdxDataType::DateAndTime},
    {"DT", TypeNameMatch::Exact, TypeNameSize::Checked, FdxDataType::DateAndTime},
    {"ENUM", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::Int16},
    {"FLOAT", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::Real},
    {"HRESULT", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::UInt32},
    {"INT16", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::Int16},
    {"INT", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::Int16},
    {"INT32", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::Int32},
    {"INT8", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::Int8},
    {"INT24", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::Int24},
    {"INT40", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::Int40},
    {"INT48", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::Int48},
    {"INT56", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::Int56},
    {"INT64", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::Int64},
    {"LREAL", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::LReal},
    {"LTIME", TypeNameMatch::Exact, TypeNameSize::Checked, FdxDataType::LTime},
    {"LWORD", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::UInt64},
    {"LINT", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::Int64},
    {"LDATE_AND_TIME", TypeNameMatch::Exact, TypeNameSize::Checked, FdxDataType::LDateAndTime},
    {"LDATE", TypeNameMatch::Exact, TypeNameSize::Checked, FdxDataType::LDateAndTime},
    {"LDT", TypeNameMatch::Exact, TypeNameSize::Checked, FdxDataType::LDateAndTime},
    {"LTIME_OF_DAY", TypeNameMatch::Exact, TypeNameSize::Checked, FdxDataType::LTime},
    {"LTOD", TypeNameMatch::Exact, TypeNameSize::Checked, FdxDataType::LTime},
    {"REAL", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::Real},
    {"REAL32", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::Real},
    {"REAL64", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::LReal},
    {"STRING", TypeNameMatch::Prefix, TypeNameSize::Ignored, FdxDataType::String},
    {"SINT", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::Int8},
    {"TIME", TypeNameMatch::Exact, TypeNameSize::Checked, FdxDataType::Time},
    {"TIME_OF_DAY", TypeNameMatch::Exact, TypeNameSize::Checked, FdxDataType::Time},
    {"TOD", TypeNameMatch::Exact, TypeNameSize::Checked, FdxDataType::Time},
    {"UINT16", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::UInt16},
    {"UINT", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::UInt16},
    {"UINT32", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::UInt32},
    {"UDINT", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::UInt32},
    {"UINT8", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::UInt8},
    {"USINT", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::UInt8},
    {"ULINT", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::UInt64},
    {"UINT64", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::UInt64},
    {"UINT24", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::UInt24},
    {"UINT40", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::UInt40},
    {"UINT48", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::UInt48},
    {"UINT56", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::UInt56},
    {"UXINT", TypeNameMatch::Prefix, TypeNameSize::PicksUnsigned, FdxDataType::Void},
    {"WORD", TypeNameMatch::Prefix, TypeNameSize::Checked, FdxDataType::UInt16},
    {"WSTRING", TypeNameMatch::Prefix, TypeNameSize::Ignored, FdxDataType::WString},
    {"XINT", TypeNameMatch::Prefix, TypeNameSize::PicksSigned, FdxDataType::Void},
    {"XWORD", TypeNameMatch::Prefix, TypeNameSize::PicksUnsigned, FdxDataType::Void},
};
static_assert(std::ranges::is_sorted(type_name_table, {}, [](const TypeNameRow& row) { return row.name.front(); }));

/// The names of types that need no declaration, sorted.
inline constexpr std::string_view general_item_names[] = {
    "BIT",     "BIT2",         "BIT3",       "BIT4",   "BIT5",           "BIT6",   "BIT7",   "BIT8",
    "BITARR8", "BOOL",         "BYTE",       "DATE",   "DATE_AND_TIME",  "DINT",   "DOUBLE", "DT",
    "DWORD",   "FLOAT",        "HRESULT",    "INT",    "INT16",          "INT24",  "INT32",  "INT40",
    "INT56",   "INT64",        "INT8",       "LDATE",  "LDATE_AND_TIME", "LDT",    "LINT",   "LREAL",
    "LTIME",   "LTIME_OF_DAY", "LTOD",       "LWORD",  "OZOID",          "REAL",   "REAL32", "REAL64",
    "REAL80",  "SINT",         "STRING(80)", "TIME",   "TIME_OF_DAY",    "TOD",    "UDINT",  "UINT",
    "UINT16",  "UINT24",       "UINT32",     "UINT40", "UINT56",         "UINT64", "UINT8",  "ULINT",
    "USINT",   "WORD",
};
static_assert(std::ranges::is_sorted(general_item_names));

} // namespace ZoHmiFdx
