#include "ui/hint_balloon.h"

#include "base/windows_api.h"

#include <commctrl.h>
#include <gtest/gtest.h>
#include <windowsx.h>

#include <string>

#include "tests/support/import_redirect.h"
#include "tests/support/leak_counters.h"
#include "tests/support/wait_until.h"

namespace {

class HintBalloonTest : public testing::Test {
  protected:
    HintBalloonTest() {
        const INITCOMMONCONTROLSEX controls{sizeof(controls), ICC_WIN95_CLASSES};
        InitCommonControlsEx(&controls);
        owner_.reset(CreateWindowExW(0, L"STATIC", L"owner", WS_POPUP | WS_VISIBLE, 200, 200, 300, 200,
                                     nullptr, nullptr, nullptr, nullptr));
        PumpPendingMessages();
    }

    static std::wstring TextOf(const HintBalloon& balloon) {
        wchar_t text[200] = L"";
        TTTOOLINFOW tool = {};
        tool.cbSize = TTTOOLINFOW_V2_SIZE;
        tool.lpszText = text;
        SendMessageW(balloon.Window(), TTM_ENUMTOOLSW, 0, reinterpret_cast<LPARAM>(&tool));
        SendMessageW(balloon.Window(), TTM_GETTEXTW, 200, reinterpret_cast<LPARAM>(&tool));
        return text;
    }

    OwnedWindow owner_;
};

TEST_F(HintBalloonTest, IsATopmostTooltipOwnedByItsWindow) {
    for (const bool balloonStyle : {false, true}) {
        uint32_t error = 99;
        const auto balloon = HintBalloon::Create(owner_.get(), balloonStyle, error);
        ASSERT_NE(balloon, nullptr);
        EXPECT_EQ(error, 0u);
        const auto style = static_cast<DWORD>(GetWindowLongPtrW(balloon->Window(), GWL_STYLE));
        EXPECT_EQ(style & (TTS_ALWAYSTIP | TTS_NOPREFIX), DWORD{TTS_ALWAYSTIP | TTS_NOPREFIX});
        EXPECT_EQ((style & TTS_BALLOON) != 0, balloonStyle);
        EXPECT_TRUE(GetWindowLongPtrW(balloon->Window(), GWL_EXSTYLE) & WS_EX_TOPMOST);
        EXPECT_EQ(GetWindow(balloon->Window(), GW_OWNER), owner_.get());
        EXPECT_FALSE(IsWindowVisible(balloon->Window()));
    }
}

TEST_F(HintBalloonTest, ShowsFormattedTextAndHidesAgain) {
    uint32_t error = 0;
    const auto balloon = HintBalloon::Create(owner_.get(), true, error);
    EXPECT_EQ(balloon->Show(true, {10, 20}, L"%d hints", 2), 0u);
    EXPECT_TRUE(IsWindowVisible(balloon->Window()));
    EXPECT_EQ(TextOf(*balloon), L"2 hints");
    balloon->Hide();
    EXPECT_FALSE(IsWindowVisible(balloon->Window()));
}

TEST_F(HintBalloonTest, PointsAtThePositionInItsOwner) {
    struct Row {
        POINT wanted;
        POINT screen;
    };
    uint32_t error = 0;
    const auto balloon = HintBalloon::Create(owner_.get(), false, error);
    for (const Row& row : {Row{{10, 20}, {210, 220}}, Row{{4, -20}, {204, 380}}, Row{{-30, 5}, {470, 205}}}) {
        POINT used = {};
        REPLACE_CALL(send, SendMessageW, [&](HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
            if (message == TTM_TRACKPOSITION) used = {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
            return SendMessageW(window, message, wParam, lParam);
        });
        balloon->Show(true, row.wanted, L"hint");
        EXPECT_EQ(used.x, row.screen.x);
        EXPECT_EQ(used.y, row.screen.y);
    }
}

TEST_F(HintBalloonTest, WithoutAFormatThePreviousTextStays) {
    uint32_t error = 0;
    const auto balloon = HintBalloon::Create(owner_.get(), true, error);
    EXPECT_EQ(balloon->Show(true, {}, nullptr), 0u);
    EXPECT_EQ(TextOf(*balloon), L"");
    balloon->Show(true, {}, L"first");
    balloon->Show(true, {5, 5}, nullptr);
    EXPECT_EQ(TextOf(*balloon), L"first");
}

TEST_F(HintBalloonTest, TheTextBufferGrowsAsNeeded) {
    uint32_t error = 0;
    const auto balloon = HintBalloon::Create(owner_.get(), true, error);
    balloon->Show(true, {}, L"x");
    const std::wstring longer(150, L'y');
    balloon->Show(true, {}, L"%s", longer.c_str());
    EXPECT_EQ(TextOf(*balloon), longer);
}

TEST_F(HintBalloonTest, EveryFailingCallGivesNoBalloonAndACode) {
    CallFaults faults;
    WATCH_CALL(faults, CreateWindowExW, nullptr, ERROR_NOT_ENOUGH_MEMORY);
    WATCH_CALL(faults, SendMessageW, 0, ERROR_SUCCESS);
    const int calls = ForEachFailingCall(faults, [&] {
        uint32_t error = 99;
        std::unique_ptr<HintBalloon> balloon;
        faults.During([&] { balloon = HintBalloon::Create(owner_.get(), true, error); });
        EXPECT_EQ(balloon == nullptr, faults.CallFailed());
        EXPECT_EQ(error != 0, faults.CallFailed());
    });
    EXPECT_EQ(calls, 2);
}

TEST_F(HintBalloonTest, WithoutMemoryThereIsNoBalloonAndTheCodeIsEight) {
    CallFaults faults;
    WATCH_CALL(faults, malloc, nullptr, 0);
    faults.FailAt(1);
    uint32_t error = 99;
    std::unique_ptr<HintBalloon> balloon;
    faults.During([&] { balloon = HintBalloon::Create(owner_.get(), true, error); });
    EXPECT_TRUE(faults.CallFailed());
    EXPECT_EQ(balloon, nullptr);
    EXPECT_EQ(error, 8u);
}

TEST_F(HintBalloonTest, WithoutMemoryForItsTextTheOldOneStaysAndTheCodeIsEight) {
    uint32_t error = 0;
    const auto balloon = HintBalloon::Create(owner_.get(), true, error);
    ASSERT_EQ(balloon->Show(true, {}, L"old"), 0u);
    CallFaults faults;
    WATCH_CALL(faults, malloc, nullptr, 0);
    faults.FailAt(1, true);
    uint32_t result = 0;
    faults.During([&] { result = balloon->Show(true, {}, L"a text that is longer"); });
    EXPECT_TRUE(faults.CallFailed());
    EXPECT_EQ(result, 8u);
    EXPECT_EQ(TextOf(*balloon), L"old");
}

TEST_F(HintBalloonTest, MayOutliveItsOwner) {
    uint32_t error = 0;
    const auto balloon = HintBalloon::Create(owner_.get(), true, error);
    owner_.reset();
    EXPECT_EQ(balloon->Show(true, {}, L"late"), 0u);
    balloon->Hide();
}

TEST_F(HintBalloonTest, LeavesNothingBehind) {
    ExpectNoLeaks([this] {
        uint32_t error = 0;
        const auto balloon = HintBalloon::Create(owner_.get(), true, error);
        balloon->Show(true, {}, L"hint");
    });
}

}  // namespace
