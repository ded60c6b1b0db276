// The tools menu behind the page's real button: what it shows, what each choice asks of the driver, and what
// is left when it is closed.
#include <gtest/gtest.h>

#include <algorithm>
#include <cwchar>
#include <string>
#include <vector>

#include "base/windows_api.h"

#include <commctrl.h>

#include "driver/vbus.h"
#include "resources/resource_ids.h"
#include "tests/support/leak_counters.h"
#include "tests/support/long_run.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/screenshot.h"
#include "tests/support/temporary_file.h"
#include "tests/support/wait_until.h"
#include "tests/system/tools_menu_fixture.h"
#include "tools/tools_menu.h"

namespace {

using Names = std::vector<std::wstring>;

constexpr wchar_t kUserEntries[] = L"&Flowpath stat\n&USB device property\n-\nUser &guide\n&About TAVIX\n";

class ToolsMenuButtonTest : public ToolsMenuTest {
  protected:
    // A click as the mouse makes it, at a place given in hundredths of the button's width.
    void ClickAt(int percent) {
        const HWND button = GetDlgItem(page_, IDC_VCOM_TOOLS);
        RECT area;
        GetClientRect(button, &area);
        const LPARAM place = MAKELPARAM((area.right - 1) * percent / 100, area.bottom / 2);
        SendMessageW(button, WM_LBUTTONDOWN, MK_LBUTTON, place);
        SendMessageW(button, WM_LBUTTONUP, 0, place);
    }
};

class ToolsMenuHintTest : public ToolsMenuTest {
  protected:
    bool IsHintShown() const { return IsWindowVisible(params_->hint->Window()) != FALSE; }
    std::wstring HintText() const {
        wchar_t text[100] = L"";
        TTTOOLINFOW tool = {};
        tool.cbSize = TTTOOLINFOW_V2_SIZE;
        tool.hwnd = page_;
        tool.uId = 1;
        tool.lpszText = text;
        SendMessageW(params_->hint->Window(), TTM_GETTEXTW, 100, reinterpret_cast<LPARAM>(&tool));
        return text;
    }
};

// ---- the button

TEST_F(ToolsMenuButtonTest, AClickAnywhereOnTheButtonOpensTheMenu) {
    OpenIdlePage();
    for (const int percent : {0, 50, 100}) {
        modal_.ExpectMenu().Dismiss();
        ClickAt(percent);
    }
    EXPECT_EQ(modal_.menus().size(), 3u);
}

TEST_F(ToolsMenuButtonTest, TheButtonsOtherNotificationOpensTheMenuToo) {
    OpenIdlePage();
    NMBCDROPDOWN dropDown = {};
    dropDown.hdr = {GetDlgItem(page_, IDC_VCOM_TOOLS), IDC_VCOM_TOOLS, BCN_DROPDOWN};
    modal_.ExpectMenu().Dismiss();
    SendMessageW(page_, WM_NOTIFY, IDC_VCOM_TOOLS, reinterpret_cast<LPARAM>(&dropDown));
    EXPECT_EQ(modal_.menus().size(), 1u);
}

TEST_F(ToolsMenuButtonTest, StandsAtTheButtonsBottomRightCorner) {
    OpenIdlePage();
    RECT button;
    GetWindowRect(GetDlgItem(page_, IDC_VCOM_TOOLS), &button);
    Dismiss();
    EXPECT_EQ(LastMenu().area.right, button.right);
    EXPECT_EQ(LastMenu().area.top, button.bottom);
}

// ---- what it shows

TEST_F(ToolsMenuTest, WithoutShiftShowsTheUsersEntriesAndAsksTheDriverNothing) {
    OpenIdlePage();
    WithMenu([](MenuView& menu) {
        SaveScreenshot(nullptr, L"tools_menu");
        menu.Dismiss();
    });
    EXPECT_EQ(LastMenu().Texts(), kUserEntries);
    EXPECT_TRUE(TakeRequests().empty());
    EXPECT_FALSE(IsWindowVisible(params_->hint->Window()));
}

TEST_F(ToolsMenuTest, WithShiftShowsTheDevelopersEntriesForOneRequest) {
    OpenIdlePage();
    {
        const HeldKeys keys({VK_SHIFT});
        WithMenu([](MenuView& menu) {
            SaveScreenshot(nullptr, L"tools_menu_shift");
            menu.Dismiss();
        });
    }
    EXPECT_EQ(LastMenu().Texts(),
              std::wstring(kUserEntries) +
                  L"-\nTweak your USB device\nExamine IRP states\nStop VcomUI timer\n"
                  L"Destroy Flowpath Stat History\nCreate a dangle VCOM\nStart USB blind run\n"
                  L"VCOM WdfDeviceSetDeviceState\n");
    EXPECT_EQ(TakeRequests(), Names{L"GetFlowpathStat"});
    EXPECT_EQ(taken()[0].DeviceName(), DeviceTail());
}

TEST_F(ToolsMenuTest, ABlindRunThatIsActiveCanBeStopped) {
    OpenIdlePage();
    ASSERT_EQ(driver_.SetNumber(device_.huid, kSimFieldBlindRun, 1), ERROR_SUCCESS);
    const HeldKeys keys({VK_SHIFT});
    Dismiss();
    EXPECT_NE(LastMenu().Item(1065), nullptr);
    EXPECT_EQ(LastMenu().Item(1064), nullptr);
}

struct DeafDriverRow {
    const char* name;
    int32_t status;  // 0: the reply is short
    uint32_t replyBytes;

