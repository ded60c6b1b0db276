// What the USB device page shows of its device, and which requests that costs.
#include <gtest/gtest.h>

#include <array>

#include "base/windows_api.h"

#include <commctrl.h>
#include <prsht.h>

#include "base/properties_launcher.h"
#include "driver/vbus.h"
#include "tests/support/leak_counters.h"
#include "tests/support/long_run.h"
#include "tests/support/screenshot.h"
#include "tests/support/wait_until.h"
#include "tests/system/usbd_page_fixture.h"

namespace {

using Names = std::vector<std::wstring>;

constexpr COLORREF kRed = RGB(255, 0, 0);
constexpr wchar_t kNotReadyText[] = L"TAVIX Vbus is not ready, so VCOMs will not appear on your system.";
constexpr wchar_t kNotMappedText[] = L"This USB device has not mapped to a VCOM.";

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

// ---- mapping ----

TEST_F(UsbdPageTest, NamesThePortOfItsVcom) {
    OpenPage();
    EXPECT_EQ(Text(IDC_USBD_MAPPING), L"This USB device maps to " + std::wstring(device_.portName) + L" .");
    EXPECT_NE(TextColor(IDC_USBD_MAPPING), kRed);
    EXPECT_FALSE(params_->mappingFailed);
}

TEST_F(UsbdPageTest, AnEmptyPortNameIsAQuestionMark) {
    ASSERT_EQ(driver_.SetText(device_.huid, kSimFieldPortName, L""), ERROR_SUCCESS);
    OpenPage();
    EXPECT_EQ(Text(IDC_USBD_MAPPING), L"This USB device maps to ? .");
}

TEST_F(UsbdPageTest, APortNameIsShownAsItIsAndCutToItsField) {
    for (const auto& [name, shown] :
         {std::pair{L"COM&7", L"COM&7"}, {L"COM7 6789012345678", L"COM7 6789012345"}}) {
        ASSERT_EQ(driver_.SetText(device_.huid, kSimFieldPortName, name), ERROR_SUCCESS);
        OpenPage();
        EXPECT_EQ(Text(IDC_USBD_MAPPING), L"This USB device maps to " + std::wstring(shown) + L" .");
        ClosePage();
        MakeParams();
    }
}

struct MappingRow {
    const char* name;
    uint32_t result;
    const wchar_t* text;

