#include "binding/counted_string.h"
#include "binding/error.h"
#include "binding/error_info.h"
#include "tests/fakes/fake_proxy.h"
#include "tests/fakes/vtable.h"
#include "tests/test_headers.h"

using namespace ZoAtlCom;
using namespace ZoEventLoggerFdxProxyLib;
using fakes::FakeProxyLibrary;
using fakes::slots_of;
using ZoAtlCom::detail::ZoErrorInfo;

namespace {

struct ErrorText : testing::Test {
    ~ErrorText() override { library.reset(); }
    FakeProxyLibrary& library = FakeProxyLibrary::instance();
};

} // namespace

TEST_F(ErrorText, UnknownCodeFallsBackToTable) {
    const std::pair<std::uint32_t, const char*> rows[] = {
        {0x80004001, "E_NOTIMPL: Not implemented"},
        {0x8007000E, "E_OUTOFMEMORY: Ran out of memory"},
        {0x80070057, "E_INVALIDARG: One or more arguments are invalid"},
        {0x80004002, "E_NOINTERFACE: No such interface supported"},
        {0x80004003, "E_POINTER: Invalid pointer"},
        {0x80004005, "E_FAIL: Unspecified error"},
        {0x80070005, "E_ACCESSDENIED: General access denied error"},
        {0x98110701, "service is not supported by server"},
        {0x9811070D, "syntax error in comand or file"},
        // Other device codes give their name, or the name of an unknown code.
        {0x98110706, "FDXERR_DEVICE_INVALIDDATA"},
        {0x98110000, "FDX_API_UNKNOWN_RETURN_CODE"},
        // Not a device code, though some of its bits are set.
        {0x98120706, "Unspecified error"},
        {0xFFFF0706, "Unspecified error"},
    };
    for (const auto& [code, text] : rows)
        EXPECT_EQ(error_text(hresult(code)), text) << std::hex << code;
}

TEST_F(ErrorText, LibraryTextComesFirst) {
    library.error_texts[E_FAIL] = std::string("its own\0text", 12);
    EXPECT_EQ(error_text(E_FAIL), std::string("its own\0text", 12));
    EXPECT_EQ(error_text(E_ABORT), "E_ABORT: Operation aborted");
    library.plan->answer("ErrorMessage", S_OK); // with a null text
    EXPECT_EQ(error_text(E_FAIL), "");
}

TEST_F(ErrorText, ThrowsOnlyNegativeCodes) {
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

TEST(ErrorInfo, AnswersToItsInterfacesAndCounts) {
    auto* info = new ZoErrorInfo();
    void* out = nullptr;
    for (const GUID& iid : {IID_IUnknown, IID_ICreateErrorInfo}) {
        EXPECT_EQ(info->QueryInterface(iid, &out), S_OK);
        EXPECT_EQ(out, static_cast<ICreateErrorInfo*>(info));
    }
    EXPECT_EQ(info->QueryInterface(IID_IErrorInfo, &out), S_OK);
    EXPECT_EQ(out, static_cast<IErrorInfo*>(info));
    EXPECT_EQ(info->QueryInterface(IID_IDispatch, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(info->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
    // One reference from the start, three from the queries.
    for (const std::uint32_t left : {3u, 2u, 1u, 0u})
        EXPECT_EQ(info->Release(), left);
}

TEST(ErrorInfo, DestructorLiesBetweenBothViews) {
    using Slots = std::vector<std::size_t>;
    EXPECT_EQ(slots_of(&ZoErrorInfo::SetGUID, &ZoErrorInfo::SetSource, &ZoErrorInfo::SetDescription,
                       &ZoErrorInfo::SetHelpFile, &ZoErrorInfo::SetHelpContext),
              (Slots{3, 4, 5, 6, 7}));
    EXPECT_EQ(slots_of(&ZoErrorInfo::GetGUID, &ZoErrorInfo::GetSource, &ZoErrorInfo::GetDescription,
                       &ZoErrorInfo::GetHelpFile, &ZoErrorInfo::GetHelpContext),
              (Slots{10, 11, 12, 13, 14}));
    EXPECT_EQ(slots_of(&IErrorInfo::GetGUID, &IErrorInfo::GetSource, &IErrorInfo::GetDescription,
                       &IErrorInfo::GetHelpFile, &IErrorInfo::GetHelpContext),
              (Slots{3, 4, 5, 6, 7}));
}

TEST(ErrorInfo, ReturnsFieldsAndNullForEmptyText) {
    ZoErrorInfo info;
    constexpr GUID some_guid{1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
    EXPECT_EQ(info.SetGUID(some_guid), S_OK);
    EXPECT_EQ(info.SetSource("text"), S_OK);
    EXPECT_EQ(info.SetSource(nullptr), S_OK);
    EXPECT_EQ(info.SetDescription("description"), S_OK);
    EXPECT_EQ(info.SetHelpFile("help file"), S_OK);
    EXPECT_EQ(info.SetHelpContext(77), S_OK);
    const auto text = [&](HRESULT (ZoErrorInfo::*getter)(char**)) {
        CountedString out;
        EXPECT_EQ((info.*getter)(out.put()), S_OK);
        EXPECT_EQ((info.*getter)(nullptr), E_POINTER);
        return out;
    };
    EXPECT_EQ(text(&ZoErrorInfo::GetSource).get(), nullptr);
    EXPECT_EQ(text(&ZoErrorInfo::GetDescription).view(), "description");
    EXPECT_EQ(text(&ZoErrorInfo::GetHelpFile).view(), "help file");
    GUID guid{};
    EXPECT_EQ(info.GetGUID(&guid), S_OK);
    EXPECT_EQ(guid, some_guid);
    std::uint32_t context = 0;
    EXPECT_EQ(info.GetHelpContext(&context), S_OK);
    EXPECT_EQ(context, 77u);
    EXPECT_EQ(info.GetGUID(nullptr), E_POINTER);
    EXPECT_EQ(info.GetHelpContext(nullptr), E_POINTER);
}