    friend void PrintTo(const DeafDriverRow& row, std::ostream* out) { *out << row.name; }
};

class ToolsMenuDeafDriverTest : public ToolsMenuTest, public testing::WithParamInterface<DeafDriverRow> {};

TEST_P(ToolsMenuDeafDriverTest, OffersTheStartOfABlindRun) {
    OpenIdlePage();
    if (GetParam().status != 0) {
        ASSERT_EQ(driver_.SetNumber(device_.huid, kSimFieldBlindRun, 1), ERROR_SUCCESS);
        ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_GetFlowpathStat, GetParam().status), ERROR_SUCCESS);
    } else {
        ASSERT_EQ(driver_.ShortenNext(IOCTL_TAVIX_GetFlowpathStat, GetParam().replyBytes), ERROR_SUCCESS);
    }
    const HeldKeys keys({VK_SHIFT});
    Dismiss();
    EXPECT_NE(LastMenu().Item(1064), nullptr);
}

INSTANTIATE_TEST_SUITE_P(Rows, ToolsMenuDeafDriverTest,
                         testing::Values(DeafDriverRow{"Lost", static_cast<int32_t>(0xC000009D), 0},
                                         DeafDriverRow{"Denied", static_cast<int32_t>(0xC0000022), 0},
                                         DeafDriverRow{"UnknownCode", static_cast<int32_t>(0xC0000999), 0},
                                         DeafDriverRow{"Empty", 0, 0}, DeafDriverRow{"Short", 0, 216}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(ToolsMenuTest, WithoutABusTheMenuStillOpens) {
    OpenIdlePage();
    SimAccess_st access = {};
    access.busAbsent = 1;
    ASSERT_EQ(driver_.SetAccess(access), ERROR_SUCCESS);
    const HeldKeys keys({VK_SHIFT});
    Dismiss();
    EXPECT_NE(LastMenu().Item(1064), nullptr);
}

TEST_F(ToolsMenuTest, TheFiveIconsStandAtTheirEntries) {
    OpenIdlePage();
    const HeldKeys keys({VK_SHIFT});
    Dismiss();
    for (const MenuItemRecord& item : LastMenu().items) {
        const bool hasIcon = item.id == 1044 || item.id == 1043 || item.id == 1046 || item.id == 1047;
        EXPECT_EQ(item.bitmap != nullptr, hasIcon) << NarrowText(item.text);
    }
}

std::vector<RGBQUAD> PixelsOf(HBITMAP bitmap) {
    BITMAP size = {};
    GetObjectW(bitmap, sizeof(size), &size);
    std::vector<RGBQUAD> pixels(static_cast<size_t>(size.bmWidth * size.bmHeight));
    BITMAPINFO info = {};
    info.bmiHeader = {sizeof(info.bmiHeader), size.bmWidth, size.bmHeight, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    const MemoryDc dc(CreateCompatibleDC(nullptr));
    GetDIBits(dc.get(), bitmap, 0, static_cast<UINT>(size.bmHeight), pixels.data(), &info, DIB_RGB_COLORS);
    return pixels;
}

// Not every system draws transparency in its menus, so that the picture does not show it.
TEST_F(ToolsMenuTest, TheIconsLeaveTheMenusBackgroundFreeAndHaveNoFringes) {
    OpenIdlePage();
    const HeldKeys keys({VK_SHIFT});
    WithMenu([](MenuView& menu) {
        for (const MenuItemRecord& item : menu.Read().items) {
            if (item.bitmap == nullptr) continue;
            int clear = 0;
            int opaque = 0;
            int tooBright = 0;
            for (const RGBQUAD& pixel : PixelsOf(item.bitmap)) {
                clear += pixel.rgbReserved == 0;
                opaque += pixel.rgbReserved == 255;
                tooBright += std::max({pixel.rgbRed, pixel.rgbGreen, pixel.rgbBlue}) > pixel.rgbReserved;
            }
            EXPECT_GT(clear, 0) << NarrowText(item.text);
            EXPECT_GT(opaque, 0) << NarrowText(item.text);
            EXPECT_EQ(tooBright, 0) << NarrowText(item.text);
        }
        menu.Dismiss();
    });
}

// ---- the hint

TEST_F(ToolsMenuHintTest, TheHintIsThereWhileTheMenuIsOpenAndGoneWhenItIsDismissed) {
    OpenIdlePage();
    const HeldKeys keys({VK_SHIFT});
    bool shown = false;
    WithMenu([&](MenuView& menu) {
        shown = IsHintShown();
        menu.Dismiss();
    });
    EXPECT_TRUE(shown);
    EXPECT_EQ(HintText(), L"Ctrl+click menu item to make new dialog-box detached.");
    EXPECT_FALSE(IsHintShown());
    EXPECT_FALSE(timers_.IsRunning(kToolsHintTimer));
}

TEST_F(ToolsMenuHintTest, TheHintEndsByItselfAfterThreeSeconds) {
    OpenIdlePage();
    const HeldKeys keys({VK_SHIFT});
    bool shown = true;
    WithMenu([&](MenuView& menu) {
        SendMessageW(page_, WM_TIMER, kToolsHintTimer, 0);
        shown = IsHintShown();
        menu.Dismiss();
    });
    EXPECT_EQ(timers_.IntervalsOf(kToolsHintTimer), std::vector<UINT>{3000});
    EXPECT_FALSE(shown);
    EXPECT_FALSE(timers_.IsRunning(kToolsHintTimer));
}

TEST_F(ToolsMenuHintTest, TheHintPointsNearTheBottomLeftCornerOfThePage) {
    OpenIdlePage();
    const HeldKeys keys({VK_SHIFT});
    RECT client;
    GetClientRect(page_, &client);
    POINT place = {2, client.bottom - 20};
    ClientToScreen(page_, &place);
    RECT hint = {};
    WithMenu([&](MenuView& menu) {
        GetWindowRect(params_->hint->Window(), &hint);
        menu.Dismiss();
    });
    EXPECT_EQ(hint.left, place.x);
    EXPECT_EQ(hint.top, place.y);
}

TEST_F(ToolsMenuHintTest, APageWithoutAHintHasAMenuAllTheSame) {
    OpenIdlePage();
    params_->hint.reset();
    const HeldKeys keys({VK_SHIFT});
    Dismiss();
    EXPECT_EQ(modal_.menus().size(), 1u);
}

// ---- what the entries do

TEST_F(ToolsMenuTest, ADismissedMenuDoesNothing) {
    OpenIdlePage();
    Dismiss();
    EXPECT_TRUE(TakeRequests().empty());
    EXPECT_TRUE(modal_.boxes().empty());
}

TEST_F(ToolsMenuTest, StopsAndStartsThePagesTimer) {
    OpenPage();
    const HeldKeys keys({VK_SHIFT});
    Choose(1048);
    EXPECT_FALSE(params_->timerRunning);
    EXPECT_FALSE(timers_.IsRunning(51));
    Choose(1049);
    EXPECT_TRUE(params_->timerRunning);
    EXPECT_TRUE(timers_.IsRunning(51));
}

TEST_F(ToolsMenuTest, DestroysTheHistoryAndReportsNoFailure) {
    OpenIdlePage();
    const HeldKeys keys({VK_SHIFT});
    Choose(1052);
    EXPECT_EQ(TakeRequests(), (Names{L"GetFlowpathStat", L"DestroyFlowpathStatHistory"}));
    EXPECT_EQ(taken()[1].DeviceName(), DeviceTail());
    EXPECT_EQ(driver_.FindDevice(device_.huid)->historyResets, 1u);
    ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_DestroyFlowpathStatHistory, static_cast<int32_t>(0xC0000022)),
              ERROR_SUCCESS);
    Choose(1052);
    EXPECT_TRUE(modal_.boxes().empty());
}

TEST_F(ToolsMenuTest, StartsAndStopsTheBlindRun) {
    OpenIdlePage();
    const HeldKeys keys({VK_SHIFT});
    Choose(1064);
    EXPECT_EQ(driver_.FindDevice(device_.huid)->blindRun, 1u);
    Choose(1065);
    EXPECT_EQ(driver_.FindDevice(device_.huid)->blindRun, 0u);
    EXPECT_EQ(TakeRequests(),
              (Names{L"GetFlowpathStat", L"StartBlindRun", L"GetFlowpathStat", L"StopBlindRun"}));
    EXPECT_EQ(taken()[1].DeviceName(), DeviceTail());
    EXPECT_EQ(taken()[3].DeviceName(), DeviceTail());
}

struct BlindRunFailureRow {
    const char* name;
    uint32_t active;
    UINT command;
    uint32_t request;
    int32_t status;
    const wchar_t* text;

    friend void PrintTo(const BlindRunFailureRow& row, std::ostream* out) { *out << row.name; }
};

class ToolsMenuBlindRunFailureTest : public ToolsMenuTest,
                                     public testing::WithParamInterface<BlindRunFailureRow> {};

TEST_P(ToolsMenuBlindRunFailureTest, IsReportedWithTheRequestsName) {
    OpenIdlePage();
    ASSERT_EQ(driver_.SetNumber(device_.huid, kSimFieldBlindRun, GetParam().active), ERROR_SUCCESS);
    ASSERT_EQ(driver_.FailNext(GetParam().request, GetParam().status), ERROR_SUCCESS);
    const HeldKeys keys({VK_SHIFT});
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    Choose(GetParam().command);
    EXPECT_EQ(BoxText(0), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ToolsMenuBlindRunFailureTest,
    testing::Values(
        BlindRunFailureRow{"StartLost", 0, 1064, IOCTL_TAVIX_StartBlindRun, static_cast<int32_t>(0xC000009D),
                           L"IOCTL_TAVIX_StartBlindRun execution error.\n\nFlowpath is lost."},
        BlindRunFailureRow{"StopDenied", 1, 1065, IOCTL_TAVIX_StopBlindRun, static_cast<int32_t>(0xC0000022),
                           L"IOCTL_TAVIX_StopBlindRun execution error.\n\nWinErr=5(ERROR_ACCESS_DENIED)"},
        BlindRunFailureRow{"StopUnknown", 1, 1065, IOCTL_TAVIX_StopBlindRun, static_cast<int32_t>(0xC0000035),
                           L"IOCTL_TAVIX_StopBlindRun execution error.\n\nWinErr=183(UnknownWinErrCode)"},
        BlindRunFailureRow{"StartDenied", 0, 1064, IOCTL_TAVIX_StartBlindRun,
                           static_cast<int32_t>(0xC0000022),
                           L"IOCTL_TAVIX_StartBlindRun execution error.\n\nWinErr=5(ERROR_ACCESS_DENIED)"},
        BlindRunFailureRow{"StopLost", 1, 1065, IOCTL_TAVIX_StopBlindRun, static_cast<int32_t>(0xC000009D),
                           L"IOCTL_TAVIX_StopBlindRun execution error.\n\nFlowpath is lost."}),
    [](const auto& row) { return std::string(row.param.name); });

struct StateChoice {
    UINT command;
    uint32_t index;
    uint32_t value;
};

TEST_F(ToolsMenuTest, EachDeviceStateGoesToTheDriverByteForByte) {
    OpenIdlePage();
    const HeldKeys keys({VK_SHIFT});
    for (const StateChoice& choice :
         {StateChoice{1200, 0, 0}, StateChoice{1214, 4, 1}, StateChoice{1201, 1, 0}, StateChoice{1211, 1, 1},
          StateChoice{1202, 2, 0}, StateChoice{1212, 2, 1}, StateChoice{1203, 3, 0}, StateChoice{1213, 3, 1},
          StateChoice{1204, 4, 0}, StateChoice{1210, 0, 1}}) {
        Choose(choice.command);
        ASSERT_EQ(TakeRequests(), (Names{L"GetFlowpathStat", L"SetWdfDeviceState"})) << choice.command;
        WdfDeviceStateRequest_st expected = {};
        DeviceTail().copy(expected.device.chars, kDeviceNameChars - 1);
        expected.stateIndex = choice.index;
        expected.value = choice.value;
        const auto* bytes = reinterpret_cast<const uint8_t*>(&expected);
        EXPECT_EQ(taken()[1].input, std::vector<uint8_t>(bytes, bytes + sizeof(expected))) << choice.command;
    }
}

TEST_F(ToolsMenuTest, ResourceChangedSendsNothing) {
    OpenIdlePage();
    const HeldKeys keys({VK_SHIFT});
    Choose(1205);
    Choose(1215);
    EXPECT_EQ(TakeRequests(), (Names{L"GetFlowpathStat", L"GetFlowpathStat"}));
    EXPECT_TRUE(modal_.boxes().empty());
}

TEST_F(ToolsMenuTest, TheKeysNumberTheDangleVcom) {
    OpenIdlePage();
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    {
        const HeldKeys keys({VK_SHIFT});
        Choose(1060);
    }
    {
        const HeldKeys keys({VK_SHIFT, VK_CONTROL});
        Choose(1060);
    }
    EXPECT_EQ(TakeRequests(),
              (Names{L"GetFlowpathStat", L"CreateDangleVcom", L"GetFlowpathStat", L"CreateDangleVcom"}));
    EXPECT_EQ(taken()[1].input, (std::vector<uint8_t>{2, 0, 0, 0}));
    EXPECT_EQ(taken()[3].input, (std::vector<uint8_t>{3, 0, 0, 0}));
    EXPECT_EQ(modal_.boxes()[0].icon, static_cast<UINT>(MB_ICONINFORMATION));
    EXPECT_EQ(modal_.boxes()[0].owner, frame_.get());
    EXPECT_EQ(BoxText(0), L"Creating dangle VCOM Success (dangle.2).");
    EXPECT_EQ(BoxText(1), L"Creating dangle VCOM Success (dangle.3).");
}

// ---- which tool an entry opens

struct DialogRow {
    const char* name;
    UINT command;
    const wchar_t* title;

    friend void PrintTo(const DialogRow& row, std::ostream* out) { *out << row.name; }
};

class ToolsMenuDialogTest : public ToolsMenuTest, public testing::WithParamInterface<DialogRow> {};

TEST_P(ToolsMenuDialogTest, IsOwnedByThePageAndDetachedWithCtrl) {
    OpenIdlePage();
    std::vector<bool> pageUsable;
    for (const bool ctrl : {false, true}) {
        modal_.ExpectBox(GetParam().title).Do([&](BoxView& dialog) {
            pageUsable.push_back(IsWindowEnabled(frame_.get()) != FALSE);
            dialog.Close();
        });
        const HeldKeys keys(ctrl ? std::initializer_list<int>{VK_SHIFT, VK_CONTROL}
                                 : std::initializer_list<int>{VK_SHIFT});
        Choose(GetParam().command);
    }
    ASSERT_EQ(modal_.boxes().size(), 2u);
    EXPECT_EQ(modal_.boxes()[0].owner, frame_.get());
    EXPECT_EQ(modal_.boxes()[1].owner, nullptr);
    EXPECT_EQ(pageUsable, (std::vector<bool>{false, true}));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ToolsMenuDialogTest,
    testing::Values(DialogRow{"FlowpathStat", 1045, L"<TAVIX Scanner (COM5)> Flowpath Statistics"},
                    DialogRow{"UsbTweak", 1046, L"<TAVIX Scanner (COM5)> USB device tweak"},
                    DialogRow{"IrpStates", 1047, L"TAVIX internal IRP state"}),
    [](const auto& row) { return std::string(row.param.name); });

// Ctrl may also come down only for the choice, as the hint asks for.
TEST_F(ToolsMenuTest, CtrlAtTheChoiceDetachesToo) {
    OpenIdlePage();
    modal_.ExpectBox(L"TAVIX internal IRP state").Do([](BoxView& dialog) { dialog.Close(); });
    const HeldKeys keys({VK_SHIFT});
    ReplacedCall<TrackPopupMenuEx> track("TrackPopupMenuEx", [](HMENU, UINT, int, int, HWND, LPTPMPARAMS) {
        BYTE held[256] = {};
        held[VK_CONTROL] = 0x80;
        SetKeyboardState(held);
        return BOOL{1047};
    });
    Click(IDC_VCOM_TOOLS);
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].owner, nullptr);
}

