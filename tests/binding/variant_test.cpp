#include "binding/counted_string.h"
#include "binding/variant.h"
#include "tests/fakes/fake_events.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

using namespace ZoAtlCom;

namespace {

VARIANT tagged(unsigned tag) {
    VARIANT variant{};
    variant.vt = static_cast<VARTYPE>(tag);
    return variant;
}

SAFEARRAY* make_array(std::string bytes) {
    auto* array = static_cast<SAFEARRAY*>(std::malloc(sizeof(SAFEARRAY)));
    auto* data = static_cast<std::uint8_t*>(std::malloc(bytes.size()));
    bytes.copy(reinterpret_cast<char*>(data), bytes.size());
    *array = {0, static_cast<std::uint32_t>(bytes.size()), data};
    return array;
}

} // namespace

TEST(Variant, RefusesTagsThatCannotBe) {
    const struct {
        unsigned tag;
        bool valid;
    } rows[] = {
        {0, true},       {1, true},       {14, true},      {15, false},     {16, true},      {23, true},
        {24, false},     {27, false},     {35, false},     {36, true},      {37, false},     {0x0FFF, false},
        {0x1003, false}, {0x8003, false}, {0x9003, false}, {0x2000, false}, {0x2001, false}, {0x2002, true},
        {0x4000, false}, {0x4001, false}, {0x4002, true},  {0x4009, true},  {0x6003, true},  {0x400F, false},
        {0x2024, true},  {0x4018, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.tag);
        VARIANT cleared = tagged(row.tag);
        EXPECT_EQ(VariantClear(&cleared), row.valid ? S_OK : E_INVALIDARG);
        EXPECT_EQ(cleared.vt, row.valid ? VT_EMPTY : row.tag);

        const VARIANT source = tagged(row.tag);
        VARIANT copy{};
        const HRESULT copied = VariantCopy(&copy, &source);
        EXPECT_EQ(copied, !row.valid ? DISP_E_BADVARTYPE : row.tag == VT_RECORD ? E_NOTIMPL : S_OK);
        EXPECT_EQ(copy.vt, copied == S_OK ? row.tag : VT_EMPTY);
    }
}

TEST(Variant, StringsGetACopyOfTheirOwn) {
    VARIANT source = tagged(VT_BSTR);
    source.bstrVal = SysAllocStringLen("a\0b", 3);
    VARIANT copy{};
    ASSERT_EQ(VariantCopy(&copy, &source), S_OK);
    EXPECT_NE(copy.bstrVal, source.bstrVal);
    EXPECT_EQ(SysStringLen(copy.bstrVal), 3u);
    EXPECT_EQ(copy.bstrVal[2], 'b');
    VariantClear(&source);
    VariantClear(&copy);

    VARIANT null_string = tagged(VT_BSTR);
    EXPECT_EQ(VariantCopy(&copy, &null_string), S_OK);
    EXPECT_EQ(copy.bstrVal, nullptr);
}

TEST(Variant, ObjectsAreCountedAndReferencesAreNot) {
    const fakes::AlarmPtr alarm(new fakes::FakeAlarm());
    for (const VARTYPE tag : {VT_DISPATCH, VT_UNKNOWN}) {
        VARIANT source = tagged(tag);
        source.pdispVal = alarm.get();
        VARIANT copy{};
        ASSERT_EQ(VariantCopy(&copy, &source), S_OK);
        EXPECT_EQ(alarm->references(), 2u);
        EXPECT_EQ(VariantCopy(&copy, &copy), S_OK);
        EXPECT_EQ(alarm->references(), 2u);
        EXPECT_EQ(VariantClear(&copy), S_OK);
        EXPECT_EQ(alarm->references(), 1u);
        EXPECT_EQ(copy.pdispVal, nullptr);
    }
    IDispatch* pointer = alarm.get();
    VARIANT by_reference = tagged(VT_BYREF | VT_DISPATCH);
    by_reference.byref = &pointer;
    VARIANT copy{};
    ASSERT_EQ(VariantCopy(&copy, &by_reference), S_OK);
    EXPECT_EQ(copy.byref, &pointer);
    EXPECT_EQ(VariantClear(&copy), S_OK);
    EXPECT_EQ(alarm->references(), 1u);
}

TEST(Variant, ALockedArrayStopsClearAndCopyAndKeepsTheTarget) {
    VARIANT source = tagged(VT_ARRAY | VT_I4);
    source.parray = make_array("12345678");
    VARIANT target{};
    ASSERT_EQ(VariantCopy(&target, &source), S_OK);
    ASSERT_NE(target.parray, source.parray);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(target.parray->data), target.parray->size), "12345678");

    target.parray->locks = 1;
    EXPECT_EQ(VariantClear(&target), DISP_E_ARRAYISLOCKED);
    VARIANT number = tagged(VT_I4);
    EXPECT_EQ(VariantCopy(&target, &number), DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(target.vt, VT_ARRAY | VT_I4);
    // A bad source is found first.
    const VARIANT bad = tagged(15);
    EXPECT_EQ(VariantCopy(&target, &bad), DISP_E_BADVARTYPE);
    // What was copied meanwhile is let go of.
    EXPECT_EQ(VariantCopy(&target, &source), DISP_E_ARRAYISLOCKED);
    const fakes::AlarmPtr alarm(new fakes::FakeAlarm());
    VARIANT object = tagged(VT_DISPATCH);
    object.pdispVal = alarm.get();
    EXPECT_EQ(VariantCopy(&target, &object), DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(alarm->references(), 1u);

    target.parray->locks = 0;
    EXPECT_EQ(VariantClear(&target), S_OK);
    EXPECT_EQ(VariantClear(&source), S_OK);
}

TEST(Variant, ATargetWithABadTagIsNotOverwritten) {
    VARIANT target = tagged(15);
    target.lVal = 7;
    VARIANT source = tagged(VT_I4);
    source.lVal = 8;
    EXPECT_EQ(VariantCopy(&target, &source), E_INVALIDARG);
    EXPECT_EQ(target.vt, 15);
    EXPECT_EQ(target.lVal, 7);
}

TEST(Variant, ARecordLeavesTheTargetEmpty) {
    VARIANT target = tagged(VT_BSTR);
    target.bstrVal = SysAllocString("old"); // would leak if it were not cleared
    const VARIANT source = tagged(VT_RECORD);
    EXPECT_EQ(VariantCopy(&target, &source), E_NOTIMPL);
    EXPECT_EQ(target.vt, VT_EMPTY);
}
