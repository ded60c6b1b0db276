#include "ui/hint_balloon.h"

#include <gtest/gtest.h>

namespace {

struct PositionRow {
    const char* name;
    POINT wanted;
    POINT place;
};
void PrintTo(const PositionRow& row, std::ostream* out) {
    *out << row.name;
}

class HintPositions : public testing::TestWithParam<PositionRow> {};

TEST_P(HintPositions, LieInsideTheClientArea) {
    const POINT place = HintPosition(GetParam().wanted, {300, 200});
    EXPECT_EQ(place.x, GetParam().place.x);
    EXPECT_EQ(place.y, GetParam().place.y);
}

INSTANTIATE_TEST_SUITE_P(HintBalloon, HintPositions,
                         testing::Values(PositionRow{"Inside", {10, 20}, {10, 20}},
                                         PositionRow{"Origin", {0, 0}, {0, 0}},
                                         PositionRow{"FromTheBottom", {4, -4}, {4, 196}},
                                         PositionRow{"FromTheRight", {-1, 5}, {299, 5}},
                                         PositionRow{"BeyondRightAndBottom", {300, 900}, {299, 199}},
                                         PositionRow{"TooFarFromTheEdges", {-301, -5000}, {0, 0}}),
                         [](const auto& row) { return row.param.name; });

TEST(HintPosition, AnEmptyClientAreaGivesItsOrigin) {
    const POINT place = HintPosition({4, -4}, {0, 0});
    EXPECT_EQ(place.x, 0);
    EXPECT_EQ(place.y, 0);
}

}  // namespace
