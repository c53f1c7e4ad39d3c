#include "support/utf8.h"
#include "tests/test_headers.h"

#include <stdexcept>

using namespace std::string_literals;
using namespace ZoHmiSrv::UTF8;

namespace {

template <class Function>
std::string range_error_of(Function convert) {
    try {
        static_cast<void>(convert());
    } catch (const std::range_error& error) {
        return error.what();
    }
    return "converted";
}

const std::string from_bytes = "wstring_convert: from_bytes error";
const std::string to_bytes = "wstring_convert: to_bytes error";
const std::string nothing = "successful conversion converted nothing";

TEST(Utf8, ConvertsCharactersAtEachLengthLimit) {
    const struct {
        char32_t character;
        const char* utf8;
        std::u16string utf16;
    } cases[] = {
        {0x7F, "\x7F", u"\x7F"},
        {0x80, "\xC2\x80", u"\x80"},
        {0x800, "\xE0\xA0\x80", u"\x800"},
        {0xFEFF, "\xEF\xBB\xBF", u"\xFEFF"}, // a byte order mark is a character like any other
        {0xFFFF, "\xEF\xBF\xBF", u"\xFFFF"},
        {0x1F600, "\xF0\x9F\x98\x80", {char16_t(0xD83D), char16_t(0xDE00)}},
        {0x10FFFF, "\xF4\x8F\xBF\xBF", {char16_t(0xDBFF), char16_t(0xDFFF)}},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(static_cast<unsigned>(row.character));
        const std::wstring wide(1, static_cast<wchar_t>(row.character));
        EXPECT_EQ(to_u16string(row.utf8), row.utf16);
        EXPECT_EQ(from_u16string(row.utf16), row.utf8);
        EXPECT_EQ(to_wstring(row.utf8), wide);
        EXPECT_EQ(from_wstring(wide), row.utf8);
        EXPECT_TRUE(is_utf8(row.utf8));
        EXPECT_EQ(count_utf8_codepoints(row.utf8), 1u);
    }
}

TEST(Utf8, EveryCharacterSurvivesRoundTrip) {
    std::wstring all;
    for (char32_t c = 0; c <= 0x10FFFF; ++c)
        if (c < 0xD800 || c > 0xDFFF) all += static_cast<wchar_t>(c);
    const std::string utf8 = from_wstring(all);
    EXPECT_TRUE(to_wstring(utf8) == all);
    EXPECT_TRUE(from_u16string(to_u16string(utf8)) == utf8);
    EXPECT_EQ(to_u16string(utf8).size(), all.size() + 0x100000);
    EXPECT_TRUE(is_utf8(std::vector<unsigned char>(utf8.begin(), utf8.end())));
}

TEST(Utf8, MalformedTextThrowsItsReason) {
    const struct {
        std::string text, error;
    } cases[] = {
        {"\x80", from_bytes},     // a continuation alone
        {"\xC0\x80", from_bytes}, // overlong
        {"\xE0\x9F\xBF", from_bytes},
        {"\xF0\x8F\xBF\xBF", from_bytes},
        {"\xED\xA0\x80", from_bytes},     // surrogates
        {"\xF4\x90\x80\x80", from_bytes}, // above the highest code point
        {"\xFF", from_bytes},
        {"\xC3\x41", from_bytes}, // interrupted
        {"\xE2\x82\x41", from_bytes},
        {"\xC3", nothing}, // the whole text is the start of one character
        {"\xF0\x9F\x98", nothing},
        {"\xED\xA0", from_bytes}, // no character starts so
        {"a\xC3", from_bytes},    // truncated, but something was converted
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::PrintToString(row.text));
        EXPECT_FALSE(is_utf8(row.text.c_str()));
        EXPECT_FALSE(is_utf8(std::vector<unsigned char>(row.text.begin(), row.text.end())));
        EXPECT_EQ(range_error_of([&] { return to_wstring(row.text); }), row.error);
        EXPECT_EQ(range_error_of([&] { return to_u16string(row.text); }), row.error);
        EXPECT_EQ(range_error_of([&] { return utf8_to_windows1252(row.text); }), row.error);
    }
}

