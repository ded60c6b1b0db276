#include "base/heap_text.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/import_redirect.h"

namespace {

TEST(HeapText, IsEmptyAndTerminatedAtFirst) {
    const HeapText text;
    EXPECT_TRUE(text.empty());
    EXPECT_STREQ(text.c_str(), L"");
    EXPECT_EQ(text.view(), L"");
}

TEST(HeapText, HoldsACopy) {
    std::wstring source = L"COM7 (#)";
    HeapText text;
    ASSERT_TRUE(text.Assign(source));
    source = L"gone";
    EXPECT_STREQ(text.c_str(), L"COM7 (#)");
    EXPECT_EQ(text.size(), 8u);
    ASSERT_TRUE(text.Assign(L""));
    EXPECT_STREQ(text.c_str(), L"");
}

TEST(HeapText, IsTerminatedAtEverySize) {
    HeapText text;
    for (const size_t chars : {0, 1, 5, 2, 100, 0}) {
        ASSERT_TRUE(text.Resize(chars));
        std::fill_n(text.data(), chars, L'x');
        EXPECT_EQ(text.size(), chars);
        EXPECT_STREQ(text.c_str(), std::wstring(chars, L'x').c_str());
    }
}

TEST(HeapText, KeepsItsTextWhileItGrows) {
    HeapText text;
    ASSERT_TRUE(text.Assign(L"COM"));
    ASSERT_TRUE(text.Resize(4));
    text.data()[3] = L'7';
    EXPECT_STREQ(text.c_str(), L"COM7");
}

TEST(HeapText, HoldsNulCharacters) {
    HeapText text;
    ASSERT_TRUE(text.Assign(std::wstring_view(L"a\0b", 3)));
    EXPECT_EQ(text.size(), 3u);
    EXPECT_EQ(text.view()[2], L'b');
}

TEST(HeapText, ForgetsItsText) {
    HeapText text;
    ASSERT_TRUE(text.Assign(L"COM7"));
    text.Clear();
    EXPECT_STREQ(text.c_str(), L"");
}

TEST(HeapText, StaysAsItIsWithoutMemory) {
    HeapText text;
    ASSERT_TRUE(text.Assign(L"COM7"));
    {
        REPLACE_CALL(allocate, malloc, [](size_t) -> void* { return nullptr; });
        EXPECT_FALSE(text.Assign(L"a longer text"));
        EXPECT_FALSE(text.Resize(100));
    }
    EXPECT_FALSE(text.Resize(SIZE_MAX));
    EXPECT_FALSE(text.Resize(SIZE_MAX - 1));
    EXPECT_STREQ(text.c_str(), L"COM7");
}

}  // namespace
