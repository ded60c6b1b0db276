// What the USB device page shows of its device's connection, and which requests that costs.
#include <gtest/gtest.h>

#include "base/windows_api.h"

#include <commctrl.h>
#include <prsht.h>

#include "tests/support/leak_counters.h"
#include "tests/support/long_run.h"
#include "tests/support/screenshot.h"
#include "tests/support/wait_until.h"
#include "tests/system/usbd_page_fixture.h"

namespace {

using Names = std::vector<std::wstring>;

// ---- requests ----

TEST_F(UsbdPageTest, OpensWithThreeRequests) {
    OpenPage();
    EXPECT_EQ(TakeRequests(), (Names{L"GetLogCfg", L"GetVcomCfg", L"GetUsbdInfo"}));
    EXPECT_EQ(taken()[1].DeviceName(), device_.huid);
    EXPECT_EQ(taken()[2].DeviceName(), device_.huid);
}

TEST_F(UsbdPageTest, ATickSendsTwoRequests) {
    OpenPage();
    KillTimer(page_.window(), 68);
    TakeRequests();
    Tick();
    EXPECT_EQ(TakeRequests(), (Names{L"GetVcomCfg", L"GetUsbdInfo"}));
}

TEST_F(UsbdPageTest, NobodyAsksForTheSpeedOfADeviceThatDoesNotWork) {
    OpenPage();
    KillTimer(page_.window(), 68);
    for (const auto& [present, problem] : {std::pair{true, 10u}, {false, 0u}}) {
        SetPresence(present, problem);
        TakeRequests();
        Tick();
        EXPECT_EQ(TakeRequests(), Names{L"GetVcomCfg"});
    }
}

TEST_F(UsbdPageTest, AnUnmappedDeviceCostsNoRequest) {
    OpenPage();
    KillTimer(page_.window(), 68);
    ASSERT_EQ(driver_.SetText(device_.huid, kSimFieldHuid, L""), ERROR_SUCCESS);
    TakeRequests();
    Tick();
    EXPECT_TRUE(TakeRequests().empty());
}

TEST_F(UsbdPageTest, TicksEverySecond) {
    UINT_PTR id = 0;
    UINT interval = 0;
    ReplacedCall<SetTimer> timer("SetTimer",
                                 [&](HWND window, UINT_PTR timerId, UINT ms, TIMERPROC procedure) {
                                     id = timerId;
                                     interval = ms;
                                     return SetTimer(window, timerId, ms, procedure);
                                 });
    OpenPage();
    EXPECT_EQ(id, 68u);
    EXPECT_EQ(interval, 1000u);
    EXPECT_TRUE(params_->timerRunning);
    TakeRequests();
    EXPECT_TRUE(PumpUntil("a tick", [&] { return !TakeRequests().empty(); }));
}

TEST_F(UsbdPageTest, AnotherTimerRefreshesNothing) {
    OpenPage();
    KillTimer(page_.window(), 68);
    TakeRequests();
    SendMessageW(page_.window(), WM_TIMER, 51, 0);
    EXPECT_TRUE(TakeRequests().empty());
}

// ---- connection ----

struct SpeedRow {
    const char* name;
    uint64_t speed;
    const wchar_t* text;
    const wchar_t* picture;

    friend void PrintTo(const SpeedRow& row, std::ostream* out) { *out << row.name; }
};

class UsbdPageSpeedTest : public UsbdPageTest, public testing::WithParamInterface<SpeedRow> {};

TEST_P(UsbdPageSpeedTest, AWorkingDeviceTellsItsSpeed) {
    ASSERT_EQ(driver_.SetNumber(device_.huid, kSimFieldSpeed, GetParam().speed), ERROR_SUCCESS);
    OpenPage();
    EXPECT_EQ(Text(IDC_USBD_STATUS),
              L"USB device is connected and working. (" + std::wstring(GetParam().text) + L")");
    if (GetParam().picture != nullptr) SaveScreenshot(page_.window(), GetParam().picture);
}

INSTANTIATE_TEST_SUITE_P(Rows, UsbdPageSpeedTest,
                         testing::Values(SpeedRow{"Zero", 0, L"Speed unknown", L"usbd_page_speed_unknown"},
                                         SpeedRow{"Full", 1, L"Full speed", L"usbd_page_full_speed"},
                                         SpeedRow{"High", 2, L"High speed", L"usbd_page"},
                                         SpeedRow{"Super", 3, L"Super speed", L"usbd_page_super_speed"},
                                         SpeedRow{"Four", 4, L"Speed unknown", nullptr},
                                         SpeedRow{"Largest", 0xFFFFFFFF, L"Speed unknown", nullptr}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(UsbdPageTest, AFailedOrCutInformationRequestLeavesTheSpeedUnknown) {
    for (const bool cut : {false, true}) {
        if (cut)
            ASSERT_EQ(driver_.ShortenNext(IOCTL_TAVIX_GetUsbdInfo, 1295), ERROR_SUCCESS);
        else
            ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_GetUsbdInfo, static_cast<int32_t>(0xC000009D)),
                      ERROR_SUCCESS);
        OpenPage();
        EXPECT_EQ(Text(IDC_USBD_STATUS), L"USB device is connected and working. (Speed unknown)");
        EXPECT_TRUE(page_.IsEnabled(IDC_USBD_OPEN_VCOM));
        ClosePage();
        MakeParams();
    }
}

struct ProblemRow {
    uint32_t code;
    const wchar_t* name;

