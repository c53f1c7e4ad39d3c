#include "binding/counted_string.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

using namespace ZoAtlCom;

TEST(CountedString, KeepsItsLengthInTheFourBytesBeforeTheText) {
    char* text = SysAllocStringLen("h\xC3\0\x80", 4); // bytes pass as they are, valid or not
    std::uint32_t stored = 0;
    std::memcpy(&stored, text - 4, 4);
    EXPECT_EQ(stored, 4u);
    EXPECT_EQ(SysStringLen(text), 4u);
    EXPECT_EQ(std::string(text, 5), std::string("h\xC3\0\x80\0", 5));
    SysFreeString(text);

    char* zeros = SysAllocStringLen(nullptr, 2);
    EXPECT_EQ(std::string(zeros, 3), std::string(3, '\0'));
    SysFreeString(zeros);
}

TEST(CountedString, NullIsAStringOfLengthZeroAndDiffersFromAnEmptyOne) {
    EXPECT_EQ(SysAllocString(nullptr), nullptr);
    EXPECT_EQ(SysStringLen(nullptr), 0u);
    SysFreeString(nullptr);
    char* empty = SysAllocString("");
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(*empty, '\0');
    SysFreeString(empty);
}

TEST(CountedString, ReplacesOrLeavesTheTarget) {
    enum Target { none, old };
    const struct {
        const char* what;
        Target target;
        const char* text;
        int length; // -1: the whole text
        int done;
        const char* after;
    } rows[] = {
        {"whole text", old, "new", -1, 1, "new"},
        {"empty text", old, "", -1, 1, ""},
        {"null text", old, nullptr, -1, 0, "old"},
        {"null target", none, "new", -1, 0, nullptr},
        {"part", old, "newer", 3, 1, "new"},
        {"all of it by length", old, "new", 3, 1, "new"},
        {"more than there is", old, "new", 4, 0, "old"},
        {"length 0", old, "new", 0, 0, "old"},
        {"null text by length", old, nullptr, 1, 0, "old"},
        {"null target by length", none, "new", 1, 0, nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        char* text = row.target == old ? SysAllocString("old") : nullptr;
        char** target = row.target == none ? nullptr : &text;
        const int done = row.length < 0 ? SysReAllocString(target, row.text)
                                        : SysReAllocStringLen(target, row.text, static_cast<std::uint32_t>(row.length));
        EXPECT_EQ(done, row.done);
        if (row.after) {
            EXPECT_STREQ(text, row.after);
            EXPECT_EQ(SysStringLen(text), std::strlen(row.after));
        }
        SysFreeString(text);
    }
}

TEST(CountedString, CanBeReplacedByAPartOfItself) {
    char* text = SysAllocString("prefix-rest");
    EXPECT_EQ(SysReAllocString(&text, text + 7), 1);
    EXPECT_STREQ(text, "rest");
    SysFreeString(text);
}

TEST(CountedString, OwnerFreesOnceAndHandsOutEveryByte) {
    CountedString owner("first");
    *owner.put() = SysAllocStringLen("a\0b", 3); // the first string would leak if put kept it
    EXPECT_EQ(owner.str(), std::string("a\0b", 3));
    CountedString moved(std::move(owner));
    EXPECT_EQ(moved.view().size(), 3u);
    EXPECT_EQ(owner.get(), nullptr); // NOLINT: a moved-from owner is empty
    owner = std::move(moved);
    EXPECT_EQ(owner.view().size(), 3u);
    EXPECT_EQ(CountedString(nullptr).view(), "");
}
