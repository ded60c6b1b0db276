// What the VCOM page shows and which requests that costs.
#include <gtest/gtest.h>

#include "base/windows_api.h"

#include <commctrl.h>

#include "base/trace_line.h"
#include "base/xfmt.h"
#include "driver/vbus.h"
#include "pages/port_names.h"
#include "pages/vcom_page_parts.h"
#include "resources/resource_ids.h"
#include "tests/support/import_redirect.h"
#include "tests/support/leak_counters.h"
#include "tests/support/resource_library.h"
#include "tests/support/scratch_system_directory.h"
#include "tests/support/screenshot.h"
#include "tests/support/temporary_file.h"
#include "tests/support/wait_until.h"
#include "tests/system/vcom_page_fixture.h"
#include "ui/custom_resource.h"

namespace {

using Names = std::vector<std::wstring>;

constexpr int kDisabledWithoutConfig[] = {1005, 1002, 1003, 1004, 1019, 1007, 1008, 1009,
                                          1010, 1020, 1013, 1016, 1025, 1021, 1027};

// A leak of one block per opening or tick shows at once; a thousand openings and ten thousand ticks, run by
// hand, take five minutes and find no more.
constexpr int kLeakOpenings = 25;
constexpr int kTicksPerRun = 10;
constexpr int kLeakTickRuns = 20;

TEST_F(VcomPageTest, OpensWithSixRequests) {
    OpenPage();
    EXPECT_EQ(TakeRequests(), (Names{L"GetLogCfg", L"GetDriverVersion", L"GetVcomCfg", L"GetGlobalCfg",
                                     L"GetLogCfg", L"GetUsbErrStat"}));
    EXPECT_EQ(taken()[2].DeviceName(), DeviceTail());
    EXPECT_EQ(taken()[5].DeviceName(), DeviceTail());
}

TEST_F(VcomPageTest, ATickSendsOneRequest) {
    OpenPage();
    TakeRequests();
    Tick();
    EXPECT_EQ(TakeRequests(), Names{L"GetUsbErrStat"});
}

TEST_F(VcomPageTest, TicksEverySecondUntilItIsClosed) {
    OpenPage();
    EXPECT_EQ(timers_.IntervalsOf(kVcomTimer), std::vector<UINT>{1000});
    ClosePage();
    EXPECT_FALSE(timers_.IsRunning(kVcomTimer));
}

LOGFONTW FontOf(HWND control) {
    LOGFONTW font = {};
    GetObjectW(reinterpret_cast<HFONT>(SendMessageW(control, WM_GETFONT, 0, 0)), sizeof(font), &font);
    return font;
}

TEST_F(VcomPageTest, ShowsTheFriendlyNameInTheBoldFormOfThePagesFont) {
    OpenPage();
    EXPECT_EQ(Text(IDC_VCOM_FRIENDLY_NAME), L"TAVIX Scanner (COM5)");
    const LOGFONTW bold = FontOf(GetDlgItem(page_, IDC_VCOM_FRIENDLY_NAME));
    const LOGFONTW usual = FontOf(GetDlgItem(page_, IDC_VCOM_DRIVER_VERSION));
    EXPECT_EQ(bold.lfWeight, 700);
    EXPECT_NE(usual.lfWeight, 700);
    EXPECT_STREQ(bold.lfFaceName, usual.lfFaceName);
    EXPECT_EQ(bold.lfHeight, usual.lfHeight);
    EXPECT_EQ(bold.lfCharSet, usual.lfCharSet);
}

TEST_F(VcomPageTest, ShowsTheDriversVersion) {
    DriverVersion_st version = {};
    version.major = 2;
    version.minor = 0;
    version.build = 34;
    version.debugBuild = 1;
    ASSERT_EQ(driver_.SetVersion(version), ERROR_SUCCESS);
    OpenPage();
    EXPECT_EQ(Text(IDC_VCOM_DRIVER_VERSION), L"TAVIX 2.0.34 (Debug)");
}

TEST_F(VcomPageTest, ListsAllNamesWithTheirMarks) {
    constexpr const wchar_t* kMarks[] = {L"", L"(-)", L"(+)", L"(!)", L"(#)", L"(?)"};
    for (uint32_t state = 0; state < 6; ++state)
        ASSERT_EQ(driver_.SetPortState(10 + state, state), ERROR_SUCCESS);
    OpenPage();
    const HWND list = GetDlgItem(page_, IDC_VCOM_PORT_NAME);
    ASSERT_EQ(SendMessageW(list, CB_GETCOUNT, 0, 0), 128);
    for (int state = 0; state < 6; ++state) {
        wchar_t text[64];
        SendMessageW(list, CB_GETLBTEXT, static_cast<WPARAM>(9 + state), reinterpret_cast<LPARAM>(text));
        EXPECT_EQ(std::wstring(text), L"COM" + std::to_wstring(10 + state) + L" " + kMarks[state]);
    }
}

struct SelectionRow {
    const char* name;
    const wchar_t* portName;
    int selection;