    friend void PrintTo(const ProblemRow& row, std::ostream* out) { *out << row.code; }
};

class UsbdPageProblemTest : public UsbdPageTest, public testing::WithParamInterface<ProblemRow> {};

TEST_P(UsbdPageProblemTest, AProblemIsShownWithItsNumberAndName) {
    SetPresence(true, GetParam().code);
    OpenPage();
    EXPECT_EQ(Text(IDC_USBD_STATUS), L"USB device connected but driver not working. Problem Code=" +
                                         std::to_wstring(GetParam().code) + L" (" + GetParam().name + L")");
}

INSTANTIATE_TEST_SUITE_P(
    Rows, UsbdPageProblemTest,
    testing::Values(ProblemRow{1, L"CM_PROB_NOT_CONFIGURED"}, ProblemRow{10, L"CM_PROB_FAILED_START"},
                    ProblemRow{18, L"CM_PROB_REINSTALL"}, ProblemRow{22, L"CM_PROB_DISABLED"},
                    ProblemRow{28, L"UnknownProblemCode"}, ProblemRow{39, L"CM_PROB_DRIVER_FAILED_LOAD"},
                    ProblemRow{47, L"CM_PROB_HELD_FOR_EJECT"}, ProblemRow{52, L"CM_PROB_UNSIGNED_DRIVER"}),
    [](const auto& row) { return "Code" + std::to_string(row.param.code); });

TEST_F(UsbdPageTest, EveryProblemFitsIntoTheStatus) {
    OpenPage();
    const HWND status = page_.Control(IDC_USBD_STATUS);
    const HDC dc = GetDC(status);
    SelectObject(dc, reinterpret_cast<HGDIOBJ>(SendMessageW(status, WM_GETFONT, 0, 0)));
    TEXTMETRICW font = {};
    GetTextMetricsW(dc, &font);
    ReleaseDC(status, dc);
    RECT room = {};
    SendMessageW(status, EM_GETRECT, 0, reinterpret_cast<LPARAM>(&room));
    for (uint32_t code = 1; code <= 60; ++code) {
        SetPresence(true, code);
        Tick();
        const LRESULT lines = SendMessageW(status, EM_GETLINECOUNT, 0, 0);
        EXPECT_LE(lines * font.tmHeight, room.bottom - room.top) << code;
    }
}

TEST_F(UsbdPageTest, UnpluggingAndPluggingShowAtTheNextTick) {
    OpenPage();
    SetPresence(false);
    Tick();
    EXPECT_EQ(Text(IDC_USBD_STATUS), L"USB device is disconnected.");
    SaveScreenshot(page_.window(), L"usbd_page_unplugged");
    SetPresence(true);
    Tick();
    EXPECT_EQ(Text(IDC_USBD_STATUS), L"USB device is connected and working. (High speed)");
}

TEST_F(UsbdPageTest, ADeviceWithAProblemShowsItAlthoughItsErrorsAreRecent) {
    SetPresence(true, 10);
    WriteLog(kTwoEpisodes);
    OpenPage();
    EXPECT_EQ(Text(IDC_USBD_STARTUP_SUMMARY), L"You have recent USB device startup errors.");
    EXPECT_EQ(Text(IDC_USBD_STATUS),
              L"USB device connected but driver not working. Problem Code=10 (CM_PROB_FAILED_START)");
    SaveScreenshot(page_.window(), L"usbd_page_problem");
}

// ---- file logging ----

TEST_F(UsbdPageTest, TheLoggingBoxShowsTheDriversState) {
    LogCfg_st log = {};
    log.fileLogging = 1;
    ASSERT_EQ(driver_.SetLogCfg(log), ERROR_SUCCESS);
    OpenPage();
    EXPECT_TRUE(page_.IsChecked(IDC_FILE_LOGGING));
}

TEST_F(UsbdPageTest, TheLoggingBoxSwitchesTheDriver) {
    OpenPage();
    modal_.ExpectBox(L"TAVIX Message").Press(IDNO);
    page_.Click(IDC_FILE_LOGGING);
    LogCfg_st log = {};
    ASSERT_EQ(driver_.QueryLogCfg(log), ERROR_SUCCESS);
    EXPECT_EQ(log.levels[0], 2);
    EXPECT_TRUE(page_.IsChecked(IDC_FILE_LOGGING));
}

TEST_F(UsbdPageTest, AUserWithoutRightsSeesAllAndIsToldThatNothingCanBeChanged) {
    ASSERT_EQ(driver_.SetAccess({.refuseWrite = 1}), ERROR_SUCCESS);
    OpenPage();
    EXPECT_EQ(Text(IDC_USBD_MAPPING), L"This USB device maps to " + std::wstring(device_.portName) + L" .");
    EXPECT_EQ(Text(IDC_USBD_STATUS), L"USB device is connected and working. (High speed)");
    modal_.ExpectBox(L"TAVIX Message").Press(IDNO);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    page_.Click(IDC_FILE_LOGGING);
    ASSERT_EQ(modal_.boxes().size(), 2u);
    EXPECT_EQ(modal_.boxes()[1].text,
              L"Cannot make the change, probably because you are not the Administrator.");
    EXPECT_FALSE(page_.IsChecked(IDC_FILE_LOGGING));
}

// ---- messages ----

TEST_F(UsbdPageTest, SwallowsNotificationsHelpAndContextMenu) {
    OpenPage();
    for (const UINT message : {WM_NOTIFY, WM_HELP, WM_CONTEXTMENU})
        EXPECT_TRUE(Answer(message)) << message;
    EXPECT_FALSE(Answer(WM_CHAR));
}

TEST_F(UsbdPageTest, CancelEndsTheDialogAndItsSheet) {
    OpenPage();
    UINT pressed = 0;
    ReplacedCall<PostMessageW> post("PostMessageW", [&](HWND window, UINT message, WPARAM wParam, LPARAM) {
        if (window == frame_.get() && message == PSM_PRESSBUTTON) pressed = static_cast<UINT>(wParam);
        return TRUE;
    });
    page_.Notify(IDCANCEL, BN_CLICKED);
    EXPECT_EQ(pressed, UINT{PSBTN_CANCEL});
    EXPECT_FALSE(IsWindowVisible(page_.window()));
}

TEST_F(UsbdPageTest, APageWithoutAnObjectShowsItsControlsAndDoesNothing) {
    params_.reset();
    OpenPage();
    Tick();
    page_.Click(IDC_USBD_OPEN_VCOM);
    page_.Click(IDC_USBD_CLEAR);
    page_.Click(IDC_FILE_LOGGING);
    EXPECT_TRUE(TakeRequests().empty());
    EXPECT_EQ(Text(IDC_USBD_MAPPING), L"... Vbus not ready");
}

// ---- what a tick leaves alone ----

TEST_F(UsbdPageTest, AnIdleTickRepaintsNothing) {
    WriteLog(kTwoEpisodes);
    OpenPage();
    Tick();
    PumpPendingMessages();
    UpdateWindow(page_.window());
    Tick();
    for (const int id : {1045, 1041, 1104, 1050, 1042, 1043, 1044, 1040, 1039, 1046, 1021})
        EXPECT_FALSE(GetUpdateRect(page_.Control(id), nullptr, FALSE)) << id;
    EXPECT_FALSE(GetUpdateRect(page_.window(), nullptr, FALSE));
}

// What a control is told to show, even if that is what it shows already: on the way there it may flicker.
int g_settings = 0;
LRESULT CALLBACK CountSettings(HWND control, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR,
                               DWORD_PTR) {
    for (const UINT setting : {WM_SETTEXT, WM_ENABLE, WM_SETREDRAW, STM_SETICON, STM_SETIMAGE, BM_SETCHECK})
        if (message == setting) ++g_settings;
    return DefSubclassProc(control, message, wParam, lParam);
}

TEST_F(UsbdPageTest, AnIdleTickSetsNothingAnew) {
    WriteLog(kTwoEpisodes);
    OpenPage();
    KillTimer(page_.window(), 68);
    Tick();
    for (const int id : {1045, 1041, 1104, 1050, 1042, 1043, 1044, 1040, 1039, 1046, 1021})
        SetWindowSubclass(page_.Control(id), CountSettings, 0, 0);
    g_settings = 0;
    Tick();
    EXPECT_EQ(g_settings, 0);
    SetPresence(false);
    Tick();
    EXPECT_EQ(g_settings, 3) << "the icon, the status and the button to the VCOM";
}

TEST_F(UsbdPageTest, LeavesNothingBehindOverManyOpenings) {
    WriteLog(kTwoEpisodes);
    ExpectNoLeaks(
        [&] {
            OpenPage();
            ClosePage();
            MakeParams();
        },
        RunsOf(25, 1000));
}

TEST_F(UsbdPageTest, LeavesNothingBehindOverManyTicks) {
    WriteLog(kTwoEpisodes);
    OpenPage();
    KillTimer(page_.window(), 68);
    ExpectNoLeaks(
        [&] {
            for (int tick = 0; tick < 10; ++tick)
                Tick();
        },
        RunsOf(10, 1000));
}

}  // namespace
