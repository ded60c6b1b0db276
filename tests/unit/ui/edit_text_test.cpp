#include "ui/edit_text.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct ContinuationRow {
    const char* name;
    std::wstring oldText;
    std::wstring newText;
    size_t dropped;

    friend void PrintTo(const ContinuationRow& row, std::ostream* out) { *out << row.name; }
};

const std::wstring kLines = L"the first line of a log\r\nand the second line of that log\r\n";

class DroppedCharsTest : public testing::TestWithParam<ContinuationRow> {};

TEST_P(DroppedCharsTest, TellsAContinuationFromAnotherText) {
    EXPECT_EQ(DroppedChars(GetParam().oldText, GetParam().newText), GetParam().dropped);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, DroppedCharsTest,
    testing::Values(
        ContinuationRow{"FromNothing", L"", kLines, kNotContinued},
        ContinuationRow{"TheSame", kLines, kLines, 0},
        ContinuationRow{"Longer", kLines, kLines + L"third", 0},
        ContinuationRow{"OneCharacterGrown", L"a", L"ab", 0},
        ContinuationRow{"StartGone", kLines, kLines.substr(9) + L"third", 9},
        ContinuationRow{"LeastOverlap", L"0123456789abcdefghijklmnopqrstuvwxyz",
                        L"456789abcdefghijklmnopqrstuvwxyzMORE", 4},
        ContinuationRow{"TooLittleOverlap", L"0123456789abcdefghijklmnopqrstuvwxyz",
                        L"56789abcdefghijklmnopqrstuvwxyzMORE", kNotContinued},
        ContinuationRow{"Shortened", kLines, kLines.substr(0, 20), kNotContinued},
        ContinuationRow{"BeginsAlikeOnly", kLines, kLines.substr(0, 40) + L"other", kNotContinued},
        ContinuationRow{"Other", kLines, L"an episode that has nothing to do with the one before",
                        kNotContinued},
        ContinuationRow{"Emptied", kLines, L"", kNotContinued},
        ContinuationRow{"SecondCandidate", kLines + kLines + L"x", kLines + L"xy", kLines.size()}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(DroppedChars, GivesUpOnATextThatRepeatsItself) {
    const std::wstring same(64'000, L'a');
    EXPECT_EQ(DroppedChars(same + L"b", same + L"c"), kNotContinued);
}

}  // namespace