    friend void PrintTo(const SelectionRow& row, std::ostream* out) { *out << row.name; }
};

class VcomPageSelectionTest : public VcomPageTest, public testing::WithParamInterface<SelectionRow> {};

TEST_P(VcomPageSelectionTest, SelectsThePortInUse) {
    VcomCfgReply_st reply = {};
    // Sixteen characters fill the field and leave no terminator.
    wcsncpy(reply.portName, GetParam().portName, kPortNameChars);
    ASSERT_EQ(driver_.AnswerNext(RequestCode(L"GetVcomCfg"),
                                 {reinterpret_cast<const uint8_t*>(&reply), sizeof(reply)}),
              ERROR_SUCCESS);
    OpenPage();
    EXPECT_EQ(Selection(), GetParam().selection);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, VcomPageSelectionTest,
    testing::Values(SelectionRow{"First", L"COM1", 0}, SelectionRow{"Last", L"COM128", 127},
                    SelectionRow{"Zero", L"COM0", -1}, SelectionRow{"BehindTheList", L"COM129", -1},
                    SelectionRow{"NoNumber", L"COMx", -1}, SelectionRow{"LowerCase", L"com7", -1},
                    SelectionRow{"Empty", L"", -1}, SelectionRow{"Unterminated", L"COM7 67890123456", 6}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(VcomPageTest, ChecksTheModesAndFlagsOfTheDriver) {
    GlobalCfg_st global = {};
    ASSERT_EQ(driver_.QueryGlobalCfg(global), ERROR_SUCCESS);
    global.bindMode = 3;
    global.serialNumberOnNames = 1;
    ASSERT_EQ(driver_.SetGlobalCfg(global), ERROR_SUCCESS);
    ASSERT_EQ(driver_.SetNumber(device_.huid, kSimFieldLifemode, 2), ERROR_SUCCESS);
    LogCfg_st log = {};
    log.fileLogging = 1;
    ASSERT_EQ(driver_.SetLogCfg(log), ERROR_SUCCESS);
    OpenPage();
    EXPECT_TRUE(IsChecked(IDC_VCOM_LIFEMODE_PERSISTENT));
    EXPECT_FALSE(IsChecked(IDC_VCOM_LIFEMODE_TEMPORAL) || IsChecked(IDC_VCOM_LIFEMODE_FRIENDLY));
    EXPECT_TRUE(IsChecked(IDC_VCOM_BIND_USB_PORT));
    EXPECT_TRUE(IsChecked(IDC_VCOM_SERIAL_IN_NAMES));
    EXPECT_TRUE(IsChecked(IDC_FILE_LOGGING));
}

TEST_F(VcomPageTest, UnknownModesLeaveTheRadiosUnchecked) {
    GlobalCfg_st global = {};
    ASSERT_EQ(driver_.QueryGlobalCfg(global), ERROR_SUCCESS);
    global.bindMode = 4;
    ASSERT_EQ(driver_.SetGlobalCfg(global), ERROR_SUCCESS);
    ASSERT_EQ(driver_.SetNumber(device_.huid, kSimFieldLifemode, 0xFFFFFFFF), ERROR_SUCCESS);
    OpenPage();
    for (const int id : {1002, 1003, 1004, 1007, 1008, 1009, 1010})
        EXPECT_FALSE(IsChecked(id)) << id;
    // Both groups can still be reached from the control before them.
    EXPECT_TRUE(GetWindowLongPtrW(GetDlgItem(page_, 1002), GWL_STYLE) & WS_TABSTOP);
    EXPECT_TRUE(GetWindowLongPtrW(GetDlgItem(page_, 1007), GWL_STYLE) & WS_TABSTOP);
}

TEST_F(VcomPageTest, AListThatCannotBeFilledStaysEmpty) {
    int added = 0;
    REPLACE_CALL(send, SendMessageW, [&](HWND window, UINT message, WPARAM wParam, LPARAM lParam) -> LRESULT {
        if (message == CB_ADDSTRING && ++added == 3) return CB_ERRSPACE;
        return SendMessageW(window, message, wParam, lParam);
    });
    OpenPage();
    EXPECT_EQ(SendDlgItemMessageW(page_, IDC_VCOM_PORT_NAME, CB_GETCOUNT, 0, 0), 0);
    EXPECT_EQ(Selection(), -1);
}

TEST_F(VcomPageTest, BindingByUsbPortNeedsVista) {
    ReplacedCall<GetVersionExW> version("GetVersionExW", [](OSVERSIONINFOW* info) {
        info->dwMajorVersion = 5;
        info->dwMinorVersion = 2;
        return TRUE;
    });
    OpenPage();
    EXPECT_FALSE(IsEnabled(IDC_VCOM_BIND_USB_PORT));
    EXPECT_TRUE(IsEnabled(IDC_VCOM_BIND_SERIAL_NUMBER));
}

TEST_F(VcomPageTest, ReadOnlyAccessDisablesSave) {
    SimAccess_st access = {};
    access.refuseWrite = 1;
    ASSERT_EQ(driver_.SetAccess(access), ERROR_SUCCESS);
    OpenPage();
    EXPECT_FALSE(IsEnabled(IDC_VCOM_SAVE));
    EXPECT_TRUE(IsEnabled(IDC_VCOM_PORT_NAME));
    SaveScreenshot(page_, L"vcom_page_read_only");
}

TEST_F(VcomPageTest, AnUnpluggedVcomIsMarkedAtTheNextTickAndUnmarkedWhenItIsBack) {
    OpenPage();
    ASSERT_EQ(driver_.SetPresence(device_.vcomInstanceId, false, 0), ERROR_SUCCESS);
    Tick();
    EXPECT_EQ(Text(IDC_VCOM_FRIENDLY_NAME), L"TAVIX Scanner (COM5) -- Not Plugged In");
    EXPECT_EQ(LookOf(IDC_VCOM_FRIENDLY_NAME).text, RGB(255, 0, 0));
    for (const UINT message : {WM_CTLCOLORSTATIC, WM_CTLCOLOREDIT}) {
        EXPECT_EQ(LookOf(IDC_VCOM_FRIENDLY_NAME, message).background, RGB(255, 192, 192)) << message;
        EXPECT_EQ(LookOf(IDC_VCOM_FRIENDLY_NAME, message).brush, params_->lightRedBrush.get()) << message;
    }
    SaveScreenshot(page_, L"vcom_page_unplugged");
    ASSERT_EQ(driver_.SetPresence(device_.vcomInstanceId, true, 0), ERROR_SUCCESS);
    Tick();
    EXPECT_EQ(Text(IDC_VCOM_FRIENDLY_NAME), L"TAVIX Scanner (COM5)");
    EXPECT_NE(LookOf(IDC_VCOM_FRIENDLY_NAME).text, RGB(255, 0, 0));
}

TEST_F(VcomPageTest, AnUnreadableNameDisablesThePageAndEndsItsTicks) {
    ReplacedCall<SetupDiGetDeviceRegistryPropertyW> property(
        "SetupDiGetDeviceRegistryPropertyW",
        [](HDEVINFO, SP_DEVINFO_DATA*, DWORD, DWORD*, BYTE*, DWORD, DWORD*) {
            SetLastError(ERROR_INVALID_DATA);
            return FALSE;
        });
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    OpenPage();
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].text, L"Error fetching device friendly name!");
    for (const int id : kDisabledWithoutConfig)
        EXPECT_FALSE(IsEnabled(id)) << id;
    EXPECT_TRUE(IsEnabled(IDC_VCOM_REFRESH));
    EXPECT_FALSE(params_->timerRunning);
}

TEST_F(VcomPageTest, TheLoggingBoxIsRightWhateverFailsBehindIt) {
    LogCfg_st log = {};
    log.fileLogging = 1;
    ASSERT_EQ(driver_.SetLogCfg(log), ERROR_SUCCESS);
    REPLACE_CALL(property, SetupDiGetDeviceRegistryPropertyW, [](auto...) { return FALSE; });
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    OpenPage();
    EXPECT_TRUE(IsChecked(IDC_FILE_LOGGING));
    EXPECT_EQ(TakeRequests(), Names{L"GetLogCfg"});
}

TEST_F(VcomPageTest, AVersionThatCannotBeHadIsNoReasonToStop) {
    ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_GetDriverVersion, static_cast<int32_t>(0xC0000001)),
              ERROR_SUCCESS);
    OpenPage();
    EXPECT_TRUE(modal_.boxes().empty()) << "the bus was opened";
    EXPECT_EQ(Text(IDC_VCOM_DRIVER_VERSION), L"[TAVIX]");
    EXPECT_EQ(params_->notPlugged, 0);
    for (const int id : kDisabledWithoutConfig)
        EXPECT_TRUE(IsEnabled(id)) << id;
    EXPECT_NE(Selection(), -1);
}

