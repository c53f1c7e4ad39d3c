#include "extension/host/value.h"
#include "support/error_text.h"
#include "support/extension_result.h"
#include "support/guid.h"
#include "support/numeric.h"
#include "tests/server_api/values.h"
#include "tests/support/checksum.h"
#include "tests/test_headers.h"

using namespace std::string_literals;
using namespace ZoHmiSrv;
using Algorithm::guid_from_string;
using Algorithm::integer_to_hex;
using Algorithm::saturating_cast;
using Algorithm::uuid_to_string;

namespace {

std::string pretty(int number) {
    return get_error_string_pretty(static_cast<ErrorValue>(number), ErrorMessageDetails::standard);
}

std::string name_of(int number) {
    return get_error_string(static_cast<ErrorValue>(number)).name();
}

TEST(ErrorText, TableIsComplete) {
    std::set<std::string> names;
    std::string table;
    for (int number = -1; number < 0x2000; ++number) {
        const std::string text = pretty(number);
        EXPECT_EQ(text.empty(), name_of(number).empty()) << number;
        if (text.empty()) continue;
        EXPECT_TRUE(names.insert(name_of(number)).second) << text;
        EXPECT_TRUE(text.ends_with(" (HMI_E_" + name_of(number) + ")")) << text;
        table += integer_to_hex(number, true, false, false) + " " + text + "\n";
    }
    EXPECT_EQ(names.size(), 139u);
    EXPECT_EQ(crc32(table), 851384976u) << table;
    EXPECT_EQ(pretty(0x0), "No Error: Success (HMI_E_SUCCESS)");
    EXPECT_EQ(pretty(0x202), "Schmea missing (HMI_E_SYMBOL_SCHEMA_MISSING)");
    EXPECT_EQ(pretty(std::numeric_limits<int>::min()), "");
}

TEST(ErrorText, AddErrorFillsStruct) {
    Value value;
    add_error(value, "first", HMI_E_FAIL, nullptr, "");
    add_error(value, "second", HMI_E_CONNECT, "No answer.", "The cable is out.");
    EXPECT_EQ(values::show(value),
              "{first: struct {code: Int(257), message: 'Command failed (HMI_E_FAIL)'}, "
              "second: struct {code: Int(1294), message: 'No answer.', reason: 'The cable is out.'}}");
}

TEST(ExtensionResultStream, FinishesTheText) {
    using Stream = ExtensionResultStream;
    const std::pair<ExtensionResult, const char*> cases[] = {
        {Stream(7), ""},
        {Stream(7, "PLC.x"), " [PLC.x]"},
        {Stream(7) << "Type "
                   << "INT"s
                   << " is too small",
         "Type 'INT' is too small."},
        {Stream(7, "PLC.x") << "Done.", "Done. [PLC.x]"},
        {Stream(7, "PLC.x") << "Size " << 4u << ", index " << -1L << ", factor " << 0.5,
         "Size 4, index -1, factor 0.5. [PLC.x]"},
        {Stream(7) << static_cast<const char*>(nullptr), ""},
        {Stream(7) << ""s, "''."},
    };
    for (const auto& [result, text] : cases) {
        EXPECT_EQ(result.code(), 7);
        EXPECT_EQ(result.text(), text);
    }
}

TEST(Numeric, DoublesSaturate) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    EXPECT_EQ(saturating_cast<std::int32_t>(nan), 0);
    EXPECT_EQ(saturating_cast<std::int32_t>(2147483646.9), 2147483646);
    EXPECT_EQ(saturating_cast<std::int32_t>(2147483648.0), 2147483647);
    EXPECT_EQ(saturating_cast<std::int32_t>(-2147483648.9), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(saturating_cast<std::int64_t>(9223372036854775808.0), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(saturating_cast<std::int64_t>(-inf), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(saturating_cast<std::uint64_t>(inf), std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(saturating_cast<std::uint64_t>(-0.5), 0u);
    EXPECT_EQ(saturating_cast<std::int8_t>(128.0), 127);
    EXPECT_EQ(Algorithm::uint32_from_double(4294967295.0), 4294967295u);
    EXPECT_EQ(Algorithm::uint32_from_double(-1.0), 4294967295u);
    EXPECT_EQ(Algorithm::uint32_from_double(4294967297.0), 1u);
    EXPECT_EQ(Algorithm::uint32_from_double(nan), 0u);
}

TEST(Numeric, HexadecimalPadsAndPrefixes) {
    EXPECT_EQ(integer_to_hex(0x1B, true, false, true), "0x1b");
    EXPECT_EQ(integer_to_hex<int>(static_cast<int>(0x98110745), true, true, true), "0x98110745");
    EXPECT_EQ(integer_to_hex<std::int8_t>(-1, false, false, true), "ff");
    EXPECT_EQ(integer_to_hex<std::uint16_t>(0xABC, false, true, false), "00000abc");
}

TEST(Guid, TextRoundTripsAndBadTextIsRefused) {
    const GUID guid{0x01234567, 0x89AB, 0xCDEF, {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF}};
    const std::string text = "01234567-89AB-CDEF-0123-456789ABCDEF";
    EXPECT_EQ(uuid_to_string(guid, false), text);
    EXPECT_EQ(uuid_to_string(guid, true), "{" + text + "}");
    EXPECT_EQ(uuid_to_string(GUID{}, true), "{00000000-0000-0000-0000-000000000000}");

    const struct {
        std::string text;
        bool allow_braces, read;
    } cases[] = {
        {text, false, true},
        {"01234567-89ab-cdef-0123-456789ABcdef", false, true},
        {"{" + text + "}", true, true},
        {"{" + text + "}", false, false},
        {"{" + text, true, false},
        {"{}", true, false},
        {"01234567-89AB-CDEF-0123-456789ABCDEG", false, false},
        {"01234567089AB-CDEF-0123-456789ABCDEF", false, false},
        {"01234567-89AB-CDEF-0123-456789ABCDE\0"s, false, false},
    };
    for (const auto& row : cases) {
        const auto read = guid_from_string(row.text, row.allow_braces);
        EXPECT_EQ(read.has_value(), row.read) << row.text;
        EXPECT_EQ(read.value_or(guid), guid) << row.text;
    }
}

} // namespace
