#include "binding/counted_string.h"
#include "binding/error_info.h"
#include "binding/identifiers.h"
#include "tests/fakes/vtable.h"

#include <gtest/gtest.h>
#include <string>

using namespace ZoEventLoggerFdxProxyLib;
using ZoAtlCom::CountedString;
using ZoAtlCom::detail::ZoErrorInfo;

namespace {

constexpr GUID some_guid{1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};

ICreateErrorInfo* first_view(ZoErrorInfo* info) {
    return info;
}

} // namespace

TEST(ErrorInfo, AnswersForItsThreeInterfacesAndKeepsCount) {
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
    // One from the start, three asked for.
    for (const std::uint32_t left : {3u, 2u, 1u, 0u})
        EXPECT_EQ(info->Release(), left);
}

TEST(ErrorInfo, BothTablesHaveTheirOrderWithTheDestructorsAmidTheFirst) {
    using fakes::call_slot;
    auto* info = new ZoErrorInfo();
    void* writer = first_view(info);
    EXPECT_EQ(call_slot<std::uint32_t>(writer, 1), 2u);
    EXPECT_EQ(call_slot<std::uint32_t>(writer, 2), 1u);
    EXPECT_EQ(call_slot<HRESULT>(writer, 3, &some_guid), S_OK);
    const char* const texts[] = {"source", "description", "help file"};
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_EQ(call_slot<HRESULT>(writer, 4 + i, texts[i]), S_OK);
    EXPECT_EQ(call_slot<HRESULT>(writer, 7, std::uint32_t{77}), S_OK);

    void* second = nullptr;
    EXPECT_EQ(call_slot<HRESULT>(writer, 0, &IID_IErrorInfo, &second), S_OK);
    EXPECT_EQ(call_slot<std::uint32_t>(second, 2), 1u);
    struct View {
        void* object;
        std::size_t getters;
    };
    for (const View& view : {View{writer, 10}, View{second, 3}}) {
        GUID guid{};
        EXPECT_EQ(call_slot<HRESULT>(view.object, view.getters, &guid), S_OK);
        EXPECT_EQ(guid, some_guid);
        for (std::size_t i = 0; i < 3; ++i) {
            CountedString text;
            EXPECT_EQ(call_slot<HRESULT>(view.object, view.getters + 1 + i, text.put()), S_OK);
            EXPECT_EQ(text.view(), texts[i]);
        }
        std::uint32_t context = 0;
        EXPECT_EQ(call_slot<HRESULT>(view.object, view.getters + 4, &context), S_OK);
        EXPECT_EQ(context, 77u);
    }
    call_slot<void>(writer, 9); // the deleting destructor; a leak if it were another slot
}

TEST(ErrorInfo, EmptyFieldsAreNullStringsAndNullOutPointersAreRefused) {
    auto* info = new ZoErrorInfo();
    EXPECT_EQ(info->SetSource("text"), S_OK);
    EXPECT_EQ(info->SetSource(nullptr), S_OK);
    char* text = nullptr;
    EXPECT_EQ(info->GetSource(&text), S_OK);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(info->GetGUID(nullptr), E_POINTER);
    EXPECT_EQ(info->GetSource(nullptr), E_POINTER);
    EXPECT_EQ(info->GetDescription(nullptr), E_POINTER);
    EXPECT_EQ(info->GetHelpFile(nullptr), E_POINTER);
    EXPECT_EQ(info->GetHelpContext(nullptr), E_POINTER);
    info->Release();
}
