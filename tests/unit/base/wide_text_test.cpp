#include "base/wide_text.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "tests/support/guarded_buffer.h"

namespace {

struct CopyRow {
    const char* name;
    const wchar_t* text;
    int32_t maxChars;
    CopyEnd end;
    int32_t copied;
    const wchar_t*
        stored;  // the four characters behind it, '?' where nothing is written, '0' for a terminator
};

class CopyTextTest : public testing::TestWithParam<CopyRow> {};

TEST_P(CopyTextTest, CopiesUpToTheLimit) {
    wchar_t out[] = L"????";
    EXPECT_EQ(CopyText(out, GetParam().text, GetParam().maxChars, GetParam().end), GetParam().copied);
    for (wchar_t& c : out) {
        if (c == 0) c = L'0';
    }
    EXPECT_EQ(std::wstring(out, 4), GetParam().stored);
}

INSTANTIATE_TEST_SUITE_P(
    Limits, CopyTextTest,
    testing::Values(CopyRow{"terminated_cut", L"abcdef", 3, CopyEnd::kTerminated, 2, L"ab0?"},
                    CopyRow{"terminated_short", L"a", 3, CopyEnd::kTerminated, 1, L"a0??"},
                    CopyRow{"terminated_one", L"abc", 1, CopyEnd::kTerminated, 0, L"0???"},
                    CopyRow{"terminated_none", L"abc", 0, CopyEnd::kTerminated, 0, L"????"},
                    CopyRow{"open_cut", L"abcdef", 3, CopyEnd::kOpen, 3, L"abc?"},
                    CopyRow{"open_exact", L"abc", 3, CopyEnd::kOpen, 3, L"abc?"},
                    CopyRow{"open_short", L"ab", 3, CopyEnd::kOpen, 2, L"ab0?"},
                    CopyRow{"open_none", L"abc", 0, CopyEnd::kOpen, 0, L"????"},
                    CopyRow{"open_negative", L"abc", -1, CopyEnd::kOpen, 0, L"????"}),
    [](const auto& row) { return row.param.name; });

// At every place relative to the blocks that are read at once, with and without something behind the limit.
TEST(FindCharTest, FindsTheFirstWithinTheLimit) {
    for (size_t length = 1; length < 40; ++length) {
        GuardedBuffer<wchar_t> text(length);
        std::fill_n(text.data(), length, L'a');
        for (size_t place = 0; place < length; ++place) {
            text[place] = L'x';
            text[length - 1] = L'x';
            for (int32_t limit = -1; limit <= static_cast<int32_t>(length); ++limit) {
                const wchar_t* const expected = static_cast<int32_t>(place) < limit ? &text[place] : nullptr;
                ASSERT_EQ(FindChar(text.data(), limit, L'x'), expected)
                    << length << ' ' << place << ' ' << limit;
            }
            text[place] = L'a';
        }
    }
}

TEST(FindCharTest, ATerminatorDoesNotEndTheSearch) {
    const wchar_t text[] = L"ab\0cd";
    EXPECT_EQ(FindChar(text, 5, L'd'), text + 4);
    EXPECT_EQ(FindChar(text, 5, L'e'), nullptr);
}

TEST(FindCharTest, WorksInFrontOfAnInaccessiblePage) {
    GuardedBuffer<wchar_t> text(20, GuardSide::kInFront);
    std::fill_n(text.data(), 20, L'a');
    EXPECT_EQ(FindChar(text.data(), 20, L'x'), nullptr);
    EXPECT_EQ(FindChar(text.data(), 20, L'a'), text.data());
}

TEST(FindCharTest, WorksAtAnOddAddress) {
    GuardedBuffer<char> bytes(9);
    const wchar_t source[] = L"abxd";
    memcpy(bytes.data() + 1, source, 8);
    const wchar_t* const text = reinterpret_cast<const wchar_t*>(bytes.data() + 1);
    EXPECT_EQ(FindChar(text, 4, L'x'), text + 2);
    EXPECT_EQ(FindChar(text, 4, L'y'), nullptr);
}

TEST(FillCharsTest, FillsThatManyAndNoMore) {
    wchar_t text[] = L"????";
    FillChars(text, 0, L'x');
    FillChars(text, -1, L'x');
    EXPECT_STREQ(text, L"????");
    FillChars(text, 3, L'x');
    EXPECT_STREQ(text, L"xxx?");
}

TEST(TextLengthTest, StopsAtTheLimit) {
    EXPECT_EQ(TextLength(L""), 0);
    EXPECT_EQ(TextLength(L"abc"), 3);
    EXPECT_EQ(TextLength(L"abc", 2), 2);
    EXPECT_EQ(TextLength(L"abc", 0), 0);
    EXPECT_EQ(TextLength(L"abc", -1), 0);
    EXPECT_EQ(TextLength(L"abc", 9), 3);
}

}  // namespace
