#include "ui/info_box/layout.h"

#include <gtest/gtest.h>

namespace {

// A target of 200 by 100 pixels.
constexpr RECT kTarget{50, 60, 250, 160};

TEST(InfoBoxLayout, TheBoxAddsItsFrameTheScrollBarAndTheMarginsToTheText) {
    const SIZE size = InfoBoxSizeForText({400, 300}, {250, 180}, {500, 70}, 17);
    EXPECT_EQ(size.cx, 150 + 500 + 17 + 16);
    EXPECT_EQ(size.cy, 120 + 70);
}

struct ShrunkRow {
    const char* name;
    SIZE window;
    bool notShrunk;
};
void PrintTo(const ShrunkRow& row, std::ostream* out) {
    *out << row.name;
}

class ShrunkBoxes : public testing::TestWithParam<ShrunkRow> {};

TEST_P(ShrunkBoxes, AreThoseFifteenPixelsBelowTheTarget) {
    EXPECT_EQ(IsNotShrunk(GetParam().window, kTarget), GetParam().notShrunk);
}

INSTANTIATE_TEST_SUITE_P(InfoBoxLayout, ShrunkBoxes,
                         testing::Values(ShrunkRow{"Full", {200, 100}, true},
                                         ShrunkRow{"Larger", {300, 120}, true},
                                         ShrunkRow{"FourteenNarrower", {186, 100}, true},
                                         ShrunkRow{"FifteenNarrower", {185, 100}, false},
                                         ShrunkRow{"FourteenLower", {200, 86}, true},
                                         ShrunkRow{"FifteenLower", {200, 85}, false},
                                         ShrunkRow{"FourteenInBoth", {186, 86}, true},
                                         ShrunkRow{"WiderButLower", {400, 85}, false}),
                         [](const auto& row) { return row.param.name; });

struct GrowthRow {
    const char* name;
    RECT fresh;
    RECT grown;
};
void PrintTo(const GrowthRow& row, std::ostream* out) {
    *out << row.name;
}

class GrownTargets : public testing::TestWithParam<GrowthRow> {};

TEST_P(GrownTargets, TakeEachLargerDimensionWithItsEdges) {
    const RECT grown = GrownTarget(kTarget, GetParam().fresh);
    EXPECT_TRUE(EqualRect(&grown, &GetParam().grown));
}

INSTANTIATE_TEST_SUITE_P(InfoBoxLayout, GrownTargets,
                         testing::Values(GrowthRow{"Same", kTarget, kTarget},
                                         GrowthRow{"SameSizeElsewhere", {0, 0, 200, 100}, kTarget},
                                         GrowthRow{"SmallerNeverShrinks", {90, 90, 100, 100}, kTarget},
                                         GrowthRow{"Wider", {10, 80, 290, 90}, {10, 60, 290, 160}},
                                         GrowthRow{"Higher", {100, 5, 110, 215}, {50, 5, 250, 215}},
                                         GrowthRow{"Both", {1, 2, 301, 302}, {1, 2, 301, 302}}),
                         [](const auto& row) { return row.param.name; });

TEST(InfoBoxLayout, ABoxIsSmallerWhenEitherDimensionIs) {
    EXPECT_FALSE(IsSmallerThan({200, 100}, kTarget));
    EXPECT_TRUE(IsSmallerThan({199, 100}, kTarget));
    EXPECT_TRUE(IsSmallerThan({200, 99}, kTarget));
    EXPECT_FALSE(IsSmallerThan({500, 500}, kTarget));
}

}  // namespace