    friend void PrintTo(const MappingRow& row, std::ostream* out) { *out << row.name; }
};

class UsbdPageMappingTest : public UsbdPageTest, public testing::WithParamInterface<MappingRow> {};

TEST_P(UsbdPageMappingTest, AFailedMappingIsExplainedInRed) {
    SetMappingResult(GetParam().result);
    OpenPage();
    EXPECT_EQ(Text(IDC_USBD_MAPPING), GetParam().text);
    EXPECT_EQ(TextColor(IDC_USBD_MAPPING), kRed);
    EXPECT_NE(TextColor(IDC_USBD_STATUS), kRed);
    EXPECT_TRUE(params_->mappingFailed);
    EXPECT_FALSE(page_.IsEnabled(IDC_USBD_OPEN_VCOM));
    EXPECT_EQ(page_.IsEnabled(IDC_FILE_LOGGING), GetParam().result != UfAppErr_VbusNotReady);
    EXPECT_EQ(Text(IDC_USBD_STATUS), L"USB device is connected and working. (Speed unknown)");
}

INSTANTIATE_TEST_SUITE_P(
    Rows, UsbdPageMappingTest,
    testing::Values(MappingRow{"Unnamed1", 1, L"Get PortName meets UfAppErr: 1 (UfApperr(UNKNOWN))"},
                    MappingRow{"Unknown", 2, L"Get PortName meets UfAppErr: 2 (UfAppErr_Unknown)"},
                    MappingRow{"WrongHuid", 6, L"Get PortName meets UfAppErr: 6 (UfAppErr_WrongHuid)"},
                    MappingRow{"NotReadyByTheDriver", 7, kNotReadyText},
                    MappingRow{"NoVcomYet", 9, kNotMappedText},
                    MappingRow{"Offline", 10, L"Get PortName meets UfAppErr: 10 (UfAppErr_UsbDeviceOffline)"},
                    MappingRow{"Unnamed11", 11, L"Get PortName meets UfAppErr: 11 (UfApperr(UNKNOWN))"},
                    MappingRow{"Largest", 0xFFFFFFFF,
                               L"Get PortName meets UfAppErr: -1 (UfApperr(UNKNOWN))"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(UsbdPageTest, TheMappingIsRedForBothColorMessages) {
    SetMappingResult(UfAppErr_NoVcomYet);
    OpenPage();
    EXPECT_EQ(TextColor(IDC_USBD_MAPPING, WM_CTLCOLORSTATIC), kRed);
    EXPECT_EQ(TextColor(IDC_USBD_MAPPING, WM_CTLCOLOREDIT), kRed);
}

TEST_F(UsbdPageTest, AFailedRequestCountsAsBadParameter) {
    ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_GetVcomCfg, static_cast<int32_t>(0xC0000001), kSimForever),
              ERROR_SUCCESS);
    OpenPage();
    EXPECT_EQ(Text(IDC_USBD_MAPPING), L"Get PortName meets UfAppErr: 4 (UfAppErr_BadParam)");
    EXPECT_EQ(TakeRequests(), (Names{L"GetLogCfg", L"GetVcomCfg"}));
}

TEST_F(UsbdPageTest, ADeviceWithoutAVcomIsNotMapped) {
    ASSERT_EQ(driver_.SetText(device_.huid, kSimFieldHuid, L""), ERROR_SUCCESS);
    OpenPage();
    EXPECT_EQ(Text(IDC_USBD_MAPPING), kNotMappedText);
    EXPECT_EQ(TextColor(IDC_USBD_MAPPING), kRed);
    EXPECT_FALSE(page_.IsEnabled(IDC_USBD_OPEN_VCOM));
    EXPECT_TRUE(page_.IsEnabled(IDC_FILE_LOGGING));
    SaveScreenshot(page_.window(), L"usbd_page_not_mapped");
}

TEST_F(UsbdPageTest, AStatusThatTheSheetGivesTheFocusToHasNothingSelected) {
    OpenPage();
    const HWND status = page_.Control(IDC_USBD_STATUS);
    SendMessageW(page_.window(), WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(status), TRUE);
    ASSERT_NE(SendMessageW(status, EM_GETSEL, 0, 0), 0) << "the dialog manager selects";
    PumpPendingMessages();
    EXPECT_EQ(SendMessageW(status, EM_GETSEL, 0, 0), 0);
}

TEST_F(UsbdPageTest, WithoutABusTheLoggingBoxIsDisabledUntilItIsBack) {
    OpenPage();
    PumpPendingMessages();
    SetFocus(page_.Control(IDC_FILE_LOGGING));
    ASSERT_EQ(driver_.SetAccess({.busAbsent = 1}), ERROR_SUCCESS);
    Tick();
    EXPECT_EQ(Text(IDC_USBD_MAPPING), kNotReadyText);
    EXPECT_EQ(TextColor(IDC_USBD_MAPPING), kRed);
    EXPECT_FALSE(page_.IsEnabled(IDC_FILE_LOGGING));
    EXPECT_FALSE(page_.IsEnabled(IDC_USBD_OPEN_VCOM));
    EXPECT_EQ(GetFocus(), page_.Control(IDC_USBD_STATUS));
    PumpPendingMessages();
    EXPECT_EQ(SendMessageW(page_.Control(IDC_USBD_STATUS), EM_GETSEL, 0, 0), 0) << "text is selected";
    SaveScreenshot(page_.window(), L"usbd_page_driver_stopped");
    ASSERT_EQ(driver_.SetAccess({}), ERROR_SUCCESS);
    Tick();
    EXPECT_TRUE(page_.IsEnabled(IDC_FILE_LOGGING));
    EXPECT_TRUE(page_.IsEnabled(IDC_USBD_OPEN_VCOM));
    EXPECT_NE(TextColor(IDC_USBD_MAPPING), kRed);
}

TEST_F(UsbdPageTest, AMappingThatComesAndGoesIsFollowed) {
    OpenPage();
    SetFocus(page_.Control(IDC_USBD_OPEN_VCOM));
    SetMappingResult(UfAppErr_NoVcomYet);
    Tick();
    EXPECT_EQ(Text(IDC_USBD_MAPPING), kNotMappedText);
    EXPECT_FALSE(page_.IsEnabled(IDC_USBD_OPEN_VCOM));
    EXPECT_EQ(GetFocus(), page_.Control(IDC_USBD_STATUS));
    SetMappingResult(UfAppErr_Success);
    Tick();
    EXPECT_EQ(Text(IDC_USBD_MAPPING), L"This USB device maps to " + std::wstring(device_.portName) + L" .");
    EXPECT_TRUE(page_.IsEnabled(IDC_USBD_OPEN_VCOM));
}

TEST_F(UsbdPageTest, ThePathToTheVcomIsOpenOnlyWhileTheDeviceWorks) {
    OpenPage();
    EXPECT_TRUE(page_.IsEnabled(IDC_USBD_OPEN_VCOM));
    SetPresence(true, 10);
    Tick();
    EXPECT_FALSE(page_.IsEnabled(IDC_USBD_OPEN_VCOM));
    SetPresence(false);
    Tick();
    EXPECT_FALSE(page_.IsEnabled(IDC_USBD_OPEN_VCOM));
    SetPresence(true);
    Tick();
    EXPECT_TRUE(page_.IsEnabled(IDC_USBD_OPEN_VCOM));
}

// ---- the properties of the VCOM ----

// Device Manager's launcher, as the page calls it.
class UsbdPageLauncherTest : public UsbdPageTest {
  protected:
    static void WINAPI Launch(HWND owner, HINSTANCE, const wchar_t* arguments, int show) {
        owner_ = owner;
        arguments_ = arguments;
        show_ = show;
    }
    // The system's library is not asked; its place is taken here.
    ReplacedCall<LoadLibraryW> library_{"LoadLibraryW", [](LPCWSTR name) {
                                            const bool launcher = wcsstr(name, L"devmgr.dll") != nullptr;
                                            return LoadLibraryW(launcher ? L"kernel32.dll" : name);
                                        }};
    ReplacedCall<GetProcAddress> launcher_{
        "GetProcAddress", [this](HMODULE module, LPCSTR name) -> FARPROC {
            if (reinterpret_cast<size_t>(name) > 0xFFFF && std::string(name) == "DeviceProperties_RunDLLW")
                return exists_ ? reinterpret_cast<FARPROC>(reinterpret_cast<void*>(Launch)) : nullptr;
            return GetProcAddress(module, name);
        }};
    void SetUp() override {
        UsbdPageTest::SetUp();
        ResetDeviceManagerLookup();
        arguments_.clear();
    }
    void TearDown() override {
        ResetDeviceManagerLookup();
        UsbdPageTest::TearDown();
    }

    bool exists_ = true;
    inline static HWND owner_ = nullptr;
    inline static std::wstring arguments_;
    inline static int show_ = 0;
};

TEST_F(UsbdPageLauncherTest, OpensTheVcomsOwnProperties) {
    OpenPage();
    KillTimer(page_.window(), 68);
    TakeRequests();
    page_.Click(IDC_USBD_OPEN_VCOM);
    EXPECT_EQ(arguments_, L"/DeviceID QRV_VBUS\\Qrv_vcom\\" + std::wstring(device_.huid));
    EXPECT_EQ(owner_, page_.window());
    EXPECT_EQ(show_, SW_SHOW);
    EXPECT_TRUE(TakeRequests().empty());
}

TEST_F(UsbdPageLauncherTest, WithoutAMappingTheErrorIsNamed) {
    OpenPage();
    ASSERT_EQ(driver_.SetText(device_.huid, kSimFieldHuid, L""), ERROR_SUCCESS);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    page_.Click(IDC_USBD_OPEN_VCOM);
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].text, L"tavo_QueryVComFromUsbd() fail. UfAppErr=9(UfAppErr_NoVcomYet)");
    EXPECT_EQ(modal_.boxes()[0].icon, UINT{MB_ICONERROR});
    EXPECT_EQ(arguments_, L"");
}