TEST_F(VcomPageTest, RefreshStartsTheTicksAgain) {
    OpenPage();
    {
        ReplacedCall<SetupDiGetDeviceRegistryPropertyW> property(
            "SetupDiGetDeviceRegistryPropertyW",
            [](HDEVINFO, SP_DEVINFO_DATA*, DWORD, DWORD*, BYTE*, DWORD, DWORD*) {
                SetLastError(ERROR_INVALID_DATA);
                return FALSE;
            });
        modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
        Tick();
    }
    EXPECT_FALSE(params_->timerRunning);
    EXPECT_FALSE(IsEnabled(IDC_VCOM_SAVE));
    Click(IDC_VCOM_REFRESH);
    EXPECT_TRUE(params_->timerRunning);
    EXPECT_TRUE(IsEnabled(IDC_VCOM_SAVE));
}

TEST_F(VcomPageTest, WithoutABusThePageSaysSoAndIsDisabled) {
    SimAccess_st access = {};
    access.busAbsent = 1;
    ASSERT_EQ(driver_.SetAccess(access), ERROR_SUCCESS);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    OpenPage();
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].text, L"TAVIX VBus not ready yet.");
    EXPECT_EQ(Text(IDC_VCOM_DRIVER_VERSION), L"[TAVIX]");
    for (const int id : kDisabledWithoutConfig)
        EXPECT_FALSE(IsEnabled(id)) << id;
    EXPECT_EQ(LookOf(IDC_VCOM_FRIENDLY_NAME).background, RGB(255, 192, 192));
    SaveScreenshot(page_, L"vcom_page_no_bus");
}

