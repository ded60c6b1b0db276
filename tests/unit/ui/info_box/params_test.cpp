#include "ui/info_box/params.h"

#include <gtest/gtest.h>

#include <cstddef>

namespace {

uint32_t SomeCallback(void*, FlexiInfoEvent*, wchar_t*, uint32_t) noexcept {
    return FIR_NoChange;
}

TEST(InfoBoxParams, NullParametersGiveAllDefaults) {
    const FlexiInfoParams full = WithInfoBoxDefaults(nullptr, false);
    EXPECT_STREQ(full.title, L"FlexiInfo");
    EXPECT_EQ(full.fixedPitch, 0);
    EXPECT_EQ(full.normalIcon, LoadIconW(nullptr, IDI_INFORMATION));
    EXPECT_EQ(full.alertIcon, LoadIconW(nullptr, IDI_WARNING));
    EXPECT_EQ(full.textBufferChars, 1u);
    EXPECT_EQ(full.fontPointSize, 9);
    EXPECT_EQ(full.okText, nullptr);
    EXPECT_EQ(full.cancelText, nullptr);
    EXPECT_STREQ(full.refreshText, L"&Refresh");
    EXPECT_STREQ(full.autoText, L"&Auto");
    EXPECT_EQ(full.defaultButtonId, 0u);
    EXPECT_EQ(full.hintSeconds, 2);
    EXPECT_STREQ(full.hintText, L"Right-click blank area to get context menu.");
    EXPECT_EQ(full.menuItems, nullptr);
    EXPECT_EQ(full.menuItemCount, 0);
}

TEST(InfoBoxParams, GivenValuesStay) {
    FlexiInfoMenuItem items[1] = {{100, kMenuItemPlain, L"Entry"}};
    FlexiInfoParams params = {};
    params.title = L"Title";
    params.normalIcon = LoadIconW(nullptr, IDI_ERROR);
    params.alertIcon = LoadIconW(nullptr, IDI_QUESTION);
    params.refreshProc = SomeCallback;
    params.autoRefreshAtStart = 1;
    params.textBufferChars = 4000;
    params.fontPointSize = 12;
    params.refreshText = L"Again";
    params.autoText = L"Always";
    params.defaultButtonId = kInfoBoxTextId;
    params.hintSeconds = 7;
    params.hintText = L"Hint";
    params.menuItems = items;
    params.menuItemCount = 1;
    const FlexiInfoParams full = WithInfoBoxDefaults(&params, true);
    EXPECT_STREQ(full.title, L"Title");
    EXPECT_EQ(full.normalIcon, params.normalIcon);
    EXPECT_EQ(full.alertIcon, params.alertIcon);
    EXPECT_EQ(full.refreshProc, &SomeCallback);
    EXPECT_EQ(full.autoRefreshAtStart, 1);
    EXPECT_EQ(full.textBufferChars, 4000u);
    EXPECT_EQ(full.fontPointSize, 12);
    EXPECT_STREQ(full.refreshText, L"Again");
    EXPECT_STREQ(full.autoText, L"Always");
    EXPECT_EQ(full.defaultButtonId, static_cast<uint32_t>(kInfoBoxTextId));
    EXPECT_EQ(full.hintSeconds, 7);
    EXPECT_STREQ(full.hintText, L"Hint");
    EXPECT_EQ(full.menuItems, items);
    EXPECT_EQ(full.menuItemCount, 1);
}

TEST(InfoBoxParams, TheBuiltInCallbackReturnsNormalIconAndNeverRunsAtStart) {
    FlexiInfoParams params = {};
    params.autoRefreshAtStart = 1;
    const FlexiInfoParams full = WithInfoBoxDefaults(&params, true);
    ASSERT_NE(full.refreshProc, nullptr);
    EXPECT_EQ(full.refreshProc(nullptr, nullptr, nullptr, 0), FIR_NormalIcon);
    EXPECT_EQ(full.autoRefreshAtStart, 0);
}

TEST(InfoBoxParams, ACapacityWithoutABufferIsReplacedByOne) {
    FlexiInfoParams params = {};
    params.textBufferChars = 4000;
    EXPECT_EQ(WithInfoBoxDefaults(&params, false).textBufferChars, 1u);
}

TEST(InfoBoxParams, ANegativeHintTimeStays) {
    FlexiInfoParams params = {};
    params.hintSeconds = -1;
    EXPECT_EQ(WithInfoBoxDefaults(&params, true).hintSeconds, -1);
}

TEST(InfoBoxParams, MenuItemsWithoutACountAreNoMenu) {
    FlexiInfoMenuItem items[1] = {};
    FlexiInfoParams params = {};
    params.menuItems = items;
    params.menuItemCount = -3;
    EXPECT_EQ(WithInfoBoxDefaults(&params, true).menuItemCount, 0);
    params.menuItems = nullptr;
    params.menuItemCount = 2;
    EXPECT_EQ(WithInfoBoxDefaults(&params, true).menuItemCount, 0);
}

struct DefaultButtonRow {
    const char* name;
    const wchar_t* okText;
    const wchar_t* cancelText;
    uint32_t requested;
    uint32_t expected;
};
void PrintTo(const DefaultButtonRow& row, std::ostream* out) {
    *out << row.name;
}

class DefaultButtons : public testing::TestWithParam<DefaultButtonRow> {};

TEST_P(DefaultButtons, FollowTheRequestElseTheTexts) {
    FlexiInfoParams params = {};
    params.okText = GetParam().okText;
    params.cancelText = GetParam().cancelText;
    params.defaultButtonId = GetParam().requested;
    EXPECT_EQ(WithInfoBoxDefaults(&params, true).defaultButtonId, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(InfoBoxParams, DefaultButtons,
                         testing::Values(DefaultButtonRow{"NoButtons", nullptr, nullptr, 0, 0},
                                         DefaultButtonRow{"Ok", L"OK", nullptr, 0, 1},
                                         DefaultButtonRow{"OkBeforeCancel", L"OK", L"Cancel", 0, 1},
                                         DefaultButtonRow{"CancelAlone", nullptr, L"Cancel", 0, 2},
                                         DefaultButtonRow{"AnEmptyTextCounts", L"", L"Cancel", 0, 1},
                                         DefaultButtonRow{"CancelRequested", L"OK", L"Cancel", 2, 2},
                                         DefaultButtonRow{"RefreshRequested", L"OK", L"Cancel", 103, 103}),
                         [](const auto& row) { return row.param.name; });

struct PointSizeRow {
    int32_t requested;
    int32_t used;
};

class PointSizes : public testing::TestWithParam<PointSizeRow> {};

TEST_P(PointSizes, HaveADefaultAndAMinimum) {
    EXPECT_EQ(InfoBoxFontPointSize(GetParam().requested), GetParam().used);
}

INSTANTIATE_TEST_SUITE_P(InfoBoxParams, PointSizes,
                         testing::Values(PointSizeRow{-5, 9}, PointSizeRow{0, 9}, PointSizeRow{1, 6},
                                         PointSizeRow{3, 6}, PointSizeRow{6, 6}, PointSizeRow{7, 7},
                                         PointSizeRow{14, 14}),
                         [](const auto& row) {
                             const int32_t size = row.param.requested;
                             return size < 0 ? "Minus" + std::to_string(-size) : std::to_string(size);
                         });

// Callers of other modules fill these records field by field; their layout must not drift.
TEST(InfoBoxParams, TheRecordsKeepTheirLayout) {
    EXPECT_EQ(offsetof(FlexiInfoParams, title), 8u);
    EXPECT_EQ(offsetof(FlexiInfoParams, normalIcon), 24u);
    EXPECT_EQ(offsetof(FlexiInfoParams, textBufferChars), 56u);
    EXPECT_EQ(offsetof(FlexiInfoParams, autoRefreshMs), 64u);
    EXPECT_EQ(offsetof(FlexiInfoParams, okText), 80u);
    EXPECT_EQ(offsetof(FlexiInfoParams, defaultButtonId), 112u);
    EXPECT_EQ(offsetof(FlexiInfoParams, hintSeconds), 120u);
    EXPECT_EQ(offsetof(FlexiInfoParams, menuItems), 136u);
    EXPECT_EQ(sizeof(FlexiInfoParams), 152u);
    EXPECT_EQ(sizeof(FlexiInfoMenuItem), 16u);
    EXPECT_EQ(offsetof(FlexiInfoEvent, menuItemChecked), 16u);
    EXPECT_EQ(offsetof(FlexiInfoEvent, okPressTick), 20u);
    EXPECT_EQ(offsetof(FlexiInfoEvent, lastRefreshTime), 48u);
    EXPECT_EQ(sizeof(FlexiInfoEvent), 56u);
}

}  // namespace