TEST_F(ToolsMenuTest, TheTerminalIsOfferedWhereItsProgramIs) {
    OpenIdlePage();
    const ScratchFolder package(L"tools_menu");
    const std::wstring library = package.File(L"tavix_coinstaller.dll");
    ReplacedCall<GetModuleFileNameW> moduleName("GetModuleFileNameW", [&](HMODULE, LPWSTR path, DWORD) {
        wmemcpy(path, library.c_str(), library.size() + 1);
        return static_cast<DWORD>(library.size());
    });
    WriteWholeFile(package.File(L"putty-x64.exe"), {});
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    Choose(1042);
    EXPECT_EQ(LastMenu().Texts(), std::wstring(L"Pu&TTY\n") + kUserEntries);
    EXPECT_NE(LastMenu().items[0].bitmap, nullptr);
    // It went as far as this test has brought it.
    EXPECT_EQ(BoxText(0), L"Cannot read file " + package.File(L"putty-session.reg.template"));
    EXPECT_EQ(TakeRequests(), Names{L"QueryVcomFdoPdo"});
}

// ---- the sheet closed while something of the menu is open

class ToolsMenuClosingTest : public ToolsMenuTest {
  protected:
    void TearDown() override {
        page_ = nullptr;  // gone with its frame
        ToolsMenuTest::TearDown();
    }
    // On the page's own thread, in whatever loop it runs. The page's object goes with the sheet.
    void CloseSheet() {
        SendMessageW(frame_.get(), WM_CLOSE, 0, 0);
        EXPECT_TRUE(WaitUntil("the page to be gone", [this] { return !IsWindow(page_); }));
        params_.reset();
        PostThreadMessageW(thread_, WM_NULL, 0, 0);  // a loop notices with its next message
    }

