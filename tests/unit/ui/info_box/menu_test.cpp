#include "ui/info_box/menu.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace {

struct DetachRow {
    const char* name;
    bool hasParent;
    bool attached;
    uint32_t state;
};
void PrintTo(const DetachRow& row, std::ostream* out) {
    *out << row.name;
}

class DetachEntry : public testing::TestWithParam<DetachRow> {};

TEST_P(DetachEntry, TellsWhetherTheBoxIsDetached) {
    for (const uint32_t given : {0u, 1u, 2u, kMenuItemHidden}) {
        FlexiInfoMenuItem item{FIMI_Detach, given, L"Detach infobox from parent"};
        NormalizeMenu(&item, 1, GetParam().hasParent, GetParam().attached);
        EXPECT_EQ(item.state, GetParam().state);
    }
}

INSTANTIATE_TEST_SUITE_P(InfoBoxMenu, DetachEntry,
                         testing::Values(DetachRow{"Attached", true, true, kMenuItemUnchecked},
                                         DetachRow{"Detached", true, false, kMenuItemChecked},
                                         DetachRow{"WithoutParent", false, false, kMenuItemHidden}),
                         [](const auto& row) { return row.param.name; });

TEST(InfoBoxMenu, TheCopyEntryIsAlwaysPlain) {
    for (const uint32_t given : {0u, 1u, 2u, kMenuItemHidden}) {
        FlexiInfoMenuItem item{FIMI_CopyToClipboard, given, L"Copy to clipboard"};
        EXPECT_FALSE(NormalizeMenu(&item, 1, true, true));
        EXPECT_EQ(item.state, kMenuItemPlain);
    }
}

TEST(InfoBoxMenu, TheShowTimeEntryIsOnOnlyWhenItWasChecked) {
    for (const uint32_t given : {0u, 2u, 7u, kMenuItemHidden}) {
        FlexiInfoMenuItem item{FIMI_ShowRefreshTime, given, L"Show last refresh time on title"};
        EXPECT_FALSE(NormalizeMenu(&item, 1, true, true));
        EXPECT_EQ(item.state, kMenuItemUnchecked);
    }
    FlexiInfoMenuItem item{FIMI_ShowRefreshTime, kMenuItemChecked, L"Show last refresh time on title"};
    EXPECT_TRUE(NormalizeMenu(&item, 1, true, true));
    EXPECT_EQ(item.state, kMenuItemChecked);
}

TEST(InfoBoxMenu, OtherEntriesKeepTheirStates) {
    std::array<FlexiInfoMenuItem, 4> items{
        {{100, 0, L"a"}, {101, 1, L"b"}, {102, 2, L"c"}, {103, 0xFFFFFFFF, L"d"}}};
    NormalizeMenu(items.data(), 4, true, true);
    EXPECT_EQ(items[0].state, 0u);
    EXPECT_EQ(items[1].state, 1u);
    EXPECT_EQ(items[2].state, 2u);
    EXPECT_EQ(items[3].state, kMenuItemHidden);
}

struct ToggleRow {
    const char* name;
    uint32_t before;
    uint32_t after;
    bool checked;
};
void PrintTo(const ToggleRow& row, std::ostream* out) {
    *out << row.name;
}

class ToggledItems : public testing::TestWithParam<ToggleRow> {};

TEST_P(ToggledItems, ChangeTheirStateInTheCallersArray) {
    FlexiInfoMenuItem item{100, GetParam().before, L"Entry"};
    EXPECT_EQ(ToggleMenuItem(&item, 1, 100), GetParam().checked);
    EXPECT_EQ(item.state, GetParam().after);
}

INSTANTIATE_TEST_SUITE_P(InfoBoxMenu, ToggledItems,
                         testing::Values(ToggleRow{"PlainStaysPlain", 0, 0, false},
                                         ToggleRow{"CheckedBecomesUnchecked", 1, 2, false},
                                         ToggleRow{"UncheckedBecomesChecked", 2, 1, true},
                                         ToggleRow{"AnyOtherBecomesUnchecked", 5, 2, false}),
                         [](const auto& row) { return row.param.name; });

TEST(InfoBoxMenu, EveryEntryWithTheChosenIdIsToggled) {
    std::array<FlexiInfoMenuItem, 3> items{{{7, 2, L"a"}, {8, 2, L"b"}, {7, 1, L"c"}}};
    EXPECT_FALSE(ToggleMenuItem(items.data(), 3, 7));
    EXPECT_EQ(items[0].state, 1u);
    EXPECT_EQ(items[1].state, 2u);
    EXPECT_EQ(items[2].state, 2u);
}

TEST(InfoBoxMenu, ADismissedMenuTogglesNothing) {
    FlexiInfoMenuItem hiddenSeparator{0, kMenuItemHidden, nullptr};
    EXPECT_FALSE(ToggleMenuItem(&hiddenSeparator, 1, 0));
    EXPECT_EQ(hiddenSeparator.state, kMenuItemHidden);
}

TEST(InfoBoxMenu, EveryIdComesBackFromItsCommand) {
    for (const int32_t id : {FIMI_CopyToClipboard, FIMI_ShowRefreshTime, FIMI_Detach}) {
        EXPECT_GT(static_cast<int32_t>(MenuCommandOf(id)), 0xFFFF);
        EXPECT_EQ(MenuItemIdOf(static_cast<int32_t>(MenuCommandOf(id))), id);
        EXPECT_EQ(MenuItemIdOf(id), id);
    }
    for (const int32_t id : {0, 1, 100, 0xFFFF, -1, -5})
        EXPECT_EQ(MenuCommandOf(id), static_cast<UINT>(id));
}

std::wstring TextAt(HMENU menu, UINT position) {
    wchar_t text[80] = {};
    GetMenuStringW(menu, position, text, 80, MF_BYPOSITION);
    return text;
}

TEST(InfoBoxMenu, ShowsTheVisibleEntriesInTableOrder) {
    const std::array<FlexiInfoMenuItem, 5> items{{{100, kMenuItemUnchecked, L"First"},
                                                  {101, kMenuItemHidden, L"Hidden"},
                                                  {0, 0, nullptr},
                                                  {-3, kMenuItemChecked, L"Checked"},
                                                  {102, kMenuItemPlain, L"Last"}}};
    const OwnedMenu menu = BuildMenu(items.data(), 5);
    ASSERT_EQ(GetMenuItemCount(menu.get()), 4);
    EXPECT_EQ(TextAt(menu.get(), 0), L"First");
    EXPECT_EQ(TextAt(menu.get(), 2), L"Checked");
    EXPECT_EQ(TextAt(menu.get(), 3), L"Last");
    EXPECT_TRUE(GetMenuState(menu.get(), 1, MF_BYPOSITION) & MF_SEPARATOR);
    EXPECT_FALSE(GetMenuState(menu.get(), 0, MF_BYPOSITION) & MF_CHECKED);
    EXPECT_TRUE(GetMenuState(menu.get(), 2, MF_BYPOSITION) & MF_CHECKED);
    EXPECT_EQ(GetMenuItemID(menu.get(), 0), 100u);
    EXPECT_EQ(MenuItemIdOf(static_cast<int32_t>(GetMenuItemID(menu.get(), 2))), FIMI_ShowRefreshTime);
}

}  // namespace
