// References, variants and counted strings: ownership.
#include "binding/com_ptr.h"
#include "binding/counted_string.h"
#include "binding/variant.h"
#include "tests/fakes/fake_events.h"
#include "tests/test_headers.h"

#include <cstdlib>

using namespace ZoAtlCom;
using namespace ZoEventLoggerFdxProxyLib;

namespace {

VARIANT tagged(unsigned tag, void* pointer = nullptr) {
    VARIANT variant{};
    variant.vt = static_cast<VARTYPE>(tag);
    variant.byref = pointer;
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

TEST(Variant, RefusesInvalidTags) {
    const std::pair<unsigned, bool> rows[] = {
        {0, true},       {1, true},       {14, true},      {15, false},     {16, true},      {23, true},
        {24, false},     {27, false},     {35, false},     {36, true},      {37, false},     {0x0FFF, false},
        {0x1003, false}, {0x8003, false}, {0x9003, false}, {0x2000, false}, {0x2001, false}, {0x2002, true},
        {0x4000, false}, {0x4001, false}, {0x4002, true},  {0x4009, true},  {0x6003, true},  {0x400F, false},
        {0x2024, true},  {0x4018, false},
    };
    for (const auto& [tag, valid] : rows) {
        SCOPED_TRACE(tag);
        VARIANT cleared = tagged(tag);
        EXPECT_EQ(VariantClear(&cleared), valid ? S_OK : E_INVALIDARG);
        EXPECT_EQ(cleared.vt, valid ? VT_EMPTY : tag);

        const VARIANT source = tagged(tag);
        VARIANT copy{};
        const HRESULT copied = VariantCopy(&copy, &source);
        EXPECT_EQ(copied, !valid ? DISP_E_BADVARTYPE : tag == VT_RECORD ? E_NOTIMPL : S_OK);
        EXPECT_EQ(copy.vt, copied == S_OK ? tag : VT_EMPTY);
    }
}

TEST(Variant, CopiesStrings) {
    VARIANT source = tagged(VT_BSTR, SysAllocStringLen("a\0b", 3));
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

TEST(Variant, CountsObjectsButNotByReference) {
    const fakes::AlarmPtr alarm(new fakes::FakeAlarm());
    IDispatch* pointer = alarm.get();
    for (const VARTYPE tag : {VT_DISPATCH, VT_UNKNOWN}) {
        const VARIANT source = tagged(tag, pointer);
        VARIANT copy{};
        ASSERT_EQ(VariantCopy(&copy, &source), S_OK);
        EXPECT_EQ(alarm->references(), 2u);
        EXPECT_EQ(VariantCopy(&copy, &copy), S_OK);
        EXPECT_EQ(alarm->references(), 2u);
        EXPECT_EQ(VariantClear(&copy), S_OK);
        EXPECT_EQ(alarm->references(), 1u);
        EXPECT_EQ(copy.pdispVal, nullptr);
    }
    const VARIANT by_reference = tagged(VT_BYREF | VT_DISPATCH, &pointer);
    VARIANT copy{};
    ASSERT_EQ(VariantCopy(&copy, &by_reference), S_OK);
    EXPECT_EQ(copy.byref, &pointer);
    EXPECT_EQ(VariantClear(&copy), S_OK);
    EXPECT_EQ(alarm->references(), 1u);
}

TEST(Variant, LockedArrayStopsClearAndCopy) {
    VARIANT source = tagged(VT_ARRAY | VT_I4, make_array("12345678"));
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
    // The copies made meanwhile are released.
    EXPECT_EQ(VariantCopy(&target, &source), DISP_E_ARRAYISLOCKED);
    const fakes::AlarmPtr alarm(new fakes::FakeAlarm());
    const VARIANT object = tagged(VT_DISPATCH, static_cast<IDispatch*>(alarm.get()));
    EXPECT_EQ(VariantCopy(&target, &object), DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(alarm->references(), 1u);

    target.parray->locks = 0;
    EXPECT_EQ(VariantClear(&target), S_OK);
    EXPECT_EQ(VariantClear(&source), S_OK);
}

TEST(Variant, FailedCopyKeepsBadTargetOrEmptiesIt) {
    VARIANT target = tagged(15);
    target.lVal = 7;
    const VARIANT number = tagged(VT_I4);
    EXPECT_EQ(VariantCopy(&target, &number), E_INVALIDARG);
    EXPECT_EQ(target.vt, 15);
    EXPECT_EQ(target.lVal, 7);
    target = tagged(VT_BSTR, SysAllocString("old")); // leaks unless the copy clears it
    const VARIANT record = tagged(VT_RECORD);
    EXPECT_EQ(VariantCopy(&target, &record), E_NOTIMPL);
    EXPECT_EQ(target.vt, VT_EMPTY);
}

TEST(ComPtr, OwnsOneReferenceEach) {
    const int live = fakes::live_objects();
    {
        fakes::AlarmPtr alarm(new fakes::FakeAlarm());
        CComPtr<IZoAlarm> copy(alarm.get());
        CComPtr<IZoAlarm> second = copy;
        CComPtr<IZoAlarm> moved = std::move(second);
        copy = *&copy; // itself
        EXPECT_EQ(alarm->references(), 3u);
        moved = nullptr;
        EXPECT_EQ(alarm->references(), 2u);
        moved.attach(copy.detach());
        EXPECT_EQ(alarm->references(), 2u);
        *moved.put() = nullptr; // an out argument releases first
        EXPECT_EQ(alarm->references(), 1u);
    }
    EXPECT_EQ(fakes::live_objects(), live);
}

TEST(ComPtr, QueriesItsInterfaceOnAssignment) {
    const fakes::AlarmPtr alarm(new fakes::FakeAlarm({.unique_id = 5}));
    const fakes::MessagePtr message(new fakes::FakeMessage());
    const CComPtr<IZoAlarm> object(alarm.get());
    CComQIPtr<IZoEventIdentity> identity(object);
    ASSERT_TRUE(identity);
    std::uint32_t id = 0;
    EXPECT_EQ(identity->GetUniqueId(&id), S_OK);
    EXPECT_EQ(id, 5u);
    EXPECT_EQ(alarm->references(), 3u);
    identity = CComPtr<IZoMessage>(message.get());
    EXPECT_FALSE(identity); // the message has no identity
    EXPECT_EQ(alarm->references(), 2u);
    EXPECT_EQ(message->references(), 1u);
    EXPECT_EQ(identity.query(nullptr), E_POINTER);
    EXPECT_EQ(identity.query(static_cast<IZoMessage*>(message.get())), E_NOINTERFACE);
}

TEST(CountedString, LengthStandsBeforeTheText) {
    char* text = SysAllocStringLen("h\xC3\0\x80", 4); // bytes pass unchanged, valid or not
    std::uint32_t stored = 0;
    std::memcpy(&stored, text - 4, 4);
    EXPECT_EQ(stored, 4u);
    EXPECT_EQ(SysStringLen(text), 4u);
    EXPECT_EQ(std::string(text, 5), std::string("h\xC3\0\x80\0", 5));
    SysFreeString(text);
    text = SysAllocStringLen(nullptr, 2);
    EXPECT_EQ(std::string(text, 3), std::string(3, '\0'));
    SysFreeString(text);
    // Null is a string of length 0; an empty text is another.
    EXPECT_EQ(SysAllocString(nullptr), nullptr);
    EXPECT_EQ(SysStringLen(nullptr), 0u);
    SysFreeString(nullptr);
    text = SysAllocString("");
    EXPECT_STREQ(text, "");
    SysFreeString(text);
}

TEST(CountedString, ReallocReplacesOrKeepsTarget) {
    constexpr int whole = -1;
    const std::tuple<const char*, int, int, const char*> rows[] = {
        {"new", whole, 1, "new"}, {"", whole, 1, ""},   {nullptr, whole, 0, "old"}, {"newer", 3, 1, "new"},
        {"new", 3, 1, "new"},     {"new", 4, 0, "old"}, {"new", 0, 0, "old"},       {nullptr, 1, 0, "old"},
    };
    for (const auto& [source, length, done, after] : rows) {
        SCOPED_TRACE(std::string(source ? source : "null") + " " + std::to_string(length));
        char* text = SysAllocString("old");
        EXPECT_EQ(length == whole ? SysReAllocString(&text, source)
                                  : SysReAllocStringLen(&text, source, static_cast<std::uint32_t>(length)),
                  done);
        EXPECT_STREQ(text, after);
        EXPECT_EQ(SysStringLen(text), std::strlen(after));
        SysFreeString(text);
    }
    EXPECT_EQ(SysReAllocString(nullptr, "new"), 0);
    EXPECT_EQ(SysReAllocStringLen(nullptr, "new", 1), 0);
    char* text = SysAllocString("prefix-rest");
    EXPECT_EQ(SysReAllocString(&text, text + 7), 1); // by a part of itself
    EXPECT_STREQ(text, "rest");
    SysFreeString(text);
}

TEST(CountedString, OwnerFreesOnce) {
    CountedString owner("first");
    *owner.put() = SysAllocStringLen("a\0b", 3); // the first string leaks unless put frees it
    EXPECT_EQ(owner.str(), std::string("a\0b", 3));
    CountedString moved(std::move(owner));
    EXPECT_EQ(moved.view().size(), 3u);
    EXPECT_EQ(owner.get(), nullptr); // NOLINT: a moved-from owner is empty
    owner = std::move(moved);
    EXPECT_EQ(owner.view().size(), 3u);
    EXPECT_EQ(CountedString(nullptr).view(), "");
}