    const DWORD thread_ = GetCurrentThreadId();
};

TEST_F(ToolsMenuClosingTest, ASheetClosedDuringTheMenuIsNotTouchedAgain) {
    OpenIdlePage();
    const HeldKeys keys({VK_SHIFT});
    // Some systems leave the menu open then, until the next key.
    WithMenu([this](MenuView&) {
        CloseSheet();
        PostThreadMessageW(thread_, WM_KEYDOWN, VK_ESCAPE, 0);
    });
    EXPECT_EQ(TakeRequests(), Names{L"GetFlowpathStat"});
    EXPECT_TRUE(modal_.boxes().empty());
}

struct OpenBoxRow {
    const char* name;
    UINT command;
    const wchar_t* title;

    friend void PrintTo(const OpenBoxRow& row, std::ostream* out) { *out << row.name; }
};

class ToolsMenuOpenBoxTest : public ToolsMenuClosingTest, public testing::WithParamInterface<OpenBoxRow> {};

TEST_P(ToolsMenuOpenBoxTest, ASheetClosedBehindItTakesItAlong) {
    OpenIdlePage();
    for (const uint32_t request : {IOCTL_TAVIX_StartBlindRun, IOCTL_TAVIX_GetUsbdInfo})
        ASSERT_EQ(driver_.FailNext(request, static_cast<int32_t>(0xC0000022)), ERROR_SUCCESS);
    REPLACE_CALL(noFile, GetFileAttributesW, [](LPCWSTR) { return INVALID_FILE_ATTRIBUTES; });
    const HeldKeys keys({VK_SHIFT});
    modal_.ExpectBox(GetParam().title).DoAndLeaveOpen([this](BoxView&) { CloseSheet(); });
    Choose(GetParam().command);
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_FALSE(IsWindow(modal_.boxes()[0].window));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ToolsMenuOpenBoxTest,
    testing::Values(OpenBoxRow{"FlowpathStat", 1045, L"<TAVIX Scanner (COM5)> Flowpath Statistics"},
                    OpenBoxRow{"About", 1043, L"About TAVIX"}, OpenBoxRow{"NoGuide", 1044, L"TAVIX Message"},
                    OpenBoxRow{"NoUsbDevice", 1051, L"TAVIX Message"},
                    OpenBoxRow{"UsbTweak", 1046, L"<TAVIX Scanner (COM5)> USB device tweak"},
                    OpenBoxRow{"IrpStates", 1047, L"TAVIX internal IRP state"},
                    OpenBoxRow{"DangleVcom", 1060, L"TAVIX Message"},
                    OpenBoxRow{"NoBlindRun", 1064, L"TAVIX Message"}),
    [](const auto& row) { return std::string(row.param.name); });

// ---- leaving nothing behind

// A real menu here would leave the handles of the test's own threads behind.
TEST_F(ToolsMenuTest, LeavesNothingBehindOverManyOpenings) {
    OpenIdlePage();
    const HeldKeys keys({VK_SHIFT});
    ReplacedCall<TrackPopupMenuEx> track(
        "TrackPopupMenuEx", [](HMENU, UINT, int, int, HWND, LPTPMPARAMS) { return BOOL{FALSE}; });
    const int openings = RunsOf(25, 1000);
    ExpectNoLeaks([&] { Click(IDC_VCOM_TOOLS); }, openings);
    EXPECT_GT(track.calls(), openings);
}

}  // namespace