TEST_F(VcomPageTest, ABusThatRefusesToOpenIsNamedWithItsError) {
    SimAccess_st access = {};
    access.openStatus = static_cast<int32_t>(0xC000009A);  // insufficient resources
    ASSERT_EQ(driver_.SetAccess(access), ERROR_SUCCESS);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    OpenPage();
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].text, L"Cannot open TAVIX VBus. WinErr=1450(UnknownWinErrCode)");
    EXPECT_EQ(Text(IDC_VCOM_USB_ERROR_LINE), L"ERROR_DEVICE_NOT_CONNECTED(1167)");
}

TEST_F(VcomPageTest, AFailedConfigurationDisablesThePage) {
    ASSERT_EQ(driver_.SetNumber(device_.huid, kSimFieldCfgResult, 6), ERROR_SUCCESS);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    OpenPage();
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].text, L"Error in tavo_GetVcomCfg(). UfAppErr=6(UfAppErr_WrongHuid).");
    for (const int id : kDisabledWithoutConfig)
        EXPECT_FALSE(IsEnabled(id)) << id;
    EXPECT_NE(params_->notPlugged, 0);
}

TEST_F(VcomPageTest, TheLoggingBoxIsShownEvenWithoutAConfiguration) {
    LogCfg_st log = {};
    log.fileLogging = 1;
    ASSERT_EQ(driver_.SetLogCfg(log), ERROR_SUCCESS);
    ASSERT_EQ(driver_.SetNumber(device_.huid, kSimFieldCfgResult, 6), ERROR_SUCCESS);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    OpenPage();
    EXPECT_TRUE(IsChecked(IDC_FILE_LOGGING));
    EXPECT_FALSE(IsEnabled(IDC_FILE_LOGGING));
}