TEST_F(UsbdPageLauncherTest, WithoutABusTheErrorIsNamed) {
    OpenPage();
    ASSERT_EQ(driver_.SetAccess({.busAbsent = 1}), ERROR_SUCCESS);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    page_.Click(IDC_USBD_OPEN_VCOM);
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].text, L"tavo_QueryVComFromUsbd() fail. UfAppErr=7(UfAppErr_VbusNotReady)");
}

TEST_F(UsbdPageLauncherTest, WithoutALauncherTheErrorIsNamed) {
    exists_ = false;
    OpenPage();
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    page_.Click(IDC_USBD_OPEN_VCOM);
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].text, L"WinErr=-536870674(UnknownWinErrCode)");
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

// ---- the state icon ----

constexpr int kIconSide = 32;

std::vector<DWORD> PixelsOf(HICON icon) {
    BITMAPINFO info = {};
    info.bmiHeader = {sizeof(info.bmiHeader), kIconSide, -kIconSide, 1, 32, BI_RGB};
    void* bits = nullptr;
    const MemoryDc memory(CreateCompatibleDC(nullptr));
    const OwnedBitmap bitmap(CreateDIBSection(memory.get(), &info, DIB_RGB_COLORS, &bits, nullptr, 0));
    const HGDIOBJ before = SelectObject(memory.get(), bitmap.get());
    PatBlt(memory.get(), 0, 0, kIconSide, kIconSide, WHITENESS);
    EXPECT_TRUE(DrawIconEx(memory.get(), 0, 0, icon, kIconSide, kIconSide, 0, nullptr, DI_NORMAL));
    GdiFlush();
    const auto* pixels = static_cast<const DWORD*>(bits);
    std::vector<DWORD> copy(pixels, pixels + kIconSide * kIconSide);
    SelectObject(memory.get(), before);
    return copy;
}

