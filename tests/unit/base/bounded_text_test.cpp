#include "base/bounded_text.h"

#include <gtest/gtest.h>

#include "tests/support/guarded_buffer.h"

namespace {

TEST(CopyBounded, FillsEveryCapacityAndNoMore) {
    const std::wstring_view text = L"twelve chars";
    for (size_t chars = 0; chars <= text.size() + 2; ++chars) {
        GuardedBuffer<wchar_t> buffer(chars);
        CopyBounded(buffer.data(), chars, text);
        if (chars == 0) continue;
        EXPECT_EQ(std::wstring_view(buffer.data()), text.substr(0, chars - 1)) << chars;
    }
}

TEST(BoundedText, AFieldWithoutATerminatorIsReadWhole) {
    const wchar_t field[3] = {L'a', L'b', L'c'};
    EXPECT_EQ(BoundedText(field), L"abc");
}

TEST(BoundedText, EndsAtTheFirstNul) {
    const wchar_t field[4] = {L'a', L'\0', L'c', L'\0'};
    EXPECT_EQ(BoundedText(field), L"a");
}

TEST(EqualsIgnoringCase, FoldsAsciiLettersOnly) {
    EXPECT_TRUE(EqualsIgnoringCase(L"\\Device\\A@[`{Z9", L"\\dEVICE\\a@[`{z9"));
    EXPECT_FALSE(EqualsIgnoringCase(L"@", L"`"));
    EXPECT_FALSE(EqualsIgnoringCase(L"[", L"{"));
    EXPECT_FALSE(EqualsIgnoringCase(L"\u00C4", L"\u00E4"));
}

TEST(EqualsIgnoringCase, TellsLengthsApart) {
    EXPECT_FALSE(EqualsIgnoringCase(L"abc", L"ab"));
    EXPECT_FALSE(EqualsIgnoringCase(L"", L"a"));
    EXPECT_TRUE(EqualsIgnoringCase(L"", L""));
}

}  // namespace
