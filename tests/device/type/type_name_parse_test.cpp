#include "device/type/type_name.h"
#include "tests/device/rows.h"
#include "tests/server_api/allocations.h"
#include "tests/test_headers.h"

#include <initializer_list>
#include <ostream>

using namespace std::string_literals;
using namespace ZoHmiFdx;
using ZoHmiSrv::ValueType;

namespace {

constexpr auto untouched_type = FdxDataType(0xABCD);
constexpr auto untouched_value = ValueType::Event;

struct Parsed {
    int result = 0;
    FdxDataType type = untouched_type;
    ValueType value = untouched_value;

    friend bool operator==(const Parsed&, const Parsed&) = default;
    friend std::ostream& operator<<(std::ostream& stream, const Parsed& parsed) {
        return stream << std::hex << parsed.result << " type 0x" << unsigned(parsed.type) << " value type "
                      << value_type_to_string(parsed.value);
    }
};

constexpr Parsed unknown = {};
constexpr Parsed refused = {FDXERR_DEVICE_INVALIDDATA};

Parsed parse(int size, const char* name, const char* base_name = nullptr) {
    Parsed parsed;
    parsed.result = parse_fdx_type_string(size, name, &parsed.value, &parsed.type, base_name);
    return parsed;
}

TEST(TypeName, Parse) {
    constexpr Parsed int16 = {0, FdxDataType::Int16, ValueType::Int};
    constexpr Parsed uint8 = {0, FdxDataType::UInt8, ValueType::Int};
    constexpr Parsed boolean = {0, FdxDataType::Bit, ValueType::Bool};
    constexpr Parsed wide_string = {0, FdxDataType::WString, ValueType::String};
    const struct {
        int size;
        const char* name;
        Parsed expected;
        const char* base_name = nullptr;
    } cases[] = {
        {-1, nullptr, refused, "INT"},
        {-1, "", unknown},
        {-1, "", int16, "INT"},
        {4, "", refused, "INT"},
        {-1, "FB_Axis", unknown, "INT"}, // the base name counts for an empty name alone
        // Sizes, other than those of the whole table below.
        {-2, "DINT", refused},
        {4 + 256, "DINT", refused},
        {-7, "BOOL", boolean},
        {1000, "WSTRING", wide_string},
        {2 + 256, "XINT", refused},
        {8, "POINTER TO", unknown},
        {8, " POINTER TO INT", unknown},
        // What may follow a name.
        {-1, "IN", unknown},
        {-1, "BOOL (VAR_IN_OUT", unknown},
        {-1, "BOOL (VAR_IN_OUT)x", unknown},
        {-1, "LDATE_AND_TIME_OF_DAY", unknown},
        {-1, "int", unknown},
        {-1, "\xC4\x42", unknown},
        {-1, "@", unknown},
        // An alias of a Boolean.
        {-1, "BYTE", uint8, "BOOL (VAR_IN_OUT)"},
        {-1, "BYTE", uint8, "BOOL[1]"},
        {-1, "", boolean, "BOOL"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(parse(c.size, c.name, c.base_name), c.expected)
            << c.size << " " << (c.name ? c.name : "null") << " base " << (c.base_name ? c.base_name : "null");
    }
}

TEST(TypeName, ParseKeepsVectorAllowsNullOutputs) {
    auto value = ValueType::Vector;
    auto type = untouched_type;
    EXPECT_EQ(parse_fdx_type_string(-1, "INT", &value, &type, nullptr), 0);
    EXPECT_EQ(value, ValueType::Vector);
    EXPECT_EQ(type, FdxDataType::Int16);

    type = untouched_type;
    EXPECT_EQ(parse_fdx_type_string(-1, "LREAL", nullptr, &type, nullptr), 0);
    EXPECT_EQ(type, FdxDataType::LReal);
    value = untouched_value;
    EXPECT_EQ(parse_fdx_type_string(-1, "LREAL", &value, nullptr, nullptr), 0);
    EXPECT_EQ(value, ValueType::Double);
    EXPECT_EQ(parse_fdx_type_string(4, "LREAL", nullptr, nullptr, nullptr), FDXERR_DEVICE_INVALIDDATA);
}

/// All names of elementary types, and the prefixes of indirections.
std::vector<std::string> type_names() {
    std::istringstream list(
        "BIT;BOOL;BOOL "
        "(VAR_IN_OUT);BIT8;BYTE;BIT2;BIT3;BIT4;BIT5;BIT6;BIT7;DWORD;DINT;DOUBLE;DATE_AND_TIME;DATE;DT;ENUM;FLOAT;"
        "HRESULT;INT16;INT;INT32;INT8;INT24;INT40;INT48;INT56;INT64;LREAL;LTIME;LWORD;LINT;LDATE_AND_TIME;LDATE;LDT;"
        "LTIME_OF_DAY;LTOD;STRING;SINT;TIME;TIME_OF_DAY;TOD;UINT16;UINT;UINT32;UDINT;UINT8;USINT;ULINT;UINT64;UINT24;"
        "UINT40;UINT48;UINT56;UXINT;WORD;WSTRING;XINT;XWORD;REAL;REAL32;REAL64;POINTER TO ;REFERENCE TO ");
    std::vector<std::string> names;
    for (std::string name; std::getline(list, name, ';');)
        names.push_back(name);
    return names;
}

std::string line(std::string text, std::initializer_list<unsigned> numbers) {
    for (const unsigned number : numbers)
        text += " " + std::to_string(number);
    return text + "\n";
}

// A row for each name: with several suffixes, base names and all sizes.
TEST(TypeName, ParseAllRows) {
    std::vector<std::string> rows;
    std::size_t allocated = 0;
    for (const std::string& name : type_names()) {
        rows.push_back(name);
        for (const char* suffix : {"", "(0..7)", "[4]", " ", "(", "[", "8", "_TIME"}) {
            const std::string text = name + suffix;
            for (const char* base_name : {static_cast<const char*>(nullptr), "BOOL", "BOOL(1)", "BYTE"}) {
                for (int size = -1; size < 10; ++size) {
                    auto value = ValueType::Null;
                    auto type = FdxDataType::Void;
                    int result = 0;
                    allocated += allocations::during(
                        [&] { result = parse_fdx_type_string(size, text.c_str(), &value, &type, base_name); });
                    rows.back() += line("", {unsigned(result), unsigned(type), unsigned(value)});
                }
            }
        }
    }
    EXPECT_EQ(allocated, 0U);
    expect_rows(rows, "416893b0819e36b475cc7daae21212652e2e93f119a5e635e98f524233fc54593", 404870323u);
}

TEST(DataType, AllRows) {
    std::vector<std::string> rows;
    for (unsigned number = 0; number < 0x200; ++number) {
        const auto type = FdxDataType(number);
        const auto size = unsigned(calculate_size(type));
        EXPECT_EQ(is_fundamental_type(type), size != 0) << number;
        const auto row = line(default_itemname(type),
                              {size, unsigned(equivalent_hmi_datatype(type)), fdx_type_can_have_subrange(type)});
        if (row != line("", {0, 0, 0})) rows.push_back(line(row, {number}));
    }
    expect_rows(rows, "532ecd4809dca3ccce1a1bad39", 46604091u);
    EXPECT_EQ(equivalent_hmi_datatype(FdxDataType(0xFFFFFFFF)), ValueType::Null);
}

TEST(TypeName, AmendComposite) {
    const std::tuple<int, const char*, unsigned, unsigned> cases[] = {
        {8, "LTIME", 0x41, 0x10B}, {4, "LTIME", 0x41, 0x41},   {4, "LTIME", 3, 3},  {8, "POINTER TO INT", 0x41, 0x15},
        {4, "TIME", 0x41, 0x109},  {8, "ST_Pump", 0x41, 0x41}, {8, "", 0x41, 0x41}, {8, nullptr, 0x41, 0x41},
        {8, nullptr, 77, 77},
    };
    for (const auto& [size, name, type, expected] : cases)
        EXPECT_EQ(amend_fdx_datatype(size, name, type), expected) << (name ? name : "null") << size;
}

TEST(TypeName, Predicates) {
    constexpr auto known = [](const std::string& name) { return unsigned(is_known_general_itemname(name)); };
    constexpr auto direct = [](const std::string& name) { return unsigned(is_direct_access_supported_for_type(name)); };
    constexpr auto method = [](const std::string& name) { return unsigned(flags_from_method_name(name)); };
    const std::tuple<unsigned (*)(const std::string&), unsigned, std::vector<std::string>> cases[] = {
        {known, 1, {"BITARR8", "OZOID", "REAL80", "STRING(80)"}},
        {known, 0, {"", "INT48", "ENUM", "XINT", "WSTRING", "STRING", "STRING(81)", "INT\0"s}},
        {direct, 1, {"", "BIT", "BIT1", "BIT8", "BIT25", "BIT2 ", "XIT2", "bit2"}},
        {direct, 0, {"BIT2", "BIT5", "BIT7"}},
        {method, 0, {"", "__ge", "__Get", "get", "_get_x", "x__get"}},
        {method, 3, {"__get", "__getSpeed", "__getter"}},
        {method, 5, {"__set", "__setSpeed"}},
        {flags_from_datatype_name, 1, {"", "INT", "POINTER TO", "REFERENCE TO", "pointer to INT", " POINTER TO INT"}},
        {flags_from_datatype_name, 2, {"REFERENCE TO INT"}},
        {flags_from_datatype_name, 4, {"POINTER TO REFERENCE TO INT"}},
    };
    for (const auto& [function, expected, names] : cases)
        for (const std::string& name : names)
            EXPECT_EQ(function(name), expected) << name;
    EXPECT_EQ(std::ranges::count_if(type_names(), is_known_general_itemname), 54);
}

TEST(TypeName, StringSize) {
    const std::pair<std::string, std::optional<unsigned>> cases[] = {
        {"WSTRING(80)", 81},
        {"STRING(+7)", 8},
        {"STRING(", 1},
        {"STRING[5] STRING(9)", 10}, // the parenthesis is looked for first
        {"STRING(0)", 1},
        {"STRING(-5)", 4294967292},
        {"STRING(4294967295)", 0},
        {"STRING(99999999999999999999999)", 0}, // the greatest long, its low bits, plus one
        {"STRING", std::nullopt},
        {"RING(80)", std::nullopt},
    };
    for (const auto& [name, narrow] : cases) {
        EXPECT_EQ(parse_size_from_string_typename(name, FdxDataType::String), narrow) << name;
        const auto wide = narrow ? std::optional(*narrow * 2) : std::nullopt;
        EXPECT_EQ(parse_size_from_string_typename(name, FdxDataType::WString), wide) << name;
    }
    EXPECT_EQ(parse_size_from_string_typename("WSTRING(80)", FdxDataType::Int16), 81U);
}

TEST(DataType, SmallTests) {
    for (const auto& [type, size] :
         {std::pair{FdxDataType::UInt16, 2}, {FdxDataType::UInt32, 4}, {FdxDataType::UInt64, 8}})
        for (std::size_t other = 0; other < 10; ++other)
            EXPECT_EQ(is_potential_memory_address(type, other), other == std::size_t(size)) << size << other;
    EXPECT_FALSE(is_potential_memory_address(FdxDataType::Int64, 8));

    EXPECT_TRUE(is_safe_integer(9007199254740991) && is_safe_integer(-9007199254740991) && is_safe_integer(0));
    EXPECT_FALSE(is_safe_integer(9007199254740992) || is_safe_integer(-9007199254740992) ||
                 is_safe_integer(std::numeric_limits<long>::min()));

    EXPECT_EQ(size_in_full_bytes(~0x20U, 9), 9U);
    EXPECT_EQ(size_in_full_bytes(0x20, 0), 0U);
    EXPECT_EQ(size_in_full_bytes(0x20, 9), 2U);
    EXPECT_EQ(size_in_full_bytes(0x20, 0xFFFFFFFF), 0x20000000U);
}

} // namespace
