// Closing attempts during the OK delay, and callbacks that close, destroy, resize or re-enter their box.
#include <array>

#include "ui/info_box/state.h"

#include "tests/support/import_redirect.h"
#include "tests/ui/info_box_fixture.h"

namespace {

using InfoBoxDelay = InfoBoxTest;

TEST_F(InfoBoxDelay, EveryAttemptToCloseBeepsUntilItIsOver) {
    std::vector<std::pair<DWORD, DWORD>> beeps;
    REPLACE_CALL(beep, Beep, [&](DWORD hertz, DWORD ms) {
        beeps.emplace_back(hertz, ms);
        return TRUE;
    });
    constexpr DWORD kOpened = 0xFFFFFFF0;  // shortly before the count wraps
    DWORD now = kOpened;
    REPLACE_CALL(ticks, GetTickCount, [&] { return now; });
    FlexiInfoParams params = Recorded();
    params.cancelText = L"Cancel";
    params.okDelayMs = 600000;
    const uint32_t result = Show(params, L"", [&](OpenInfoBox& box) {
        box.Command(kInfoBoxOkId);
        now = kOpened + 599999;
        box.Command(kInfoBoxCancelId);
        SendMessageW(box.hwnd(), WM_CLOSE, 0, 0);
        EXPECT_EQ(beeps.size(), 3u);
        EXPECT_TRUE(IsWindow(box.hwnd()));
        now = kOpened + 600000;
        box.Command(kInfoBoxOkId);
    });
    EXPECT_EQ(result, kInfoBoxOk);
    EXPECT_EQ(beeps, (std::vector<std::pair<DWORD, DWORD>>(3, {500, 500})));
    EXPECT_EQ(callback_.Reasons(), (std::vector<uint32_t>{1, 2, 2, 1}));
    for (const FlexiInfoEvent& call : callback_.calls) {
        EXPECT_EQ(call.okDelayMs, 600000u);
        EXPECT_EQ(call.openTick, kOpened);
    }
}

TEST_F(InfoBoxDelay, ItsEndEnablesTheButtonsAndStopsItsTimer) {
    const TimerRecord timers;
    FlexiInfoParams params = Recorded();
    params.cancelText = L"Cancel";
    params.okDelayMs = 600000;
    callback_.result = FIR_CloseOk;
    Show(params, L"", [&](OpenInfoBox& box) {
        EXPECT_FALSE(box.IsEnabled(kInfoBoxOkId));
        EXPECT_FALSE(box.IsEnabled(kInfoBoxCancelId));
        EXPECT_EQ(box.FocusId(), 0);
        EXPECT_TRUE(timers.IsRunning(kOkDelayTimer));
        box.Tick(kOkDelayTimer);
        EXPECT_TRUE(box.IsEnabled(kInfoBoxOkId));
        EXPECT_TRUE(box.IsEnabled(kInfoBoxCancelId));
        EXPECT_EQ(box.FocusId(), kInfoBoxOkId);
        EXPECT_FALSE(timers.IsRunning(kOkDelayTimer));
        box.Command(kInfoBoxOkId);
    });
    EXPECT_EQ(timers.IntervalsOf(kOkDelayTimer), std::vector<UINT>{600000});
}

TEST_F(InfoBoxDelay, EndsByItself) {
    FlexiInfoParams params = Recorded();
    params.okDelayMs = 20;
    EXPECT_EQ(Show(params, L"",
                   [&](OpenInfoBox& box) {
                       EXPECT_TRUE(WaitUntil("the button", [&] { return box.IsEnabled(kInfoBoxOkId); }));
                       callback_.result = FIR_CloseOk;
                       box.Command(kInfoBoxOkId);
                   }),
              kInfoBoxOk);
}

TEST_F(InfoBoxDelay, ACallbackThatKeepsTheBoxOpenKeepsItQuiet) {
    int beeps = 0;
    REPLACE_CALL(beep, Beep, [&](DWORD, DWORD) {
        ++beeps;
        return TRUE;
    });
    callback_.result = FIR_Update;
    FlexiInfoParams params = Recorded();
    params.okDelayMs = 60000;
    EXPECT_EQ(Show(params, L"",
                   [&](OpenInfoBox& box) {
                       box.Command(kInfoBoxOkId);
                       EXPECT_EQ(beeps, 0);
                       callback_.result = FIR_CloseOk;
                       box.Command(kInfoBoxCancelId);
                   }),
              kInfoBoxOk);
    EXPECT_EQ(beeps, 0);
}

TEST_F(InfoBoxDelay, WithoutADelayTheEventSaysSo) {
    Show(Recorded(), L"", [](OpenInfoBox& box) { box.Command(kInfoBoxOkId); });
    EXPECT_EQ(callback_.calls[0].okDelayMs, 0u);
    EXPECT_EQ(callback_.calls[0].openTick, 0u);
}

class InfoBoxCallback : public InfoBoxTest {
  protected:
    // Runs `act` at the first press of Refresh.
    uint32_t ShowWith(std::function<uint32_t(FlexiInfoEvent&)> act, bool boxStaysOpen) {
        callback_.act = [act](FlexiInfoEvent& event, wchar_t*, uint32_t) {
            return event.reason == kReasonRefreshButton ? act(event) : FIR_NoChange;
        };
        FlexiInfoParams params = Recorded();
        params.showRefreshButton = 1;
        return Show(params, L"text", [boxStaysOpen](OpenInfoBox& box) {
            box.Command(kInfoBoxRefreshId);
            if (boxStaysOpen) box.Command(kInfoBoxOkId);
        });
    }
};

TEST_F(InfoBoxCallback, MayDestroyTheWindow) {
    for (const uint32_t result : {FIR_NoChange, FIR_NormalIcon, FIR_AlertStopAuto, FIR_CloseOk}) {
        EXPECT_EQ(ShowWith(
                      [result](FlexiInfoEvent& event) {
                          DestroyWindow(event.hwnd);
                          return result;
                      },
                      false),
                  kInfoBoxCancel);
        EXPECT_TRUE(IsWindowEnabled(parent()));
    }
}

TEST_F(InfoBoxCallback, MayDestroyTheParent) {
    ShowWith(
        [this](FlexiInfoEvent&) {
            DestroyWindow(parent());
            return FIR_Update;
        },
        false);
}

TEST_F(InfoBoxCallback, MayPressOkItself) {
    int depth = 0;
    EXPECT_EQ(ShowWith(
                  [&](FlexiInfoEvent& event) {
                      ++depth;
                      SendMessageW(event.hwnd, WM_COMMAND, kInfoBoxOkId, 0);
                      return FIR_Update;
                  },
                  false),
              kInfoBoxOk);
    EXPECT_EQ(depth, 1);
}

TEST_F(InfoBoxCallback, MayResizeTheBox) {
    EXPECT_EQ(ShowWith(
                  [](FlexiInfoEvent& event) {
                      SetWindowPos(event.hwnd, nullptr, 0, 0, 50, 50, SWP_NOMOVE | SWP_NOZORDER);
                      return FIR_Update;
                  },
                  true),
              kInfoBoxOk);
}

TEST_F(InfoBoxCallback, MayRefreshTheBoxAgain) {
    int depth = 0;
    EXPECT_EQ(ShowWith(
                  [&](FlexiInfoEvent& event) {
                      if (++depth < 5) SendMessageW(event.hwnd, WM_COMMAND, kInfoBoxRefreshId, 0);
                      return FIR_NormalIcon;
                  },
                  true),
              kInfoBoxOk);
    EXPECT_EQ(depth, 5);
}

TEST_F(InfoBoxCallback, MayOpenAnotherInfoBox) {
    driver_.ExpectBox(L"inner").Press(kInfoBoxOkId);
    EXPECT_EQ(ShowWith(
                  [](FlexiInfoEvent& event) {
                      FlexiInfoParams inner = {};
                      inner.title = L"inner";
                      inner.okText = L"OK";
                      EXPECT_EQ(FlexiInfoBox(event.hwnd, &inner, nullptr), kInfoBoxOk);
                      return FIR_NormalIcon;
                  },
                  true),
              kInfoBoxOk);
}

TEST_F(InfoBoxCallback, MayChangeTheMenuStates) {
    std::array<FlexiInfoMenuItem, 1> items{{{100, kMenuItemUnchecked, L"Entry"}}};
    callback_.act = [&](FlexiInfoEvent& event, wchar_t*, uint32_t) {
        if (event.reason == kReasonRefreshButton) items[0].state = kMenuItemChecked;
        return FIR_NormalIcon;
    };
    driver_.ExpectMenu().Dismiss();
    FlexiInfoParams params = Recorded();
    params.showRefreshButton = 1;
    params.menuItems = items.data();
    params.menuItemCount = 1;
    Show(params, L"", [](OpenInfoBox& box) {
        box.Command(kInfoBoxRefreshId);
        box.RightClick();
        box.Command(kInfoBoxOkId);
    });
    EXPECT_TRUE(driver_.menus()[0].items[0].checked());
}

TEST_F(InfoBoxCallback, WithoutMemoryForAFontOrMenuTheBoxStillWorks) {
    std::array<FlexiInfoMenuItem, 1> items{{{100, kMenuItemPlain, L"Entry"}}};
    CallFaults faults;
    WATCH_CALL(faults, CreateFontIndirectW, nullptr, ERROR_NOT_ENOUGH_MEMORY);
    WATCH_CALL(faults, CreatePopupMenu, nullptr, ERROR_NOT_ENOUGH_MEMORY);
    WATCH_CALL(faults, CreateWindowExW, nullptr, ERROR_NOT_ENOUGH_MEMORY);
    WATCH_CALL(faults, SetTimer, 0, ERROR_NOT_ENOUGH_MEMORY);
    WATCH_CALL(faults, GetDC, nullptr, ERROR_NOT_ENOUGH_MEMORY);
    WATCH_CALL(faults, CreateRectRgn, nullptr, ERROR_NOT_ENOUGH_MEMORY);
    FlexiInfoParams params = Recorded();
    params.autoRefreshMs = 600000;
    params.autoRefreshAtStart = 1;
    params.hintSeconds = 60;
    params.menuItems = items.data();
    params.menuItemCount = 1;
    const int calls = ForEachFailingCall(faults, [&] {
        faults.During([&] {
            EXPECT_EQ(Show(params, L"text",
                           [](OpenInfoBox& box) {
                               EXPECT_EQ(box.Text(), L"text");
                               box.Command(kInfoBoxOkId);
                           }),
                      kInfoBoxOk);
        });
    });
    EXPECT_GE(calls, 5);
}

}  // namespace