enum class Log { kNone, kPast, kRecent };

struct IconRow {
    const char* name;
    bool present;
    uint32_t problem;
    Log log;
    WORD moduleIcon;  // 0: the system's
    const wchar_t* systemIcon;

    friend void PrintTo(const IconRow& row, std::ostream* out) { *out << row.name; }
};

class UsbdPageIconTest : public UsbdPageTest, public testing::WithParamInterface<IconRow> {};

TEST_P(UsbdPageIconTest, TheIconTellsTheState) {
    const IconRow& row = GetParam();
    SetPresence(row.present, row.problem);
    if (row.log != Log::kNone) WriteLog(kTwoEpisodes);
    if (row.log == Log::kPast) SetStartupStamp(kLogTime);
    OpenPage();
    const HICON expected = row.moduleIcon != 0
                               ? LoadIconW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(row.moduleIcon))
                               : LoadIconW(nullptr, row.systemIcon);
    ASSERT_NE(StateIcon(), nullptr);
    EXPECT_EQ(PixelsOf(StateIcon()), PixelsOf(expected));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, UsbdPageIconTest,
    testing::Values(IconRow{"Works", true, 0, Log::kNone, 115, nullptr},
                    IconRow{"WorksWithPastErrors", true, 0, Log::kPast, 0, IDI_INFORMATION},
                    IconRow{"WorksWithRecentErrors", true, 0, Log::kRecent, 0, IDI_WARNING},
                    IconRow{"ProblemWithRecentErrors", true, 10, Log::kRecent, 114, nullptr},
                    IconRow{"Problem", true, 10, Log::kNone, 114, nullptr},
                    IconRow{"Absent", false, 0, Log::kNone, 114, nullptr},
                    IconRow{"AbsentWithPastErrors", false, 0, Log::kPast, 114, nullptr}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(UsbdPageIcons, AllDiffer) {
    const std::array pixels = {PixelsOf(LoadIconW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(114))),
                               PixelsOf(LoadIconW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(115))),
                               PixelsOf(LoadIconW(nullptr, IDI_INFORMATION)),
                               PixelsOf(LoadIconW(nullptr, IDI_WARNING))};
    for (size_t one = 0; one < pixels.size(); ++one)
        for (size_t other = one + 1; other < pixels.size(); ++other)
            EXPECT_NE(pixels[one], pixels[other]) << one << " and " << other;
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