TEST_F(VcomPageTest, TheFocusGoesToRefreshWhenItsControlIsDisabled) {
    OpenPage();
    EnableWindow(page_, TRUE);
    SetFocus(GetDlgItem(page_, IDC_VCOM_SAVE));
    SetVbusReadOnly(true);
    Click(IDC_VCOM_REFRESH);
    EXPECT_FALSE(IsEnabled(IDC_VCOM_SAVE));
    EXPECT_EQ(GetFocus(), GetDlgItem(page_, IDC_VCOM_REFRESH));
}

TEST_F(VcomPageTest, RefreshHealsAPageThatFailedToOpen) {
    ASSERT_EQ(driver_.SetNumber(device_.huid, kSimFieldCfgResult, 6), ERROR_SUCCESS);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    OpenPage();
    ASSERT_EQ(driver_.SetNumber(device_.huid, kSimFieldCfgResult, 0), ERROR_SUCCESS);
    Click(IDC_VCOM_REFRESH);
    EXPECT_EQ(params_->notPlugged, 0);
    for (const int id : kDisabledWithoutConfig)
        EXPECT_TRUE(IsEnabled(id)) << id;
}

TEST_F(VcomPageTest, ATickKeepsTheUsersUnsavedChoices) {
    OpenPage();
    Select(42);
    Check(1002, 1004, 1002);
    Click(IDC_VCOM_SERIAL_IN_NAMES);
    const bool serial = IsChecked(IDC_VCOM_SERIAL_IN_NAMES);
    Tick();
    EXPECT_EQ(Selection(), 41);
    EXPECT_TRUE(IsChecked(1002));
    EXPECT_EQ(IsChecked(IDC_VCOM_SERIAL_IN_NAMES), serial);
}

TEST_F(VcomPageTest, AnIdleTickRepaintsNothing) {
    OpenPage();
    Tick();
    PumpPendingMessages();
    UpdateWindow(page_);
    Tick();
    for (const int id : {IDC_VCOM_FRIENDLY_NAME, IDC_VCOM_USB_ERROR_LINE, IDC_VCOM_PORT_NAME})
        EXPECT_FALSE(GetUpdateRect(GetDlgItem(page_, id), nullptr, FALSE)) << id;
}

TEST_F(VcomPageTest, SwallowsHelpContextMenuAndCharacters) {
    OpenPage();
    for (const UINT message : {WM_HELP, WM_CONTEXTMENU, WM_CHAR})
        EXPECT_TRUE(Answer(message, 0, 0)) << message;
}

