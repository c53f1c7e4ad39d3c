#include "binding/error.h"
#include "tests/fakes/fake_proxy.h"

#include <gtest/gtest.h>
#include <string>

using namespace ZoAtlCom;
using fakes::FakeProxyLibrary;

namespace {

class ErrorText : public testing::Test {
protected:
    ~ErrorText() override { FakeProxyLibrary::instance().reset(); }
    FakeProxyLibrary& library = FakeProxyLibrary::instance();
};

} // namespace

TEST_F(ErrorText, FallsBackToTheTableForCodesThatTheLibraryLacks) {
    const struct {
        std::uint32_t code;
        const char* text;
    } rows[] = {
        {0x80004001, "E_NOTIMPL: Not implemented"},
        {0x8007000E, "E_OUTOFMEMORY: Ran out of memory"},
        {0x80070057, "E_INVALIDARG: One or more arguments are invalid"},
        {0x80004002, "E_NOINTERFACE: No such interface supported"},
        {0x80004003, "E_POINTER: Invalid pointer"},
        {0x80004005, "E_FAIL: Unspecified error"},
        {0x80070005, "E_ACCESSDENIED: General access denied error"},
        {0x98110701, "service is not supported by server"},
        {0x9811070D, "syntax error in comand or file"},
        // All other device codes go by name, whether it is known or not.
        {0x98110706, "FDXERR_DEVICE_INVALIDDATA"},
        {0x98110000, "FDX_API_UNKNOWN_RETURN_CODE"},
        // Not the device's form, though some of its bits are set.
        {0x98120706, "Unspecified error"},
        {0xFFFF0706, "Unspecified error"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(error_text(hresult(row.code)), row.text) << std::hex << row.code;
}

TEST_F(ErrorText, TakesTheLibrarysTextFirst) {
    library.error_texts[E_FAIL] = std::string("its own\0text", 12);
    EXPECT_EQ(error_text(E_FAIL), std::string("its own\0text", 12));
    EXPECT_EQ(error_text(E_ABORT), "E_ABORT: Operation aborted");
    library.plan->answer("ErrorMessage", S_OK); // with a null text
    EXPECT_EQ(error_text(E_FAIL), "");
}

TEST_F(ErrorText, OnlyNegativeResultsAreThrown) {
    EXPECT_EQ(throw_if_failed(S_OK), S_OK);
    EXPECT_EQ(throw_if_failed(S_FALSE), S_FALSE);
    try {
        throw_if_failed(E_ABORT);
        FAIL() << "nothing was thrown";
    } catch (const std::exception& exception) {
        EXPECT_STREQ(exception.what(), "E_ABORT: Operation aborted");
        EXPECT_EQ(dynamic_cast<const CAtlException&>(exception).code(), E_ABORT);
    }
}
