#include "device/code/connection_state.h"
#include "device/code/result_codes.h"
#include "device/code/symbols_info.h"
#include "extension/host/command.h"
#include "tests/device/rows.h"
#include "tests/test_headers.h"

#include <cstdio>

using namespace ZoHmiFdx;
using ZoHmiSrv::ExtensionResult;

namespace {

int code(unsigned bits) {
    return static_cast<int>(bits);
}

/// Number and name of each code in a range that has a name.
std::vector<std::string> listing(int first, int last, const char* (*name_of)(int), const std::string& none) {
    std::vector<std::string> rows;
    for (int number = first; number <= last; ++number) {
        const std::string name = name_of(number);
        if (name == none) continue;
        char hex[16];
        std::snprintf(hex, sizeof hex, "%x ", static_cast<unsigned>(number));
        rows.push_back(hex + name + "\n");
    }
    return rows;
}

TEST(ResultCodes, AllRows) {
    expect_rows(listing(-10, 0x20000, native_fdx_error_to_string, "FDX_API_UNKNOWN_RETURN_CODE"),
                "0e6f79da535ed2788c5469d06dab780a5f518c2a0a1f52917772614aee3c7d79342e23e37bb951d13036dbda2d11137115c2b7"
                "7d28d2b9f779c9dbbc",
                1387391994u);
    expect_rows(listing(0x100000, 0x110000, fdx_error_to_string, "HMI_FDX_IMPL_UNREGISTERED_ERROR_CODE"),
                "c4d26bc3e6c4ed967e82bbbb2a71ab90c1af", 2567120750u);
}

TEST(ResultCodes, Names) {
    const std::pair<unsigned, const char*> cases[] = {
        {0, "HMI_FDX_SUCCESS"},
        {0x100014, "HMI_FDX_IMPL_UNREGISTERED_ERROR_CODE"},
        {0x100701, "HMI_FDX_IMPL_UNREGISTERED_ERROR_CODE"}, // the library's bit alone is no HRESULT
        {0x98110000, "FDX_API_UNKNOWN_RETURN_CODE"},
        {0xFFFF0706, "FDXERR_DEVICE_INVALIDDATA"}, // all bits of the form are set, among others
        {0x98100706, "HMI_FDX_IMPL_UNREGISTERED_ERROR_CODE"},
    };
    for (const auto& [bits, name] : cases)
        EXPECT_STREQ(fdx_error_to_string(code(bits)), name) << std::hex << bits;
    EXPECT_STREQ(native_fdx_error_to_string(0), "FDX_API_UNKNOWN_RETURN_CODE");
    EXPECT_STREQ(native_fdx_error_to_string(code(0x98110701)), "FDX_API_UNKNOWN_RETURN_CODE");

    EXPECT_EQ(fdx_error_to_string_with_code(6), "ERR_TARGETPORTNOTFOUND (0x06)");
    EXPECT_EQ(fdx_error_to_string_with_code(code(0x98110745)), "FDXERR_CLIENT_SYNCTIMEOUT (0x98110745)");
    EXPECT_EQ(fdx_error_to_string_with_code(0), "HMI_FDX_SUCCESS (0x00)");
}

TEST(ResultCodes, Classes) {
    EXPECT_EQ(translate_fdx_error_code(code(0x98110745), true), 0x745);
    EXPECT_EQ(translate_fdx_error_code(code(0x98110745), false), code(0x98110745));
    EXPECT_EQ(translate_fdx_error_code(0x100000, true), 0);
    EXPECT_EQ(translate_fdx_error_code(-1, true), 0xFFFF);

    EXPECT_FALSE(is_error(0));
    EXPECT_TRUE(is_error(-1));
    EXPECT_TRUE(is_error(ExtensionResult(1)));
    EXPECT_FALSE(is_error(ExtensionResult(0, "a text alone is no error")));
    EXPECT_FALSE(is_error(PathErrors()));
    EXPECT_TRUE(is_error(PathErrors{ExtensionResult(1), {}}));
    EXPECT_TRUE(is_error(PathErrors{{}, ExtensionResult(1)}));

    for (const unsigned yes : {0x701u, 0x702u, 0x98110701u, 0x98110702u, 0x50702u}) {
        EXPECT_TRUE(is_not_supported(code(yes))) << yes;
        EXPECT_TRUE(is_not_supported(ExtensionResult(code(yes)))) << yes;
    }
    for (const unsigned no : {0u, 0x700u, 0x703u, 0x7010000u, 0x98110700u})
        EXPECT_FALSE(is_not_supported(code(no))) << no;
}

TEST(ResultCodes, FirstFailureOfCommandStays) {
    const std::tuple<unsigned, ExtensionResult, unsigned, const char*> cases[] = {
        {0, ExtensionResult(0x745, "new"), 0x745, "new"},
        {0, ExtensionResult(0x745, ""), 0x745, "old"},
        {0, ExtensionResult(0, "new"), 0, "new"},
        {0, ExtensionResult(0, ""), 0, ""},
        {5, ExtensionResult(0x745, "new"), 5, "old"},
        {5, ExtensionResult(0, ""), 5, "old"},
        {0, ExtensionResult(code(0x98110745), "new"), 0x98110745, "new"},
    };
    for (const auto& [code_before, result, code_after, text_after] : cases) {
        ZoHmiSrv::Command command("read");
        command.set_extension_result(code_before);
        command.set_result_string("old");
        set_result_or_ignore(command, result);
        EXPECT_EQ(command.extension_result(), code_after);
        EXPECT_STREQ(command.result_string(), text_after);
    }
}

TEST(DeviceState, Texts) {
    const char* const texts[] = {"Invalid",  "Idle",       "Reset",      "init",         "Start",     "Run",
                                 "Stop",     "SaveConfig", "LoadConfig", "PowerFailure", "PowerGood", "Error",
                                 "Shutdown", "Suspend",    "Resume",     "Config",       "Reconfig",  "Stopping",
                                 "Error",    "Error",      "Max states", "Error"};
    int number = 0;
    for (const char* text : texts) {
        const auto state = static_cast<nFdxState>(number);
        EXPECT_EQ(to_string(state), text) << number;
        EXPECT_EQ(translate_state(state).text, text) << number;
        EXPECT_EQ(translate_state(state).available, number == 5 || number == 6) << number;
        ++number;
    }
    EXPECT_EQ(to_string(static_cast<nFdxState>(0xFFFF)), "Error");
    EXPECT_FALSE(TranslatedState().available);
}

TEST(DeviceState, FromFailure) {
    const std::tuple<unsigned, const char*, const char*, bool> cases[] = {
        {6, "x", "Target Port Not Found (0x06)", false},
        {7, "x", "Target Machine Not Found (0x07)", false},
        {0x12, "x", "Stop (0x12)", false},
        {0x1B, "x", "Host Unreachable (0x1b)", false},
        {0x701, "x", "No Symbol Information (0x701)", false},
        {0x710, "x", "No Symbol Information (0x710)", false},
        {0x745, "x", "Timeout (0x745)", false},
        {0x100031, "", "No Symbol Information (0x100031)", true},
        {0x100031, "no file", "No Symbol Information (no file)", true},
        {0x100032, "x", "HMI_FDX_E_UNEXPECTED (0x100032)", false},
        {0x98110745, "x", "FDXERR_CLIENT_SYNCTIMEOUT (0x98110745)", false},
        {0x700, "x", "FDX Error (0x700)", false},
        {0, "x", "FDX Error (0x00)", false},
    };
    for (const auto& [bits, detail, text, available] : cases) {
        const auto state = connection_state_from_error(code(bits), detail);
        EXPECT_EQ(state.text, text);
        EXPECT_EQ(state.available, available) << text;
    }
}

TEST(DeviceState, Unavailability) {
    const ExtensionResult good;
    const ExtensionResult bad(0x745, "Nobody answers.");
    const std::tuple<int, ExtensionResult, int, const char*> cases[] = {
        {0, bad, 0x100015,
         "Symbol information is out of date and currently cannot be updated because the connection timed out."},
        {1, good, 0x100031, "Initial refresh of symbol information hasn't finished, yet. [PLC1]"},
        {1, bad, 0x745, "Initial refresh of symbol information hasn't finished, yet. Nobody answers. [PLC1]"},
        {2, good, 0x100047, "Refresh of symbol information hasn't finished, yet. [PLC1]"},
        {2, bad, 0x745, "Refresh of symbol information hasn't finished, yet. [PLC1]"},
        {3, bad, 0x100032, "Runtime is unavailable but no explicit reason is known. [PLC1]"},
        {4, good, 0x100032, "Runtime unavailable for an unknown reason. [PLC1]"},
        {-1, bad, 0x100032, "Runtime unavailable for an unknown reason. [PLC1]"},
    };
    for (const auto& [reason, refresh, code, text] : cases) {
        const auto result =
            unavailability_reason_to_error("PLC1", static_cast<UnavailabilityReason>(reason), {refresh});
        EXPECT_EQ(result.code(), code) << text;
        EXPECT_EQ(result.text(), text);
    }
    EXPECT_EQ(unavailability_reason_to_error("", UnavailabilityUnexplained, {}).text(),
              "Runtime is unavailable but no explicit reason is known.");
}

} // namespace