TEST_F(VcomPageTest, RunsOneTimerOfASecondUntilItIsDestroyed) {
    std::vector<std::pair<UINT_PTR, UINT>> started;
    std::vector<UINT_PTR> stopped;
    REPLACE_CALL(set, SetTimer, [&](HWND window, UINT_PTR id, UINT interval, TIMERPROC procedure) {
        started.emplace_back(id, interval);
        return SetTimer(window, id, interval, procedure);
    });
    REPLACE_CALL(kill, KillTimer, [&](HWND window, UINT_PTR id) {
        EXPECT_EQ(window, page_);
        stopped.push_back(id);
        return KillTimer(window, id);
    });
    OpenPage();
    Click(IDC_VCOM_REFRESH);
    EXPECT_EQ(started, (std::vector<std::pair<UINT_PTR, UINT>>{{51, 1000}}));
    EXPECT_TRUE(stopped.empty());
    ClosePage();
    EXPECT_EQ(stopped, std::vector<UINT_PTR>{51});
    EXPECT_FALSE(params_->timerRunning);
}

std::vector<std::wstring> g_traced;

TEST_F(VcomPageTest, TracesItsDestruction) {
    OpenPage();
    g_traced.clear();
    SetTraceLineHook([](const wchar_t* line) { g_traced.emplace_back(line); });
    ClosePage();
    SetTraceLineHook(nullptr);
    ASSERT_EQ(g_traced.size(), 1u);
    EXPECT_EQ(g_traced[0].rfind(L"WM_DESTROY of property page", 0), 0u);
    EXPECT_NE(params_->boldFont.get(), nullptr) << "the object lives on";
}

TEST_F(VcomPageTest, APageWithoutAnObjectShowsItsControlsAndDoesNothing) {
    params_.reset();
    OpenPage();
    Tick();
    Click(IDC_VCOM_SAVE);
    Click(IDC_VCOM_WHO_OPENED);
    EXPECT_TRUE(TakeRequests().empty());
}

TEST_F(VcomPageTest, LeavesNothingBehindOverManyOpenings) {
    ExpectNoLeaks(
        [&] {
            OpenPage();
            ClosePage();
            MakeParams();
        },
        kLeakOpenings);
}

TEST_F(VcomPageTest, LeavesNothingBehindOverManyTicks) {
    OpenPage();
    KillTimer(page_, 51);
    ExpectNoLeaks(
        [&] {
            for (int tick = 0; tick < kTicksPerRun; ++tick)
                Tick();
        },
        kLeakTickRuns);
}

TEST_F(VcomPageTest, TheWholeToolsButtonOpensTheMenu) {
    OpenPage();
    BUTTON_SPLITINFO split = {};
    split.mask = BCSIF_STYLE;
    ASSERT_TRUE(
        SendDlgItemMessageW(page_, IDC_VCOM_TOOLS, BCM_GETSPLITINFO, 0, reinterpret_cast<LPARAM>(&split)));
    EXPECT_EQ(split.uSplitStyle, UINT{BCSS_NOSPLIT});
}

TEST_F(VcomPageTest, HasTheModulesIcon) {
    OpenPage();
    const HICON icon = LoadIconW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(103));
    ASSERT_NE(icon, nullptr);
    EXPECT_EQ(reinterpret_cast<HICON>(SendDlgItemMessageW(page_, IDC_VCOM_ICON, STM_GETICON, 0, 0)), icon);
}

TEST_F(VcomPageTest, HasTheCustomersIconWhenThereIsOne) {
    const ScratchSystemDirectory system;
    Bytes library = CustomerLibrary().Build();
    StampImage(&library);
    WriteWholeFile(system.CustomLibraryPath(), library);
    LoadCustomResourceLibrary();
    ASSERT_TRUE(IsCustomResourceActive());
    OpenPage();
    const auto shown = reinterpret_cast<HICON>(SendDlgItemMessageW(page_, IDC_VCOM_ICON, STM_GETICON, 0, 0));
    EXPECT_EQ(shown, CustomSmallIcon());
    EXPECT_NE(shown, LoadIconW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(103)));
    ClosePage();
    FreeCustomResourceLibrary();
}

TEST_F(VcomPageTest, HasAHint) {
    OpenPage();
    ASSERT_NE(params_->hint, nullptr);
    EXPECT_EQ(GetWindow(params_->hint->Window(), GW_OWNER), frame_.get());
}

TEST_F(VcomPageTest, LooksAsItShould) {
    OpenPage();
    EXPECT_FALSE(SaveScreenshot(page_, L"vcom_page").empty());
}

}  // namespace
