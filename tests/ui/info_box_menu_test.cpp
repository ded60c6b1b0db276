#include "ui/info_box/menu.h"

#include <array>

#include "ui/info_box/state.h"

#include "tests/support/import_redirect.h"
#include "tests/ui/info_box_fixture.h"

namespace {

enum class Place { kAttached, kDetached, kWithoutParent };

struct ChoiceRow {
    const char* name;
    Place place;
    int32_t id;  // 0: the menu is dismissed
};
void PrintTo(const ChoiceRow& row, std::ostream* out) {
    *out << row.name;
}

using Items = std::array<FlexiInfoMenuItem, 6>;

Items AllKinds() {
    return {{{100, kMenuItemUnchecked, L"Display thousand separator"},
             {FIMI_Detach, 0, L"Detach infobox from parent"},
             {0, 0, nullptr},
             {FIMI_CopyToClipboard, kMenuItemUnchecked, L"Copy to clipboard"},
             {FIMI_ShowRefreshTime, kMenuItemUnchecked, L"Show last refresh time on title"},
             {101, kMenuItemPlain, L"Reset session Stat"}}};
}

class InfoBoxMenuTest : public InfoBoxTest {
  protected:
    FlexiInfoParams WithMenu() {
        FlexiInfoParams params = Recorded();
        params.textBufferChars = static_cast<uint32_t>(buffer_.size());
        params.menuItems = items_.data();
        params.menuItemCount = static_cast<int32_t>(items_.size());
        params.hintSeconds = -1;
        return params;
    }
    Items items_ = AllKinds();
};

class InfoBoxChoices : public InfoBoxMenuTest, public testing::WithParamInterface<ChoiceRow> {
  protected:
    bool Reopens() const { return GetParam().id == FIMI_Detach; }
};

TEST_P(InfoBoxChoices, AreCarriedOutAndReported) {
    FlexiInfoParams params = WithMenu();
    params.startDetached = GetParam().place == Place::kDetached ? 1 : 0;
    const HWND owner = GetParam().place == Place::kWithoutParent ? nullptr : parent();
    wcscpy(buffer_.data(), L"shown");
    auto& menu = driver_.ExpectMenu();
    GetParam().id == 0 ? menu.Dismiss() : menu.Choose(MenuCommandOf(GetParam().id));
    auto& first = driver_.ExpectBox(L"FlexiInfo");
    const auto choose = [](BoxView& view) { OpenInfoBox(view).RightClick(); };
    const auto chooseAndClose = [](BoxView& view) {
        OpenInfoBox(view).RightClick();
        OpenInfoBox(view).Command(kInfoBoxOkId);
    };
    if (Reopens()) {
        first.Do(choose);
        driver_.ExpectBox(L"FlexiInfo").Press(kInfoBoxOkId);
    } else {
        first.Do(chooseAndClose);
    }
    EXPECT_EQ(FlexiInfoBox(owner, &params, buffer_.data()), kInfoBoxOk);

    ASSERT_EQ(callback_.Reasons(), (std::vector<uint32_t>{kReasonMenu, kReasonOk}));
    EXPECT_EQ(callback_.calls[0].menuItemId, GetParam().id);
    const bool detachedByMenu = Reopens() && GetParam().place == Place::kAttached;
    const bool checked = GetParam().id == 100 || GetParam().id == FIMI_ShowRefreshTime || detachedByMenu;
    EXPECT_EQ(callback_.calls[0].menuItemChecked, checked ? 1 : 0);
    EXPECT_EQ(callback_.calls[1].menuItemId, 0);
    EXPECT_EQ(callback_.calls[1].menuItemChecked, 0);
    EXPECT_EQ(items_[0].state, GetParam().id == 100 ? kMenuItemChecked : kMenuItemUnchecked);
    EXPECT_EQ(items_[5].state, kMenuItemPlain);
    const std::vector<BoxRecord> boxes = driver_.boxes();
    ASSERT_EQ(boxes.size(), Reopens() ? 2u : 1u);
    if (Reopens()) {
        EXPECT_EQ(boxes[0].owner == nullptr, GetParam().place == Place::kDetached);
        EXPECT_EQ(boxes[1].owner == nullptr, GetParam().place == Place::kAttached);
        EXPECT_EQ(items_[1].state, detachedByMenu ? kMenuItemChecked : kMenuItemUnchecked);
    }
}

std::vector<ChoiceRow> AllChoices() {
    return {{"AttachedOwn", Place::kAttached, 100},
            {"AttachedPlain", Place::kAttached, 101},
            {"AttachedCopy", Place::kAttached, FIMI_CopyToClipboard},
            {"AttachedTime", Place::kAttached, FIMI_ShowRefreshTime},
            {"AttachedDetach", Place::kAttached, FIMI_Detach},
            {"AttachedDismissed", Place::kAttached, 0},
            {"DetachedOwn", Place::kDetached, 100},
            {"DetachedPlain", Place::kDetached, 101},
            {"DetachedCopy", Place::kDetached, FIMI_CopyToClipboard},
            {"DetachedTime", Place::kDetached, FIMI_ShowRefreshTime},
            {"DetachedAttach", Place::kDetached, FIMI_Detach},
            {"DetachedDismissed", Place::kDetached, 0},
            {"ParentlessOwn", Place::kWithoutParent, 100},
            {"ParentlessPlain", Place::kWithoutParent, 101},
            {"ParentlessCopy", Place::kWithoutParent, FIMI_CopyToClipboard},
            {"ParentlessTime", Place::kWithoutParent, FIMI_ShowRefreshTime},
            {"ParentlessDismissed", Place::kWithoutParent, 0}};
}

INSTANTIATE_TEST_SUITE_P(InfoBox, InfoBoxChoices, testing::ValuesIn(AllChoices()),
                         [](const auto& row) { return row.param.name; });

TEST_F(InfoBoxMenuTest, ShowsTheEntriesWithTheirMarks) {
    driver_.ExpectMenu().Dismiss();
    Show(WithMenu(), L"", [](OpenInfoBox& box) {
        box.RightClick();
        box.Command(kInfoBoxOkId);
    });
    const MenuRecord menu = driver_.menus()[0];
    EXPECT_EQ(menu.Texts(),
              L"Display thousand separator\nDetach infobox from parent\n-\nCopy to clipboard\n"
              L"Show last refresh time on title\nReset session Stat\n");
    for (const MenuItemRecord& item : menu.items)
        EXPECT_FALSE(item.checked());
}

TEST_F(InfoBoxMenuTest, WithoutAParentThereIsNoDetachEntry) {
    driver_.ExpectMenu().Dismiss();
    FlexiInfoParams params = WithMenu();
    driver_.ExpectBox(L"FlexiInfo").Do([](BoxView& view) {
        OpenInfoBox(view).RightClick();
        OpenInfoBox(view).Command(kInfoBoxOkId);
    });
    FlexiInfoBox(nullptr, &params, buffer_.data());
    EXPECT_EQ(driver_.menus()[0].Item(MenuCommandOf(FIMI_Detach)), nullptr);
    EXPECT_EQ(items_[1].state, kMenuItemHidden);
}

TEST_F(InfoBoxMenuTest, CopyPutsTheShownTextOnTheClipboard) {
    const PatientClipboard clipboard;
    driver_.ExpectMenu().Choose(MenuCommandOf(FIMI_CopyToClipboard));
    Show(WithMenu(), L"first\nsecond", [](OpenInfoBox& box) {
        box.RightClick();
        EXPECT_EQ(ClipboardText(), L"first\r\nsecond");
        box.Command(kInfoBoxOkId);
    });
}

TEST_F(InfoBoxMenuTest, ShowTimeTurnsTheCaptionIntoTheTimeAndBack) {
    driver_.ExpectMenu().Choose(MenuCommandOf(FIMI_ShowRefreshTime));
    driver_.ExpectMenu().Choose(MenuCommandOf(FIMI_ShowRefreshTime));
    Show(WithMenu(), L"", [](OpenInfoBox& box) {
        box.RightClick();
        EXPECT_EQ(box.Caption().size(), 19u);
        box.RightClick();
        EXPECT_EQ(box.Caption(), L"FlexiInfo");
        box.Command(kInfoBoxOkId);
    });
}

TEST_F(InfoBoxMenuTest, WithoutEntriesARightClickDoesNothing) {
    FlexiInfoParams params = Recorded();
    Show(params, L"", [&](OpenInfoBox& box) {
        box.RightClick();
        EXPECT_TRUE(callback_.calls.empty());
        box.Command(kInfoBoxOkId);
    });
    EXPECT_TRUE(driver_.menus().empty());
}

TEST_F(InfoBoxMenuTest, TheContextMenuKeyOpensTheMenu) {
    driver_.ExpectMenu().Choose(101);
    Show(WithMenu(), L"", [&](OpenInfoBox& box) {
        SendMessageW(box.hwnd(), WM_CONTEXTMENU, reinterpret_cast<WPARAM>(box.hwnd()), -1);
        EXPECT_EQ(callback_.calls.back().menuItemId, 101);
        box.Command(kInfoBoxOkId);
    });
}

TEST_F(InfoBoxMenuTest, TheMenuOpensAtTheClickOrForTheKeyAtTheCorner) {
    std::vector<POINT> places;
    REPLACE_CALL(track, TrackPopupMenu, [&](HMENU, UINT, int x, int y, int, HWND, const RECT*) {
        places.push_back({x, y});
        return 0;
    });
    Show(WithMenu(), L"", [&](OpenInfoBox& box) {
        POINT corner = {};
        ClientToScreen(box.hwnd(), &corner);
        box.RightClick(5, 9);
        SendMessageW(box.hwnd(), WM_CONTEXTMENU, reinterpret_cast<WPARAM>(box.hwnd()), -1);
        ASSERT_EQ(places.size(), 2u);
        EXPECT_EQ(places[0].x, corner.x + 5);
        EXPECT_EQ(places[0].y, corner.y + 9);
        EXPECT_EQ(places[1].x, corner.x);
        EXPECT_EQ(places[1].y, corner.y);
        box.Command(kInfoBoxOkId);
    });
}

TEST_F(InfoBoxMenuTest, AttachingToAParentThatIsGoneStaysDetached) {
    callback_.act = [&](FlexiInfoEvent& event, wchar_t*, uint32_t) {
        if (event.reason == kReasonRefreshButton) DestroyWindow(parent());
        return FIR_NoChange;
    };
    FlexiInfoParams params = WithMenu();
    params.startDetached = 1;
    params.showRefreshButton = 1;
    wcscpy(buffer_.data(), L"kept");
    for (int i = 0; i < 2; ++i)
        driver_.ExpectMenu().Choose(MenuCommandOf(FIMI_Detach));
    driver_.ExpectBox(L"FlexiInfo").Do([](BoxView& view) {
        const OpenInfoBox box(view);
        box.Command(kInfoBoxRefreshId);
        box.RightClick();
    });
    driver_.ExpectBox(L"FlexiInfo").Do([](BoxView& view) { OpenInfoBox(view).RightClick(); });
    driver_.ExpectBox(L"FlexiInfo").Do([](BoxView& view) {
        EXPECT_EQ(view.Text(kInfoBoxTextId), L"kept");
        view.Press(kInfoBoxOkId);
    });
    EXPECT_EQ(FlexiInfoBox(parent(), &params, buffer_.data()), kInfoBoxOk);
    ASSERT_EQ(driver_.boxes().size(), 3u);
    EXPECT_EQ(driver_.boxes()[2].owner, nullptr);
    // The second menu shows it as detached again.
    EXPECT_TRUE(driver_.menus()[1].Item(MenuCommandOf(FIMI_Detach))->checked());
    EXPECT_EQ(items_[1].state, kMenuItemChecked);
}

TEST_F(InfoBoxMenuTest, DetachingAndAttachingKeepsTextStatesAndRefreshTime) {
    FlexiInfoParams params = WithMenu();
    params.okText = L"OK";
    wcscpy(buffer_.data(), L"kept");
    driver_.ExpectMenu().Choose(100);
    for (int i = 0; i < 3; ++i)
        driver_.ExpectMenu().Choose(MenuCommandOf(FIMI_Detach));
    int64_t refreshed = 0;
    driver_.ExpectBox(L"FlexiInfo").Do([](BoxView& view) {
        OpenInfoBox(view).RightClick();
        OpenInfoBox(view).RightClick();
    });
    for (int i = 0; i < 2; ++i)
        driver_.ExpectBox(L"FlexiInfo").Do([&](BoxView& view) {
            EXPECT_EQ(view.Text(kInfoBoxTextId), L"kept");
            refreshed = callback_.calls.back().lastRefreshTime;
            OpenInfoBox(view).RightClick();
        });
    driver_.ExpectBox(L"FlexiInfo").Press(kInfoBoxOkId);
    EXPECT_EQ(FlexiInfoBox(parent(), &params, buffer_.data()), kInfoBoxOk);
    EXPECT_EQ(items_[0].state, kMenuItemChecked);
    EXPECT_NE(refreshed, 0);
    EXPECT_EQ(driver_.boxes().size(), 4u);
    EXPECT_EQ(driver_.boxes()[3].owner, nullptr);
    EXPECT_TRUE(IsWindowEnabled(parent()));
}

TEST_F(InfoBoxMenuTest, AReopenedBoxHasItsTitleUntilItsNextRefresh) {
    items_[4].state = kMenuItemChecked;
    FlexiInfoParams params = WithMenu();
    params.showRefreshButton = 1;
    driver_.ExpectMenu().Choose(MenuCommandOf(FIMI_Detach));
    driver_.ExpectBox(L"FlexiInfo").Do([](BoxView& view) {
        const OpenInfoBox box(view);
        box.Command(kInfoBoxRefreshId);
        EXPECT_EQ(box.Caption().size(), 19u);
        box.RightClick();
    });
    driver_.ExpectBox(L"FlexiInfo").Do([](BoxView& view) {
        const OpenInfoBox box(view);
        box.Command(kInfoBoxRefreshId);
        EXPECT_EQ(box.Caption().size(), 19u);
        box.Command(kInfoBoxOkId);
    });
    EXPECT_EQ(FlexiInfoBox(parent(), &params, buffer_.data()), kInfoBoxOk);
    EXPECT_NE(callback_.calls[1].lastRefreshTime, 0);
}

TEST_F(InfoBoxMenuTest, TimersAndSizeStartAfreshWhenReopened) {
    FlexiInfoParams params = WithMenu();
    params.autoRefreshMs = 600000;
    params.autoRefreshAtStart = 1;
    params.okDelayMs = 600000;
    params.cancelText = L"Cancel";
    wcscpy(buffer_.data(), L"one\ntwo\nthree\nfour\nfive\nsix\nseven\neight\nnine\nten");
    callback_.result = FIR_NoChange;
    driver_.ExpectMenu().Choose(MenuCommandOf(FIMI_Detach));
    SIZE first = {};
    driver_.ExpectBox(L"FlexiInfo").Do([&](BoxView& view) {
        const OpenInfoBox box(view);
        first = {box.Area().right - box.Area().left, box.Area().bottom - box.Area().top};
        box.CheckAuto(false);
        box.Tick(2);
        EXPECT_TRUE(box.IsEnabled(kInfoBoxOkId));
        box.Resize(first.cx, first.cy - 30);
        box.RightClick();
    });
    driver_.ExpectBox(L"FlexiInfo").Do([&](BoxView& view) {
        const OpenInfoBox box(view);
        EXPECT_EQ(box.Area().bottom - box.Area().top, first.cy);
        EXPECT_TRUE(box.AutoChecked());
        EXPECT_FALSE(box.IsEnabled(kInfoBoxOkId));
        callback_.result = FIR_CloseOk;
        box.Tick();
    });
    EXPECT_EQ(FlexiInfoBox(parent(), &params, buffer_.data()), kInfoBoxOk);
}

TEST_F(InfoBoxMenuTest, ReopenedWithAutoRunningItRunsInTheNewWindowAlone) {
    FlexiInfoParams params = WithMenu();
    params.autoRefreshMs = 600000;
    params.autoRefreshAtStart = 1;
    const TimerRecord timers;
    driver_.ExpectMenu().Choose(MenuCommandOf(FIMI_Detach));
    driver_.ExpectBox(L"FlexiInfo").Do([](BoxView& view) { OpenInfoBox(view).RightClick(); });
    driver_.ExpectBox(L"FlexiInfo").Do([&](BoxView& view) {
        const OpenInfoBox box(view);
        EXPECT_TRUE(box.AutoChecked());
        EXPECT_EQ(timers.IntervalsOf(kAutoRefreshTimer), (std::vector<UINT>{600000, 600000}));
        callback_.calls.clear();
        box.Tick();
        EXPECT_EQ(callback_.Reasons(), std::vector<uint32_t>{kReasonRefresh});
        box.Command(kInfoBoxOkId);
    });
    EXPECT_EQ(FlexiInfoBox(parent(), &params, buffer_.data()), kInfoBoxOk);
    EXPECT_FALSE(timers.IsRunning(kAutoRefreshTimer));
}

TEST_F(InfoBoxMenuTest, ACallbackThatClosesOnDetachingEndsTheBox) {
    callback_.result = FIR_CloseOk;
    driver_.ExpectMenu().Choose(MenuCommandOf(FIMI_Detach));
    EXPECT_EQ(Show(WithMenu(), L"", [](OpenInfoBox& box) { box.RightClick(); }), kInfoBoxOk);
    EXPECT_EQ(driver_.boxes().size(), 1u);
}

TEST_F(InfoBoxMenuTest, ATickThatClosesTheBoxClosesTheOpenMenu) {
    callback_.act = [](FlexiInfoEvent& event, wchar_t*, uint32_t) {
        return event.reason == kReasonRefresh && event.autoChecked != 0 ? FIR_CloseOk : FIR_NoChange;
    };
    FlexiInfoParams params = WithMenu();
    params.autoRefreshMs = 600000;
    params.autoRefreshAtStart = 1;
    HWND opened = nullptr;
    driver_.ExpectMenu().Do([&](MenuView&) { SendMessageW(opened, WM_TIMER, 1, 0); });
    EXPECT_EQ(Show(params, L"",
                   [&](OpenInfoBox& box) {
                       opened = box.hwnd();
                       box.RightClick();
                   }),
              kInfoBoxOk);
    EXPECT_EQ(callback_.CountOf(kReasonMenu), 0);
}

}  // namespace
