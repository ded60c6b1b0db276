#include "ui/anchor_layout.h"

#include <gtest/gtest.h>

namespace {

struct EdgeRow {
    const char* name;
    int percent, dimension, edge;
    int offset;
    int newDimension, newEdge;
};
void PrintTo(const EdgeRow& row, std::ostream* out) {
    *out << row.name;
}

class AnchoredEdges : public testing::TestWithParam<EdgeRow> {};

TEST_P(AnchoredEdges, KeepTheirOffsetFromThePercentage) {
    const EdgeRow& row = GetParam();
    const int offset = AnchorOffset(row.edge, row.percent, row.dimension);
    EXPECT_EQ(offset, row.offset);
    EXPECT_EQ(AnchoredEdge(row.percent, row.newDimension, offset), row.newEdge);
}

INSTANTIATE_TEST_SUITE_P(AnchorLayout, AnchoredEdges,
                         testing::Values(EdgeRow{"ZeroStays", 0, 200, 37, 37, 500, 37},
                                         EdgeRow{"HundredFollowsTheFarEdge", 100, 200, 190, -10, 500, 490},
                                         EdgeRow{"FiftyFollowsTheMiddle", 50, 200, 110, 10, 500, 260},
                                         EdgeRow{"FiftyOfAnOddSizeTruncates", 50, 201, 110, 10, 301, 160},
                                         EdgeRow{"AThirdTruncates", 33, 100, 50, 17, 101, 50},
                                         EdgeRow{"ShrinkingBelowTheOffset", 100, 200, 190, -10, 5, -5},
                                         EdgeRow{"EmptyClientArea", 100, 0, 0, 0, 80, 80},
                                         EdgeRow{"OutsideTheClientArea", 100, 200, 250, 50, 300, 350}),
                         [](const auto& row) { return row.param.name; });

TEST(AnchorLayout, NegativeProductsTruncateTowardZero) {
    // -1 * 50 / 100 is 0, not -1.
    EXPECT_EQ(AnchorOffset(10, -1, 50), 10);
    EXPECT_EQ(AnchoredEdge(-1, 50, 10), 10);
}

TEST(AnchorLayout, LeftAndRightFollowTheWidthTopAndBottomTheHeight) {
    const RECT rect{10, 20, 110, 70};
    const AnchorPercents stretch{0, 0, 100, 100};
    const RECT offsets = AnchorOffsets(rect, stretch, {200, 100});
    EXPECT_EQ(offsets.right, -90);
    EXPECT_EQ(offsets.bottom, -30);
    const RECT moved = AnchoredRect(offsets, stretch, {300, 250});
    EXPECT_EQ(moved.left, 10);
    EXPECT_EQ(moved.top, 20);
    EXPECT_EQ(moved.right, 210);
    EXPECT_EQ(moved.bottom, 220);
}

TEST(AnchorLayout, AnUnchangedSizeChangesNothing) {
    for (int percent = 0; percent <= 100; ++percent) {
        const AnchorPercents percents{percent, percent, 100 - percent, percent};
        const RECT rect{3, 5, 71, 23};
        const RECT again = AnchoredRect(AnchorOffsets(rect, percents, {97, 31}), percents, {97, 31});
        EXPECT_TRUE(EqualRect(&rect, &again)) << percent;
    }
}

}  // namespace