TEST(Utf8, InvalidWideTextThrows) {
    const std::u16string utf16[] = {
        {char16_t(0xD800)},
        {char16_t(0xDFFF)},
        {char16_t(0xDC00), char16_t(0xD800)},
        {char16_t(0xD800), u'a'},
        {u'a', char16_t(0xD800), char16_t(0xD800), char16_t(0xDC00)},
    };
    for (const auto& text : utf16)
        EXPECT_EQ(range_error_of([&] { return from_u16string(text); }), to_bytes);
    for (const wchar_t c : {wchar_t(0xD800), wchar_t(0xDFFF), wchar_t(0x110000), wchar_t(-1)})
        EXPECT_EQ(range_error_of([&] { return from_wstring(std::wstring(1, c)); }), to_bytes);
}

TEST(Utf8, EmptyTextsAndZeroBytes) {
    EXPECT_EQ(from_wstring({}), "");
    for (const char* empty : {"", static_cast<const char*>(nullptr)}) {
        EXPECT_TRUE(is_utf8(empty));
        EXPECT_EQ(count_utf8_codepoints(empty), 0u);
        EXPECT_TRUE(no_conversion_between_windows1252_and_utf8_needed(empty));
    }
    EXPECT_TRUE(is_utf8("a\0\xFF")); // the zero ends the text of a pointer alone
    EXPECT_FALSE(is_utf8(std::vector<unsigned char>{'a', 0, 0xFF}));
    for (const std::string& text : {""s, "a\0b"s}) {
        EXPECT_EQ(to_wstring(text), std::wstring(text.begin(), text.end()));
        EXPECT_EQ(utf8_to_windows1252(text), text);
    }
    EXPECT_EQ(count_utf8_codepoints("a\xC3\xA4\xE2\x82\xAC"), 3u);
    EXPECT_EQ(count_utf8_codepoints("ab\xFFxy"), 2u);
}

TEST(Utf8, FindsNonPrintableBytes) {
    for (int byte = 0; byte < 256; ++byte) {
        const std::string text = "ab"s + static_cast<char>(byte);
        EXPECT_EQ(has_non_printable(text), byte < 32 || byte == 127) << byte;
    }
}

TEST(Windows1252, AllButUndefinedBytesSurvive) {
    // The code page's own characters, with a space for each undefined byte.
    const std::wstring own = L"€ ‚ƒ„…†‡ˆ‰Š‹Œ Ž  ‘’“”•–—˜™š›œ žŸ";
    for (int number = 0; number < 256; ++number) {
        SCOPED_TRACE(number);
        const std::string byte(1, static_cast<char>(number));
        std::wstring expected(1, static_cast<wchar_t>(number));
        if (number >= 0x80 && number < 0xA0) expected[0] = own[static_cast<std::size_t>(number - 0x80)];
        const bool undefined = number != ' ' && expected == L" ";
        if (undefined) expected[0] = static_cast<wchar_t>(number);
        EXPECT_EQ(to_wstring(windows1252_to_utf8(byte)), expected);
        EXPECT_EQ(utf8_to_windows1252(from_wstring(expected)), undefined ? "" : byte);
    }
}

TEST(Windows1252, DropsCharactersOutsideCodePage) {
    EXPECT_EQ(utf8_to_windows1252("Ventil \xCE\xA9 \xF0\x9F\x98\x80\xC2\x80zu"), "Ventil  zu");
    EXPECT_TRUE(no_conversion_between_windows1252_and_utf8_needed("plain \x7F"));
    EXPECT_FALSE(no_conversion_between_windows1252_and_utf8_needed("gr\xFCn"));
    EXPECT_FALSE(no_conversion_between_windows1252_and_utf8_needed("\xC3\xBC"));
}

TEST(ArgumentVector, IsFreedWithItsEntries) {
    // The address sanitizer finds leaks and wrong frees.
    clear_winmain(nullptr, 3);
    clear_winmain(
        new char* [2] { new char[4], nullptr }, 2);
    clear_winmain(new char*[1], -1);
}

} // namespace
