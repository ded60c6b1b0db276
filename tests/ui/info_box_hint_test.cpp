// The hint that tells of the context menu.
#include <array>

#include "base/windows_api.h"

#include <commctrl.h>
#include <windowsx.h>

#include "ui/info_box/state.h"

#include "tests/support/import_redirect.h"
#include "tests/ui/info_box_fixture.h"

namespace {

// The visible hint of this process; null when there is none.
HWND FindHint() {
    for (HWND hint = nullptr;
         (hint = FindWindowExW(nullptr, hint, L"tooltips_class32", nullptr)) != nullptr;) {
        DWORD process = 0;
        GetWindowThreadProcessId(hint, &process);
        if (process == GetCurrentProcessId() && IsWindowVisible(hint)) return hint;
    }
    return nullptr;
}

std::wstring TextOf(HWND hint) {
    wchar_t text[200] = L"";
    TTTOOLINFOW tool = {};
    tool.cbSize = TTTOOLINFOW_V2_SIZE;
    tool.lpszText = text;
    SendMessageW(hint, TTM_ENUMTOOLSW, 0, reinterpret_cast<LPARAM>(&tool));
    SendMessageW(hint, TTM_GETTEXTW, 200, reinterpret_cast<LPARAM>(&tool));
    return text;
}

class InfoBoxHint : public InfoBoxTest {
  protected:
    FlexiInfoParams WithHint() {
        FlexiInfoParams params = Recorded();
        params.menuItems = items_.data();
        params.menuItemCount = 1;
        params.hintSeconds = 600;
        return params;
    }
    std::array<FlexiInfoMenuItem, 1> items_{{{100, kMenuItemPlain, L"Entry"}}};
};

TEST_F(InfoBoxHint, IsABalloonWithTheUsualText) {
    Show(WithHint(), L"", [](OpenInfoBox& box) {
        const HWND hint = FindHint();
        ASSERT_NE(hint, nullptr);
        EXPECT_EQ(TextOf(hint), L"Right-click blank area to get context menu.");
        EXPECT_TRUE(GetWindowLongPtrW(hint, GWL_STYLE) & TTS_BALLOON);
        EXPECT_TRUE(GetWindowLongPtrW(hint, GWL_EXSTYLE) & WS_EX_TOPMOST);
        EXPECT_EQ(GetWindow(hint, GW_OWNER), box.hwnd());
        box.Command(kInfoBoxOkId);
    });
}

TEST_F(InfoBoxHint, HasTheCallersTextAsItIs) {
    FlexiInfoParams params = WithHint();
    params.hintText = L"100 %s of it";
    Show(params, L"", [](OpenInfoBox& box) {
        EXPECT_EQ(TextOf(FindHint()), L"100 %s of it");
        box.Command(kInfoBoxOkId);
    });
}

TEST_F(InfoBoxHint, PointsAtTheLowerLeftCornerAndFollowsTheBox) {
    POINT shown = {};
    REPLACE_CALL(send, SendMessageW, [&](HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        if (message == TTM_TRACKPOSITION) shown = {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
        return SendMessageW(window, message, wParam, lParam);
    });
    Show(WithHint(), L"", [&](OpenInfoBox& box) {
        RECT client = {};
        GetClientRect(box.hwnd(), &client);
        for (const bool moved : {false, true}) {
            if (moved) box.MoveTo(box.Area().left + 40, box.Area().top + 30);
            POINT corner = {4, client.bottom - 4};
            ClientToScreen(box.hwnd(), &corner);
            EXPECT_EQ(shown.x, corner.x);
            EXPECT_EQ(shown.y, corner.y);
        }
        EXPECT_NE(FindHint(), nullptr);
        box.Command(kInfoBoxOkId);
    });
}

struct TimeRow {
    const char* name;
    int32_t seconds;
    UINT intervalMs;
};
void PrintTo(const TimeRow& row, std::ostream* out) {
    *out << row.name;
}

class HintTimes : public InfoBoxHint, public testing::WithParamInterface<TimeRow> {};

TEST_P(HintTimes, AreAsAskedAndTwoSecondsForZero) {
    FlexiInfoParams params = WithHint();
    params.hintSeconds = GetParam().seconds;
    const TimerRecord timers;
    Show(params, L"", [](OpenInfoBox& box) { box.Command(kInfoBoxOkId); });
    EXPECT_EQ(timers.IntervalsOf(kHintTimer), std::vector<UINT>{GetParam().intervalMs});
}

INSTANTIATE_TEST_SUITE_P(InfoBox, HintTimes,
                         testing::Values(TimeRow{"Zero", 0, 2000}, TimeRow{"One", 1, 1000},
                                         TimeRow{"Ten", 10, 10000},
                                         TimeRow{"LongerThanATimerCan", 0x7FFFFFFF, 2147483000}),
                         [](const auto& row) { return row.param.name; });

TEST_F(InfoBoxHint, GoesByItselfWhenItsTimeIsOver) {
    FlexiInfoParams params = WithHint();
    params.hintSeconds = 1;
    Show(params, L"", [](OpenInfoBox& box) {
        EXPECT_TRUE(WaitUntil("the hint to go", [] { return FindHint() == nullptr; }));
        box.Command(kInfoBoxOkId);
    });
}

struct HidingRow {
    const char* name;
    UINT message;
    WPARAM wParam;
};
void PrintTo(const HidingRow& row, std::ostream* out) {
    *out << row.name;
}

class HiddenHints : public InfoBoxHint, public testing::WithParamInterface<HidingRow> {};

TEST_P(HiddenHints, DoNotComeBackWhenTheBoxMoves) {
    if (GetParam().message == WM_RBUTTONDOWN) driver_.ExpectMenu().Dismiss();
    const TimerRecord timers;
    Show(WithHint(), L"", [&](OpenInfoBox& box) {
        EXPECT_NE(FindHint(), nullptr);
        SendMessageW(box.hwnd(), GetParam().message, GetParam().wParam, MAKELPARAM(2, 2));
        EXPECT_EQ(FindHint(), nullptr);
        EXPECT_FALSE(timers.IsRunning(kHintTimer));
        box.MoveTo(box.Area().left + 40, box.Area().top + 30);
        EXPECT_EQ(FindHint(), nullptr);
        box.Command(kInfoBoxOkId);
    });
}

INSTANTIATE_TEST_SUITE_P(InfoBox, HiddenHints,
                         testing::Values(HidingRow{"ByALeftClick", WM_LBUTTONDOWN, MK_LBUTTON},
                                         HidingRow{"ByARightClick", WM_RBUTTONDOWN, MK_RBUTTON},
                                         HidingRow{"ByTheirTimer", WM_TIMER, kHintTimer}),
                         [](const auto& row) { return row.param.name; });

TEST_F(InfoBoxHint, IsNotShownForANegativeTimeOrWithoutAMenu) {
    FlexiInfoParams negative = WithHint();
    negative.hintSeconds = -1;
    FlexiInfoParams noMenu = WithHint();
    noMenu.menuItemCount = 0;
    for (const FlexiInfoParams& params : {negative, noMenu})
        Show(params, L"", [](OpenInfoBox& box) {
            EXPECT_EQ(FindHint(), nullptr);
            box.Command(kInfoBoxOkId);
        });
}

}  // namespace
